#include "HttpTestServer.h"
#include "TestSupport.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

QJsonObject json(const QByteArray& bytes) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    return error.error == QJsonParseError::NoError ? document.object() : QJsonObject();
}

} // namespace

class TestCli : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void handoff_data();
    void handoff();
    void paths();
    void prefs_data();
    void prefs();
    void prefsAtOnce();
    void handoffReceive_data();
    void handoffReceive();
    void handoffAsPropertyList_data();
    void handoffAsPropertyList();
    void badUsage_data();
    void badUsage();
    void destination_data();
    void destination();
    void icon_data();
    void icon();
    void help();
    void mediaCommands_data();
    void mediaCommands();
    void importAndList();
    void demoDevice();
    void searchCommands_data();
    void searchCommands();
    void providerSearch_data();
    void providerSearch();
    void browserCommands_data();
    void browserCommands();
    void hostileInputs_data();
    void hostileInputs();

private:
    // Runs tolvane-cli with the arguments; extra environment entries are "NAME=value".
    Run run(const QStringList& arguments, const QStringList& environment = {}) const;
    QString iconFile(const char* name) const;

    QTemporaryDir m_device;
    HttpTestServer m_server;
};

void TestCli::initTestCase() {
    QVERIFY(QFileInfo(s(TOLVANE_CLI)).isExecutable());
    QVERIFY(m_device.isValid());
    QVERIFY(m_server.listen());
    Paths::setDeviceRoot(m_device.path());

    const QVariantMap record{{s("title"), s("Song One")},
                             {s("filePath"), s("/var/mobile/Downloads/Song One.mp3")},
                             {s("bytes"), QByteArray("\x00\xff", 2)}};
    QVERIFY(writePlist(Paths::preferencesFile(),
                       QVariantMap{{s("downloads"), QVariantMap{{s("k1"), record}}}}));

    QVERIFY(writePlist(
        Paths::fileTypeTable(),
        QVariantMap{{s("Audio"), QVariantMap{{s("extensions"), QStringList{s("mp3"), s("zip")}},
                                             {s("icon"), s("audio")}}},
                    {s("Boxes"), QVariantMap{{s("extensions"), QStringList{s("zip")}},
                                             {s("icon"), s("box")}}}}));
    QVERIFY(writePng(iconFile("audio.png"), QSize(4, 4), Qt::red));
    QVERIFY(writePng(iconFile("audio@2x.png"), QSize(8, 8), Qt::blue));
    QVERIFY(writePng(iconFile("unknown.png"), QSize(2, 2), Qt::gray));
}

Run TestCli::run(const QStringList& arguments, const QStringList& environment) const {
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name :
         {"TOLVANE_ROOT", "TOLVANE_SCALE", "TOLVANE_IDIOM", "TOLVANE_SEARCH_URL"})
        env.remove(s(name));
    for (const QString& entry : environment)
        env.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(env);
    process.start(s(TOLVANE_CLI), arguments);
    Run result;
    // The event loop runs meanwhile: the search command talks to the test's own server.
    if (!QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 10000) ||
        process.exitStatus() != QProcess::NormalExit)
        return result;
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QString TestCli::iconFile(const char* name) const {
    return Paths::iconsFolder() + QLatin1Char('/') + s(name);
}

void TestCli::handoff_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("scale");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("mediaKind");

    const auto row = [](const char* tag, const char* url, const char* scale, int exitCode,
                        const char* action, const char* path, const char* mediaKind) {
        const auto orNull = [](const char* text) { return text ? s(text) : QString(); };
        QTest::newRow(tag) << s(url) << s(scale) << exitCode << orNull(action) << orNull(path)
                           << orNull(mediaKind);
    };
    row("browse", "tolvane://open?path=/D/a%20b/c.mp3", "", 0, "browse", "/D/a%20b", nullptr);
    row("recorded download", "tolvane://x?a=song&b=downloads&c=k1", "", 0, "import", nullptr,
        "song");
    row("entry missing", "tolvane://x?a=podcast&b=downloads&c=none", "", 0, "import", nullptr,
        "podcast");
    row("open in, no scale", "file:///In/My%20Song.MP3", "", 0, "openIn", "/In/My Song.MP3",
        nullptr);
    row("open in, scale 2", "file:///In/My%20Song.MP3", "2", 0, "openIn", "/In/My Song.MP3",
        nullptr);
    row("other scheme", "https://example.com/", "", 1, nullptr, nullptr, nullptr);
    row("two parts", "tolvane://x?a=song&b=downloads", "", 1, nullptr, nullptr, nullptr);
}

void TestCli::handoff() {
    QFETCH(QString, url);
    QFETCH(QString, scale);
    QFETCH(int, exitCode);
    QFETCH(QString, action);
    QFETCH(QString, path);
    QFETCH(QString, mediaKind);

    QStringList environment;
    if (!scale.isEmpty())
        environment.append(s("TOLVANE_SCALE=") + scale);
    const Run result = run({s("handoff"), s("--root"), m_device.path(), url}, environment);
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2(result.err.isEmpty(), result.err.constData());

    const QJsonObject object = json(result.out);
    QCOMPARE(object.keys(),
             (QStringList{s("accepted"), s("action"), s("mediaKind"), s("path"), s("record")}));
    QCOMPARE(object.value(s("accepted")).toBool(), exitCode == 0);
    const auto textOrNull = [&object](const char* key, const QString& expected) {
        const QJsonValue value = object.value(s(key));
        return expected.isNull() ? value.isNull() : value.toString() == expected;
    };
    QVERIFY2(textOrNull("action", action), result.out.constData());
    QVERIFY2(textOrNull("path", path), result.out.constData());
    QVERIFY2(textOrNull("mediaKind", mediaKind), result.out.constData());

    const QJsonValue record = object.value(s("record"));
    if (action == QLatin1String("import") && url.endsWith(s("k1"))) {
        QCOMPARE(record.toObject().value(s("title")).toString(), s("Song One"));
        // Bytes as base64.
        QCOMPARE(record.toObject().value(s("bytes")).toObject().value(s("base64")).toString(),
                 s("AP8="));
    } else if (action == QLatin1String("openIn")) {
        const QJsonObject metadata = record.toObject().value(s("metadata")).toObject();
        QCOMPARE(metadata.value(s("title")).toString(), s("My Song.MP3"));
        QCOMPARE(metadata.value(s("artist")).toString(), s(""));
        QVERIFY(metadata.value(s("year")).isDouble());
        const QByteArray icon = QByteArray::fromBase64(
            metadata.value(s("imageData")).toObject().value(s("base64")).toString().toLatin1());
        QCOMPARE(icon,
                 contents(iconFile(scale == QLatin1String("2") ? "audio@2x.png" : "audio.png")));
    } else {
        QVERIFY(record.isNull());
    }
}

