#include "HttpTestServer.h"
#include "TestSupport.h"
#include "app/SingleInstance.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "import/ui/ImportViewController.h"
#include "platform/MetadataKeys.h"
#include "platform/Paths.h"
#include "platform/ui/NavigationController.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace tolvane::test;

namespace {

ImportViewController* shownEditor() {
    auto* navigation = qobject_cast<NavigationController*>(TolvaneApplication::instance()
                                                               ->viewController()
                                                               ->navigationController()
                                                               ->presentedViewController());
    auto* editor =
        navigation ? qobject_cast<ImportViewController*>(navigation->topViewController()) : nullptr;
    return editor && editor->isVisible() ? editor : nullptr;
}

// The MPEG frames of an MP3 without its ID3v2 tag, so that the editor's title comes from the
// record rather than from the file's tags.
QByteArray withoutTag(const QByteArray& mp3) {
    if (!mp3.startsWith("ID3") || mp3.size() < 10)
        return mp3;
    const qsizetype size = (qsizetype(mp3[6] & 0x7f) << 21) | (qsizetype(mp3[7] & 0x7f) << 14) |
                           (qsizetype(mp3[8] & 0x7f) << 7) | qsizetype(mp3[9] & 0x7f);
    return mp3.mid(10 + size);
}

} // namespace

// The whole road in a real browser: Debian's Chromium on a virtual display with the unpacked
// add-on and the host installed for a user with a home of their own; a page on 127.0.0.1
// serves an MP3; the add-on downloads it as "Download to Tolvane" does, the host records it and
// starts tolvane, which hands the URL to the Tolvane running here (the desktop layout in the
// same home, offscreen), and the import editor shows the download.
class TestChromium : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void downloadToTolvane();

private:
    QTemporaryDir m_home;
    HttpTestServer m_server;
    QString m_chromium;
    QString m_node;
    QString m_xvfb;
    std::unique_ptr<SingleInstance> m_instance;
};

void TestChromium::initTestCase() {
    m_chromium = QStandardPaths::findExecutable(s("chromium"));
    m_node = QStandardPaths::findExecutable(s("node"));
    m_xvfb = QStandardPaths::findExecutable(s("xvfb-run"));
    if (m_chromium.isEmpty() || m_node.isEmpty() || m_xvfb.isEmpty())
        QSKIP("needs chromium, node and xvfb-run on PATH (scripts/install-deps.sh installs them)");

    QVERIFY(m_home.isValid());
    qputenv("HOME", QFile::encodeName(m_home.path()));
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "TOLVANE_ROOT"})
        qunsetenv(variable);
    Paths::useDesktopLayout();

    TolvaneApplication* app = TolvaneApplication::instance();
    app->setLaunchPauseEnabled(false);
    QVERIFY(app->application(app, QVariantMap()));
    QVERIFY(QTest::qWaitForWindowExposed(app->window()));
    // Answers later launches as the application does.
    m_instance = std::make_unique<SingleInstance>(SingleInstance::serverNameFor(Paths::userRoot()));
    QVERIFY(m_instance->listen().ok());
    connect(m_instance.get(), &SingleInstance::messageReceived, app, &TolvaneApplication::receive);

    const QByteArray mp3 = withoutTag(contents(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3")));
    QVERIFY(mp3.size() > 1000);
    m_server.route("/Harbour%20Live.mp3", {200, "OK", {{"Content-Type", "audio/mpeg"}}, mp3});
    QVERIFY(m_server.listen());

    QProcess install;
    install.start(s(TOLVANE_CLI), {s("native-host"), s("--install-user")});
    QVERIFY(install.waitForFinished(30000));
    QCOMPARE(install.exitCode(), 0);
}

void TestChromium::downloadToTolvane() {
    QProcess driver;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The host, started by the browser, starts this tolvane, which finds the one running here.
    environment.insert(s("TOLVANE_LAUNCH"), s(TOLVANE_APP));
    environment.insert(s("QT_QPA_PLATFORM"), s("offscreen"));
    driver.setProcessEnvironment(environment);
    driver.start(m_xvfb, {s("-a"), m_node, s(TOLVANE_DRIVER), m_chromium, s(TOLVANE_EXTENSION),
                          m_server.url("/Harbour%20Live.mp3").toString(QUrl::FullyEncoded),
                          s("Live at the Harbour")});
    QVERIFY(driver.waitForStarted());
    // The application here must keep answering while the browser works.
    QTRY_VERIFY_WITH_TIMEOUT(driver.state() == QProcess::NotRunning, 150000);
    const QByteArray said = driver.readAllStandardError();
    QVERIFY2(driver.exitCode() == 0, said.constData());
    const QJsonObject outcome = QJsonDocument::fromJson(driver.readAllStandardOutput()).object();
    QVERIFY2(outcome.value(s("ok")).toBool(), qPrintable(outcome.value(s("error")).toString()));
    QCOMPARE(outcome.value(s("entry")).toString(), s("Harbour Live.mp3"));

    const QString saved = m_home.filePath(s("Downloads/Harbour Live.mp3"));
    const QVariantMap entry = PropertyListReader::readDictionary(Paths::preferencesFile())
                                  .valueOr({})
                                  .value(s("downloads"))
                                  .toMap()
                                  .value(s("Harbour Live.mp3"))
                                  .toMap();
    QCOMPARE(entry.value(s("filePath")).toString(), saved);
    QCOMPARE(entry.value(s("title")).toString(), s("Live at the Harbour"));
    QCOMPARE(entry.value(s("name")).toString(), s("Harbour Live.mp3"));
    QCOMPARE(entry.value(s("icon")).toString(), s("audio.png"));
    QCOMPARE(entry.value(s("url")).toString(),
             m_server.url("/Harbour%20Live.mp3").toString(QUrl::FullyEncoded));
    QCOMPARE(contents(saved), withoutTag(contents(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"))));

    QTRY_VERIFY_WITH_TIMEOUT(shownEditor(), 15000);
    const QVariantMap record = shownEditor()->importDict();
    QCOMPARE(record.value(s("mediaKind")).toString(), s("song"));
    QCOMPARE(record.value(s("path")).toString(), saved);
    QCOMPARE(record.value(s("metadata")).toMap().value(AVMetadataCommonKeyTitle).toString(),
             s("Harbour Live"));
}

int main(int argc, char** argv) {
    TolvaneApplication app(argc, argv);
    TestChromium test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_chromium.moc"