void TestCli::paths() {
    // A desktop: a home of its own, XDG folders, and a download folder named in user-dirs.dirs
    // with a space and a letter beyond ASCII.
    QTemporaryDir home;
    const QString h = home.path();
    QVERIFY(writeFile(h + s("/.config/user-dirs.dirs"),
                      "XDG_DOWNLOAD_DIR=\"$HOME/Downloads \xc3\xa9t\xc3\xa9\"\n"));
    const QStringList desktop{s("HOME=") + h, s("XDG_CONFIG_HOME="),
                              s("XDG_CACHE_HOME=") + h + s("/cache"),
                              s("XDG_DATA_HOME=") + h + s("/data")};
    const Run onDesktop = run({s("paths")}, desktop);
    QCOMPARE(onDesktop.exitCode, 0);
    const QJsonObject d = json(onDesktop.out);
    QCOMPARE(d.keys(),
             (QStringList{s("cache"), s("catalogue"), s("destination"), s("inbox"), s("layout"),
                          s("library"), s("photoLibrary"), s("preferencesFile"),
                          s("preferencesFolder"), s("systemRoot"), s("userRoot")}));
    QCOMPARE(d.value(s("layout")).toString(), s("desktop"));
    QCOMPARE(d.value(s("userRoot")).toString(), h);
    QCOMPARE(d.value(s("preferencesFolder")).toString(), h + s("/.config/tolvane"));
    QCOMPARE(d.value(s("destination")).toString(), h + s("/Downloads été"));
    QVERIFY(QFileInfo(h + s("/Downloads été")).isDir()); // made when missing
    QCOMPARE(d.value(s("library")).toString(), h + s("/Media/Tolvane"));
    QCOMPARE(d.value(s("catalogue")).toString(), h + s("/Media/Tolvane/Library.sqlite"));
    QCOMPARE(d.value(s("cache")).toString(), h + s("/cache/tolvane"));
    QCOMPARE(d.value(s("inbox")).toString(), h + s("/data/tolvane/Inbox"));
    QVERIFY(
        QFileInfo(d.value(s("systemRoot")).toString() + s("/Application Support/Tolvane")).isDir());
    // A library named in the preferences wins.
    QCOMPARE(run({s("prefs"), s("set"), s("libraryPath"), h + s("/Elsewhere")}, desktop).exitCode,
             0);
    QCOMPARE(json(run({s("paths")}, desktop).out).value(s("library")).toString(),
             h + s("/Elsewhere"));

    // Something that is not a folder where the download folder should be: the same chain as
    // on a device, where anything that exists there is taken as it is, and the file is left
    // alone.
    QTemporaryDir blocked;
    QVERIFY(writeFile(blocked.filePath(s("Downloads")), "a file"));
    const Run fallback = run({s("paths")}, {s("HOME=") + blocked.path(), s("XDG_CONFIG_HOME=")});
    QCOMPARE(fallback.exitCode, 0);
    QCOMPARE(json(fallback.out).value(s("destination")).toString(),
             blocked.filePath(s("Downloads")));
    QCOMPARE(contents(blocked.filePath(s("Downloads"))), QByteArray("a file"));

    // A device folder keeps the device's layout.
    const QJsonObject device = json(run({s("paths"), s("--root"), m_device.path()}).out);
    QCOMPARE(device.value(s("layout")).toString(), s("device"));
    QCOMPARE(device.value(s("userRoot")).toString(), m_device.path() + s("/var/mobile"));
    QCOMPARE(device.value(s("inbox")).toString(),
             m_device.path() + s("/var/mobile/Documents/Inbox"));
    QCOMPARE(device.value(s("preferencesFile")).toString(), Paths::preferencesFile());
}

void TestCli::prefs_data() {
    // The preferences file before ("" for none), the command, its exit status, and the file's
    // dictionary after (null for "unchanged").
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QVariantMap>("after");
    const QByteArray stores = PropertyListWriter::toXml(QVariantMap{
        {s("savePath"), s("/old")},
        {s("downloads"), QVariantMap{{s("k1"), QVariantMap{{s("title"), s("Song One")}}}}}});
    const QVariantMap downloads{{s("k1"), QVariantMap{{s("title"), s("Song One")}}}};
    QTest::newRow("set into a missing file")
        << QByteArray() << QStringList{s("set"), s("savePath"), s("/new")} << 0
        << QVariantMap{{s("savePath"), s("/new")}};
    QTest::newRow("set keeps the stores")
        << stores << QStringList{s("set"), s("savePath"), s("/new")} << 0
        << QVariantMap{{s("savePath"), s("/new")}, {s("downloads"), downloads}};
    QTest::newRow("unset") << stores << QStringList{s("unset"), s("savePath")} << 0
                           << QVariantMap{{s("downloads"), downloads}};
    QTest::newRow("get a missing key")
        << stores << QStringList{s("get"), s("nothing")} << 1 << QVariantMap();
    QTest::newRow("relative savePath")
        << stores << QStringList{s("set"), s("savePath"), s("rel/x")} << 2 << QVariantMap();
    QTest::newRow("relative libraryPath")
        << stores << QStringList{s("set"), s("libraryPath"), s("./lib")} << 2 << QVariantMap();
    QTest::newRow("damaged file") << QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a")
                                  << QStringList{s("set"), s("savePath"), s("/new")} << 2
                                  << QVariantMap();
    QTest::newRow("binary garbage") << QByteArray("bplist00\xff\x00\x13garbage", 19)
                                    << QStringList{s("unset"), s("savePath")} << 2 << QVariantMap();
    QTest::newRow("empty file") << QByteArray("") << QStringList{s("set"), s("a"), s("b")} << 2
                                << QVariantMap();
    QTest::newRow("a folder where the file should be")
        << QByteArray("FOLDER") << QStringList{s("set"), s("savePath"), s("/new")} << 2
        << QVariantMap();
    QTest::newRow("no such action")
        << stores << QStringList{s("drop"), s("savePath")} << 2 << QVariantMap();
}

void TestCli::prefs() {
    QFETCH(QByteArray, before);
    QFETCH(QStringList, command);
    QFETCH(int, exitCode);
    QFETCH(QVariantMap, after);
    QTemporaryDir device;
    const QString file =
        device.filePath(s("var/mobile/Library/Preferences/") + s(Paths::preferencesFileName));
    const bool folder = before == "FOLDER";
    const bool existed = !before.isNull() && !folder;
    if (folder)
        QVERIFY(QDir().mkpath(file));
    if (existed)
        QVERIFY(writeFile(file, before));
    const Run result = run(QStringList{s("prefs"), s("--root"), device.path()} + command);
    QCOMPARE(result.exitCode, exitCode);
    if (exitCode == 2) {
        QVERIFY(result.err.startsWith("tolvane-cli: "));
        QVERIFY(result.err.count('\n') == 1);
    }
    if (after.isEmpty()) {
        // Refused or only read: the file is as it was.
        if (existed)
            QCOMPARE(contents(file), before);
        else if (folder)
            QVERIFY(QFileInfo(file).isDir());
        else
            QVERIFY(!QFileInfo::exists(file));
        return;
    }
    const Result<QVariantMap> written = PropertyListReader::readDictionary(file);
    QVERIFY2(written.ok(), qPrintable(written.errorText()));
    QCOMPARE(*written, after);
    QVERIFY(contents(file).startsWith("<?xml"));
    const QStringList left = QDir(QFileInfo(file).path()).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(left, QStringList{s(Paths::preferencesFileName)});
}

void TestCli::prefsAtOnce() {
    // Two changes at the same moment, many times over: every key lands.
    QTemporaryDir device;
    QList<QProcess*> running;
    constexpr int rounds = 8;
    for (int i = 0; i < rounds; ++i) {
        for (const char* side : {"a", "b"}) {
            auto* process = new QProcess(this);
            process->start(s(TOLVANE_CLI), {s("prefs"), s("--root"), device.path(), s("set"),
                                            s(side) + QString::number(i), s("v")});
            running.append(process);
        }
    }
    for (QProcess* process : running) {
        QVERIFY(process->waitForFinished(20000));
        QCOMPARE(process->exitCode(), 0);
        delete process;
    }
    const Result<QVariantMap> written = PropertyListReader::readDictionary(
        device.filePath(s("var/mobile/Library/Preferences/") + s(Paths::preferencesFileName)));
    QVERIFY(written.ok());
    QCOMPARE(written->size(), 2 * rounds);
}

void TestCli::handoffReceive_data() {
    // What is given, as a file name in the user's folder or a URL of it; the exit status; the
    // start of the error, for a refusal.
    QTest::addColumn<QString>("given");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("error");
    QTest::newRow("a file, by path") << s("Keep Me.mp3") << 0 << QString();
    QTest::newRow("a file, by URL") << s("file://HOME/Keep%20Me.mp3") << 0 << QString();
    QTest::newRow("a file, by URL in capitals with localhost")
        << s("FILE://localhostHOME/Keep%20Me.mp3") << 0 << QString();
    QTest::newRow("a missing file") << s("Gone.mp3") << 2 << s("No such file");
    QTest::newRow("a folder") << s(".") << 2 << s("a folder");
    QTest::newRow("a URL of another machine") << s("file://server/x.mp3") << 2 << s("not a local");
    QTest::newRow("own scheme, passed on")
        << s("tolvane://x?a=song&b=downloads&c=k1") << 0 << QString();
}

void TestCli::handoffReceive() {
    QFETCH(QString, given);
    QFETCH(int, exitCode);
    QFETCH(QString, error);
    QTemporaryDir home;
    const QString mine = home.filePath(s("Keep Me.mp3"));
    QVERIFY(writeFile(mine, "the user's song"));
    given.replace(s("HOME"), home.path());
    QProcess process;
    process.setWorkingDirectory(home.path());
    process.start(s(TOLVANE_CLI),
                  {s("handoff"), s("--root"), m_device.path(), s("--receive"), given});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), exitCode);
    const QString inbox = Paths::inboxFolder();
    if (!error.isEmpty()) {
        QVERIFY2(QString::fromUtf8(process.readAllStandardError()).contains(error),
                 qPrintable(given));
        QVERIFY(!QFileInfo::exists(inbox) || QDir(inbox).isEmpty());
        return;
    }
    const QJsonObject object = json(process.readAllStandardOutput());
    QVERIFY(object.value(s("accepted")).toBool());
    if (given.startsWith(s("tolvane:"))) {
        QCOMPARE(object.value(s("action")).toString(), s("import"));
        return;
    }
    // The hand-off works on the Inbox entry; the user's file is as it was.
    QCOMPARE(object.value(s("action")).toString(), s("openIn"));
    const QString entry = object.value(s("path")).toString();
    QCOMPARE(entry, inbox + s("/Keep Me.mp3"));
    QCOMPARE(contents(entry), QByteArray("the user's song"));
    QCOMPARE(contents(mine), QByteArray("the user's song"));
    QVERIFY(QFile::remove(entry));
}

void TestCli::handoffAsPropertyList_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("open in") << s("file:///In/My%20Song.mp3") << 0;
    QTest::newRow("rejected") << s("mailto:a@b") << 1;
}

void TestCli::handoffAsPropertyList() {
    QFETCH(QString, url);
    QFETCH(int, exitCode);

    const Run result =
        run({s("handoff"), s("--plist"), url}, {s("TOLVANE_ROOT=") + m_device.path()});
    QCOMPARE(result.exitCode, exitCode);
    const Result<QVariant> value = PropertyListReader::fromData(result.out);
    QVERIFY2(value.ok(), qPrintable(value.errorText()));
    const QVariantMap map = value->toMap();
    QCOMPARE(map.value(s("accepted")).toBool(), exitCode == 0);
    if (exitCode != 0) {
        // A property list has no null: what is not there is left out.
        QCOMPARE(map.keys(), QStringList{s("accepted")});
        return;
    }
    QCOMPARE(map.value(s("action")).toString(), s("openIn"));
    const QVariantMap metadata = map.value(s("record")).toMap().value(s("metadata")).toMap();
    QCOMPARE(metadata.value(s("imageData")).toByteArray(), contents(iconFile("audio.png")));
    QCOMPARE(metadata.value(s("year")).typeId(), QMetaType::LongLong);
}

void TestCli::badUsage_data() {
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("handoff without URL") << QStringList{s("handoff")};
    QTest::newRow("handoff with two URLs")
        << QStringList{s("handoff"), s("file:///a"), s("file:///b")};
    QTest::newRow("unknown option") << QStringList{s("handoff"), s("--bogus"), s("file:///a")};
    QTest::newRow("--root without folder") << QStringList{s("destination"), s("--root")};
    QTest::newRow("destination with an argument") << QStringList{s("destination"), s("x")};
    QTest::newRow("icon without extension") << QStringList{s("icon")};
    QTest::newRow("unknown command") << QStringList{s("frobnicate"), s("x")};
}

void TestCli::badUsage() {
    QFETCH(QStringList, arguments);

    const Run result = run(arguments, {s("TOLVANE_ROOT=") + m_device.path()});
    QCOMPARE(result.exitCode, 2);
    QVERIFY(result.out.isEmpty());
    QVERIFY2(result.err.startsWith("tolvane-cli: "), result.err.constData());
    QVERIFY2(result.err.endsWith('\n') && result.err.count('\n') == 1, result.err.constData());
}

void TestCli::destination_data() {
    QTest::addColumn<bool>("byOption");
    QTest::newRow("--root") << true;
    QTest::newRow("TOLVANE_ROOT") << false;
}

void TestCli::destination() {
    QFETCH(bool, byOption);

    QTemporaryDir device;
    const Run result = byOption ? run({s("destination"), s("--root"), device.path()})
                                : run({s("destination")}, {s("TOLVANE_ROOT=") + device.path()});
    QCOMPARE(result.exitCode, 0);
    const QString downloads = device.path() + s("/var/mobile/Downloads");
    QCOMPARE(json(result.out).value(s("destination")).toString(), downloads);
    QVERIFY(QFileInfo(downloads).isDir());
}

void TestCli::icon_data() {
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("scan");
    QTest::addColumn<QString>("map");

    const auto row = [](const char* extension, const char* scan, const char* map) {
        QTest::newRow(extension) << s(extension) << s(scan) << s(map);
    };
    row("MP3", "audio.png", "audio.png");
    row(".mp3", "audio.png", "audio.png");
    row("zip", "audio.png", "box.png"); // listed twice: the scan takes the first, the map the last
    row("txt", "unknown.png", "unknown.png");
}

void TestCli::icon() {
    QFETCH(QString, extension);

    const Run result = run({s("icon"), s("--root"), m_device.path(), extension});
    QCOMPARE(result.exitCode, 0);
    const QJsonObject object = json(result.out);
    QTEST(object.value(s("scan")).toString(), "scan");
    QTEST(object.value(s("map")).toString(), "map");
}

void TestCli::help() {
    const Run result = run({s("--help")});
    QCOMPARE(result.exitCode, 0);
    for (const char* command : {"handoff", "destination", "icon"})
        QVERIFY2(result.out.contains(command), command);
}

void TestCli::mediaCommands_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    // A top-level key and its value in the JSON printed, or the whole line for "year".
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");

    const QString media = s(TOLVANE_MEDIA_FIXTURES);
    const QString handoff = m_device.filePath(s("handoff.plist"));
    const QString whole = m_device.filePath(s("whole.plist"));
    writePlist(handoff, QVariantMap{{s("name"), s("Artist - Clip.mp4")},
                                    {s("isVideo"), 1},
                                    {s("filePath"), media + s("/video.m4v")}});
    writePlist(whole, QVariantMap{{s("path"), media + s("/id3v24.mp3")},
                                  {s("metadata"), QVariantMap{{s("year"), 1990}}}});
    writeFile(m_device.filePath(s("broken.plist")), "<plist><dict><key>a");

    QTest::newRow("info") << QStringList{s("info"), media + s("/track3of10.m4a")} << 0
                          << s("trackCount") << QVariant(10);
    QTest::newRow("info of a folder")
        << QStringList{s("info"), media} << 2 << QString() << QVariant();
    QTest::newRow("info of nothing")
        << QStringList{s("info"), media + s("/gone.mp3")} << 2 << QString() << QVariant();
    QTest::newRow("record from a hand-off")
        << QStringList{s("record"), s("--kind"), s("music-video"), handoff} << 0 << s("mediaKind")
        << QVariant(s("music-video"));
    QTest::newRow("record given whole") << QStringList{s("record"), s("--whole"), whole} << 0
                                        << s("path") << QVariant(media + s("/id3v24.mp3"));
    QTest::newRow("record needs a form")
        << QStringList{s("record"), whole} << 2 << QString() << QVariant();
    QTest::newRow("record of a broken list")
        << QStringList{s("record"), s("--whole"), m_device.filePath(s("broken.plist"))} << 2
        << QString() << QVariant();
    QImage wide(1280, 720, QImage::Format_RGB32);
    wide.fill(Qt::darkGreen);
    const QString widePng = m_device.filePath(s("wide.png"));
    wide.save(widePng);
    const QString sized = m_device.filePath(s("sized.jpg"));
    QTest::newRow("artwork for a music video")
        << QStringList{s("artwork"), s("--kind"), s("music-video"), widePng, sized} << 0
        << s("pixels") << QVariant(QVariantList{300, 171});
    QTest::newRow("artwork at scale 2")
        << QStringList{s("artwork"), s("--kind"), s("song"), s("--scale"), s("2"), widePng, sized}
        << 0 << s("points") << QVariant(QVariantList{500, 500});
    QTest::newRow("artwork of text") << QStringList{s("artwork"), s("--kind"), s("song"),
                                                    m_device.filePath(s("handoff.plist")), sized}
                                     << 2 << QString() << QVariant();
    QTest::newRow("light effect") << QStringList{s("effect"), s("light"), widePng, sized} << 0
                                  << QString() << QVariant();
    QTest::newRow("effect with a bad colour")
        << QStringList{s("effect"), s("tint:#zz0000"), widePng, sized} << 2 << QString()
        << QVariant();
    QTest::newRow("year of a date") << QStringList{s("year"), s("Sat, 05 Mar 2011 10:00 +0000")}
                                    << 0 << QString() << QVariant(s("2011"));
    QTest::newRow("year of a short text")
        << QStringList{s("year"), s("99")} << 0 << QString() << QVariant(s("99"));
    QTest::newRow("no year after a link")
        << QStringList{s("year"), s("2011-03-05 http://example.com")} << 0 << QString()
        << QVariant(s(""));
}

void TestCli::mediaCommands() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, exitCode);
    if (exitCode != 0) {
        QCOMPARE(result.err.count('\n'), 1);
        QVERIFY(result.err.startsWith("tolvane-cli: "));
        return;
    }
    if (key.isEmpty() && arguments.first() == s("year")) {
        QCOMPARE(QString::fromUtf8(result.out), value.toString() + QLatin1Char('\n'));
        return;
    }
    QCOMPARE(json(result.out).value(key).toVariant(), value);
}

void TestCli::importAndList() {
    const QString media = s(TOLVANE_MEDIA_FIXTURES);
    const QString root = m_device.filePath(s("library-device"));
    const QString art = m_device.filePath(s("art.png"));
    QVERIFY(writePng(art, QSize(900, 900), Qt::darkBlue));
    const QString recordFile = m_device.filePath(s("import.plist"));
    QVERIFY(
        writePlist(recordFile, QVariantMap{{s("mediaKind"), s("tv-episode")},
                                           {s("path"), media + s("/video.m4v")},
                                           {s("metadata"), QVariantMap{{s("seriesName"), s("Bay")},
                                                                       {s("title"), s("Pilot")},
                                                                       {s("year"), 2011}}}}));

    const Run fromFile = run({s("import"), s("--root"), root, media + s("/id3v24.mp3"), s("--kind"),
                              s("song"), s("--set"), s("title=Tide / Ebb"), s("--set"),
                              s("trackNumber=2"), s("--artwork"), art});
    QCOMPARE(fromFile.exitCode, 0);
    const QString songPath = json(fromFile.out).value(s("path")).toString();
    QVERIFY2(songPath.endsWith(s("/Music/The Pilots/Tide Tables/02 Tide - Ebb.mp3")),
             qPrintable(songPath));
    QVERIFY(QFileInfo(songPath).isFile());

    const Run fromRecord = run({s("import"), s("--root"), root, recordFile});
    QCOMPARE(fromRecord.exitCode, 0);
    QVERIFY(json(fromRecord.out)
                .value(s("path"))
                .toString()
                .endsWith(s("/TV Shows/Bay/Season 01/Bay - S01E01 - Pilot.m4v")));

    for (const QStringList& failing :
         {QStringList{s("import"), s("--root"), root, media + s("/gone.mp3"), s("--kind"),
                      s("song")},
          QStringList{s("import"), s("--root"), root, media, s("--kind"), s("song")}}) {
        const Run failed = run(failing);
        QCOMPARE(failed.exitCode, 1);
        QCOMPARE(failed.err.count('\n'), 1);
        QVERIFY(failed.err.startsWith("tolvane-cli: import failed: "));
    }

    const Run listed = run({s("library"), s("--root"), root, s("list")});
    QCOMPARE(listed.exitCode, 0);
    const QJsonArray items = QJsonDocument::fromJson(listed.out).array();
    QCOMPARE(items.size(), 2);
    QCOMPARE(items.at(0)[s("kind")].toString(), s("song"));
    QCOMPARE(items.at(0)[s("track_number")].toInt(), 2);
    QCOMPARE(items.at(0)[s("artwork_width")].toInt(), 500);
    QCOMPARE(items.at(1)[s("year")].toString(), s("2011"));
}

void TestCli::demoDevice() {
    const QString device = m_device.filePath(s("demo"));
    QCOMPARE(run({s("demo"), device}).exitCode, 0);
    QCOMPARE(run({s("demo"), device}).exitCode, 2); // not over an existing device
    // Every recorded download of the demo points at a file of the device itself.
    const QString downloads = device + s("/var/mobile/Downloads/");
    for (const QString& url :
         {s("tolvane://x?a=song&b=downloads&c=evening-tide"),
          s("tolvane://x?a=song&b=downloads&c=morning-run"),
          s("tolvane://"
            "x?a=music-video&b=tracks&c=harbour&d=tracks.plist&e=%1harbour.mp4&f=%1harbour.jpg")
              .arg(downloads)}) {
        const Run handoff = run({s("handoff"), s("--root"), device, url});
        QCOMPARE(handoff.exitCode, 0);
        const QString file =
            json(handoff.out).value(s("record")).toObject().value(s("filePath")).toString();
        QVERIFY2(file.startsWith(device) && QFileInfo(file).isFile(), qPrintable(file));
    }
    QVERIFY(QFileInfo(device + s("/var/mobile/Downloads/Latest download.mp3")).isSymLink());
}

void TestCli::searchCommands_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    // Standard output: the URL line for "query", else JSON compared as parsed.
    QTest::addColumn<QByteArray>("out");

    const QByteArray page = "<div class=\"rg_di\"><a href=\"/imgres?imgurl=http://a.example/1.jpg"
                            "&amp;h=500\"></a>{\"tu\":\"http://t.example/1?q\\u003dx\",\"s\":1}";
    const QByteArray records = R"([{"imgurl": "http://a.example/1.jpg",
                                    "thumburl": "http://t.example/1?q=x"}])";
    const QString saved = m_device.filePath(s("page.html"));
    const QString plain = m_device.filePath(s("plain.html"));
    writeFile(saved, page);
    writeFile(plain, "<html>no results</html>");
    m_server.route("/search", HttpTestServer::ok(page, "text/html; charset=UTF-8"));
    const QString service = s("TOLVANE_SEARCH_URL=") + m_server.base();
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QString refused = s("TOLVANE_SEARCH_URL=http://127.0.0.1:%1").arg(closed.serverPort());

    QTest::newRow("query") << QStringList{s("query"), s("a b.mp4"), s("albums")} << 0
                           << QByteArray("https://www.google.com/search?espv=2&biw=1050&bih=757&"
                                         "tbs=imgo:1,islt:vga,isz:ex,iszw:500,iszh:500&tbm=isch&"
                                         "source=lnt&q=a+b+albums\n");
    QTest::newRow("query needs a keyword") << QStringList{s("query"), s("a")} << 2 << QByteArray();
    QTest::newRow("scrape") << QStringList{s("scrape"), saved} << 0 << records;
    QTest::newRow("scrape without results")
        << QStringList{s("scrape"), plain} << 0 << QByteArray("null");
    QTest::newRow("scrape of nothing")
        << QStringList{s("scrape"), m_device.filePath(s("gone.html"))} << 2 << QByteArray();
    QTest::newRow("search") << QStringList{s("search"), s("a b"), service} << 0 << records;
    QTest::newRow("search refused")
        << QStringList{s("search"), s("x"), refused} << 1 << QByteArray();
}

void TestCli::searchCommands() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, out);

    // An environment entry rides at the end of the arguments.
    QStringList environment;
    if (arguments.constLast().contains(QLatin1Char('=')))
        environment.append(arguments.takeLast());
    const Run result = run(arguments, environment);
    QCOMPARE(result.exitCode, exitCode);
    if (exitCode != 0) {
        QCOMPARE(result.err.count('\n'), 1);
        if (exitCode == 1)
            QVERIFY(result.err.startsWith("tolvane-cli: Failed to retrieve images: "));
        return;
    }
    if (arguments.first() == s("query")) {
        QCOMPARE(result.out, out);
        return;
    }
    if (out == "null") {
        QCOMPARE(result.out, QByteArray("null\n"));
        return;
    }
    const QJsonDocument printed = QJsonDocument::fromJson(result.out);
    QVERIFY(printed.isArray());
    QCOMPARE(printed, QJsonDocument::fromJson(out));
    if (arguments.first() == s("search"))
        QVERIFY(m_server.requests().constLast().head.contains("GET /search?espv=2&"));
}

void TestCli::providerSearch_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    // The printed array's "provider" of each record ("web" for a record without one), or the
    // start of the one line on standard error.
    QTest::addColumn<QStringList>("providers");
    QTest::addColumn<QByteArray>("error");

    const auto args = [](std::initializer_list<const char*> list) {
        QStringList arguments{s("search")};
        for (const char* argument : list)
            arguments.append(s(argument));
        return arguments;
    };
    QTest::newRow("one service") << args({"Tide", "--provider", "itunes"}) << 0
                                 << QStringList{s("itunes"), s("itunes")} << QByteArray();
    QTest::newRow("two, merged, the shared cover once")
        << args({"Tide", "--provider", "deezer", "--provider", "itunes"}) << 0
        << QStringList{s("itunes"), s("itunes"), s("deezer")} << QByteArray();
    QTest::newRow("all, with the file's folder")
        << args({"Tide", "--provider", "all", "--path", "MEDIA"}) << 0
        << QStringList{s("folder"), s("itunes"), s("itunes"), s("deezer"), s("web")}
        << QByteArray("tolvane-cli: musicbrainz: ");
    QTest::newRow("the page search alone keeps its records as they are")
        << args({"Tide", "--provider", "web", "--keyword", "albums"}) << 0
        << QStringList{s("web"), s("web")} << QByteArray();
    QTest::newRow("a kind the album service does not serve")
        << args({"Tide", "--provider", "itunes", "--provider", "deezer", "--kind", "feature-movie"})
        << 0 << QStringList{s("itunes"), s("itunes")} << QByteArray();
    QTest::newRow("every provider failed")
        << args({"Tide", "--provider", "musicbrainz", "--provider", "folder", "--path",
                 "/nowhere/x.mp3"})
        << 1 << QStringList{} << QByteArray("tolvane-cli: Failed to retrieve images: folder: ");
    QTest::newRow("no provider for the kind")
        << args({"Tide", "--provider", "deezer", "--kind", "podcast"}) << 2 << QStringList{}
        << QByteArray("tolvane-cli: no provider asked serves");
    QTest::newRow("an unknown provider")
        << args({"Tide", "--provider", "google"}) << 2 << QStringList{}
        << QByteArray("tolvane-cli: unknown "
                      "provider");
    QTest::newRow("an unknown kind")
        << args({"Tide", "--provider", "itunes", "--kind", "opera"}) << 2 << QStringList{}
        << QByteArray("tolvane-cli: unknown media kind");
    QTest::newRow("the folder without a file")
        << args({"Tide", "--provider", "folder"}) << 2 << QStringList{}
        << QByteArray("tolvane-cli: the folder provider");
    QTest::newRow("a kind without providers")
        << args({"Tide", "--kind", "song"}) << 2 << QStringList{}
        << QByteArray("tolvane-cli: --kind and --path go with --provider");
}

void TestCli::providerSearch() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QStringList, providers);
    QFETCH(QByteArray, error);

    HttpTestServer store, albums, page;
    QVERIFY(store.listen() && albums.listen() && page.listen());
    const QByteArray shared = store.base().toUtf8() + "/b/600x600.jpg";
    store.route("/search",
                HttpTestServer::ok("{\"results\":[{\"artworkUrl100\":\"" + store.base().toUtf8() +
                                   "/a/100x100.jpg\"},{\"artworkUrl100\":\"" +
                                   store.base().toUtf8() + "/b/100x100.jpg\"}]}"));
    albums.route("/search/album",
                 HttpTestServer::ok("{\"data\":[{\"cover_xl\":\"" + shared +
                                    "\"},{\"cover_xl\":\"" + albums.base().toUtf8() +
                                    "/c.jpg\",\"title\":7}]}"));
    page.route("/search",
               HttpTestServer::ok("<div class=\"rg_di\"><a href=\"/imgres?imgurl=" + shared +
                                  "&amp;h=1\">{\"tu\":\"http://t.example/"
                                  "1\",\"s\":1} <div class=\"rg_di\">imgurl=http://"
                                  "w.example/2&amp;h {\"tu\":\"http://t.example/2\","));
    QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath(s("Cover.PNG")), "x"));
    arguments.replaceInStrings(s("MEDIA"), folder.filePath(s("song.mp3")));
    arguments << s("--root") << m_device.path();

    const Run result = run(arguments, {s("TOLVANE_ITUNES_URL=") + store.base(),
                                       s("TOLVANE_DEEZER_URL=") + albums.base(),
                                       s("TOLVANE_SEARCH_URL=") + page.base(),
                                       s("TOLVANE_MUSICBRAINZ_URL=http://127.0.0.1:9")});
    QCOMPARE(result.exitCode, exitCode);
    if (!error.isEmpty())
        QVERIFY2(result.err.startsWith(error), result.err.constData());
    if (exitCode != 0) {
        QCOMPARE(result.err.count('\n'), 1);
        QVERIFY(result.out.isEmpty());
        return;
    }
    const QJsonDocument printed = QJsonDocument::fromJson(result.out);
    QVERIFY2(printed.isArray(), result.out.constData());
    QStringList found;
    for (const QJsonValue& value : printed.array()) {
        const QJsonObject record = value.toObject();
        found.append(record.value(s("provider")).toString(s("web")));
        QVERIFY(record.value(s("imgurl"))
                    .toString()
                    .startsWith(found.constLast() == QLatin1String("folder") ? s("file://")
                                                                             : s("http://")));
        if (!record.contains(s("provider")))
            QCOMPARE(record.keys(), (QStringList{s("imgurl"), s("thumburl")}));
    }
    QCOMPARE(found, providers);
    if (arguments.contains(s("feature-movie")))
        QVERIFY(store.requests().constFirst().head.contains("&media=movie&entity=movie&"));
    QCOMPARE(albums.requests().size(), qsizetype(providers.contains(s("deezer"))));
}

void TestCli::browserCommands_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    // The printed array, its rows ordered by name for "list".
    QTest::addColumn<QByteArray>("printed");

    const QString folder = m_device.filePath(s("browse"));
    QDir().mkpath(folder + s("/sub"));
    QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), folder + s("/song.mp3"));
    writeFile(folder + s("/.hidden"), "x");
    writeFile(folder + s("/notes.zip"), "x");
    writeFile(folder + s("/clip.MOV"), "x");
    QFile::link(folder + s("/song.mp3"), folder + s("/link"));

    const QString root = s("--root");
    QTest::newRow("list")
        << QStringList{s("list"), root, m_device.path(), folder} << 0
        << QByteArray(
               R"([{"enabled":false,"icon":"unknown.png","isDir":false,"name":"clip.MOV","path":"F/clip.MOV"},)"
               R"({"enabled":true,"icon":"unknown.png","isDir":false,"name":"link","path":"F/link"},)"
               R"({"enabled":false,"icon":"box.png","isDir":false,"name":"notes.zip","path":"F/notes.zip"},)"
               R"({"enabled":true,"icon":"audio.png","isDir":false,"name":"song.mp3","path":"F/song.mp3"},)"
               R"({"enabled":true,"icon":"folder.png","isDir":true,"name":"sub","path":"F/sub"}])")
               .replace("F/", folder.toUtf8() + '/');
    QTest::newRow("list of a file")
        << QStringList{s("list"), folder + s("/song.mp3")} << 2 << QByteArray();
    QTest::newRow("actions of a link to audio")
        << QStringList{s("actions"), root, m_device.path(), folder + s("/link")} << 0
        << QByteArray(R"(["PlayMediaActivity","ImportiTunesAudioActivity","DeleteFileActivity",)"
                      R"("OpenInActivity"])");
    QTest::newRow("actions of a video")
        << QStringList{s("actions"), folder + s("/clip.MOV")} << 0
        << QByteArray(R"(["PlayMediaActivity","ImportiTunesAudioActivity",)"
                      R"("ImportiTunesVideoActivity","DeleteFileActivity","OpenInActivity",)"
                      R"("com.apple.UIKit.activity.SaveToCameraRoll"])");
    QTest::newRow("actions of another file")
        << QStringList{s("actions"), folder + s("/notes.zip")} << 0
        << QByteArray(R"(["PreviewActivity","DeleteFileActivity","OpenInActivity"])");
    QTest::newRow("actions of nothing")
        << QStringList{s("actions"), folder + s("/gone")} << 2 << QByteArray();
}

void TestCli::browserCommands() {
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, printed);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, exitCode);
    if (exitCode != 0)
        return;
    QJsonArray array = QJsonDocument::fromJson(result.out).array();
    if (arguments.first() == s("list")) {
        QList<QJsonValue> rows(array.begin(), array.end());
        std::sort(rows.begin(), rows.end(), [](const QJsonValue& a, const QJsonValue& b) {
            return a[s("name")].toString() < b[s("name")].toString();
        });
        array = QJsonArray();
        for (const QJsonValue& row : rows)
            array.append(row);
    }
    QCOMPARE(QJsonDocument(array).toJson(QJsonDocument::Compact), printed);
}

void TestCli::hostileInputs_data() {
    // Each is an input that once crashed a command, kept it busy without end, or filled memory
    // or the disk: now a clear answer. FILE in the arguments stands for the row's input file.
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("said");

    const QByteArray nulInString = QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\">"
                                              "<dict><key>downloads</key><dict><key>k</key>"
                                              "<dict><key>title</key><string>a") +
                                   '\0' + QByteArray("b</string></dict></dict></dict></plist>");
    QTest::newRow("record: a NUL inside a string")
        << QStringList{s("record"), s("--kind"), s("song"), s("FILE")} << s("store.plist")
        << nulInString << 2 << s("a NUL byte in its XML");
    QTest::newRow("record: a FIFO for a store") << QStringList{s("record"), s("--whole"), s("FILE")}
                                                << s("fifo") << QByteArray() << 2 << s("a FIFO");
    QTest::newRow("record: an endless device")
        << QStringList{s("record"), s("--whole"), s("/dev/zero")} << QString() << QByteArray() << 2
        << s("a device");
    QTest::newRow("info: a file the kernel makes up")
        << QStringList{s("info"), s("/proc/self/mem")} << QString() << QByteArray() << 2
        << s("makes up");
    QTest::newRow("info: a FIFO") << QStringList{s("info"), s("FILE")} << s("fifo") << QByteArray()
                                  << 2 << s("a FIFO");
    QTest::newRow("artwork: 16000 x 16000 in 1 KB")
        << QStringList{s("artwork"), s("--kind"), s("song"), s("FILE"), s("/dev/null")}
        << s("huge.png") << test::pngHeaderClaiming(QSize(16000, 16000)) << 2
        << s("too large to decode (16000 x 16000 pixels)");
    QTest::newRow("effect: 16000 x 16000 in 1 KB")
        << QStringList{s("effect"), s("light"), s("FILE"), s("/dev/null")} << s("huge.png")
        << test::pngHeaderClaiming(QSize(16000, 16000)) << 2 << s("too large to decode");
    QByteArray video = test::contents(s(TOLVANE_MEDIA_FIXTURES "/video.m4v"));
    const qsizetype stco = video.indexOf("stco");
    video.replace(stco - 4, 16, QByteArray("\0\0\0\x01stco\x7f\xff\xff\xff\xff\xff\xff\xff", 16));
    QTest::newRow("import: stco of 2^63 - 1 bytes")
        << QStringList{s("import"), s("FILE"), s("--kind"), s("music-video")} << s("clip.m4v")
        << video << 1 << s("the file is damaged: its \"stco\" box declares");
    QTest::newRow("import: a FIFO") << QStringList{s("import"), s("FILE"), s("--kind"), s("song")}
                                    << s("fifo") << QByteArray() << 1 << s("a FIFO");
    QString dates;
    while (dates.size() < 120000)
        dates += s("2011.03.05.");
    QTest::newRow("year: 120 KB of date-like tokens")
        << QStringList{s("year"), dates} << QString() << QByteArray() << 0 << QString();
}

void TestCli::hostileInputs() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, input);
    QFETCH(QByteArray, content);
    QFETCH(int, exitCode);
    QFETCH(QString, said);

    QTemporaryDir dir;
    const QString library = dir.filePath(s("Library"));
    QVERIFY(writePlist(
        dir.filePath(s("var/mobile/Library/Preferences/") + s(Paths::preferencesFileName)),
        QVariantMap{{s("libraryPath"), library}}));
    if (!input.isEmpty()) {
        const QString path = dir.filePath(input);
        if (input == s("fifo"))
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else
            QVERIFY(writeFile(path, content));
        arguments.replaceInStrings(s("FILE"), path);
    }
    const Run result = run(arguments, {s("TOLVANE_ROOT=") + dir.path()});
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2(result.err.contains(said.toUtf8()), result.err.constData());
    if (exitCode != 0)
        QCOMPARE(result.err.count('\n'), 1);
    // Nothing was filed, and nothing was left half-written.
    QDirIterator files(library, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        QVERIFY2(QFileInfo(file).fileName().startsWith(s("Library.sqlite")), qPrintable(file));
    }
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
