#include "TestSupport.h"
#include "app/host/NativeMessageFraming.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QByteArray frame(const QByteArray& body) {
    const quint32 length = quint32(body.size());
    QByteArray bytes(4, '\0');
    std::memcpy(bytes.data(), &length, 4);
    return bytes + body;
}

QByteArray frame(const QJsonObject& message) {
    return frame(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

QList<QJsonObject> replies(QByteArray out) {
    QList<QJsonObject> all;
    NativeMessageDecoder decoder;
    decoder.append(out);
    while (decoder.next() == NativeMessageDecoder::Next::Message)
        all.append(QJsonDocument::fromJson(decoder.takeMessage()).object());
    return all;
}

QJsonObject recordMessage(const QString& kind, const QString& path, const QString& title = {}) {
    QJsonObject record{{QStringLiteral("filePath"), path},
                       {QStringLiteral("name"), QFileInfo(path).fileName()}};
    if (!title.isNull())
        record.insert(QStringLiteral("title"), title);
    return QJsonObject{{QStringLiteral("type"), QStringLiteral("record")},
                       {QStringLiteral("kind"), kind},
                       {QStringLiteral("record"), record}};
}

const QJsonObject ping{{QStringLiteral("type"), QStringLiteral("ping")}};

} // namespace

// The native-messaging host as the browsers run it: tolvane-cli with framed JSON on standard
// input, in a home of its own, starting a command that notes the URLs it is given.
class TestNativeHost : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void decoder_data();
    void decoder();
    void framing_data();
    void framing();
    void splitWrites();
    void noStandardInput();
    void record_data();
    void record();
    void sameNameTwice();
    void keepsEverythingElse();
    void refusedRecords_data();
    void refusedRecords();
    void damagedPreferences_data();
    void damagedPreferences();
    void twoHostsAtOnce();
    void browse();
    void startedByABrowser_data();
    void startedByABrowser();
    void installUser();

private:
    QProcessEnvironment environment() const;
    // Runs the host over the input; the exit status and the replies.
    std::pair<int, QList<QJsonObject>> host(const QByteArray& input,
                                            const QStringList& arguments = {
                                                QStringLiteral("native-host")}) const;
    QJsonObject handoff(const QString& url) const;
    QStringList launched() const;
    QString preferences() const {
        return m_home->filePath(s(".config/tolvane/com.merrowby.tolvaneprefs.plist"));
    }
    QString download(const QString& name, const QByteArray& bytes = "ID3 bytes");

    std::unique_ptr<QTemporaryDir> m_home;
};

void TestNativeHost::init() {
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
    QVERIFY(writeFile(m_home->filePath(s("launch.sh")),
                      "#!/bin/sh\nprintf '%s\\n' \"$1\" >>\"$(dirname \"$0\")/launched\"\n"));
    QVERIFY(QFile::setPermissions(m_home->filePath(s("launch.sh")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

QProcessEnvironment TestNativeHost::environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable :
         {"TOLVANE_ROOT", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        environment.remove(QString::fromLatin1(variable));
    environment.insert(s("HOME"), m_home->path());
    environment.insert(s("TOLVANE_LAUNCH"), m_home->filePath(s("launch.sh")));
    return environment;
}

std::pair<int, QList<QJsonObject>> TestNativeHost::host(const QByteArray& input,
                                                        const QStringList& arguments) const {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(s(TOLVANE_CLI), arguments);
    if (!process.waitForStarted())
        return {-1, {}};
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        return {-2, {}};
    const int status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -3;
    return {status, replies(process.readAllStandardOutput())};
}

QJsonObject TestNativeHost::handoff(const QString& url) const {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(s(TOLVANE_CLI), {s("handoff"), url});
    process.waitForFinished(60000);
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}

QStringList TestNativeHost::launched() const {
    return QString::fromUtf8(contents(m_home->filePath(s("launched"))))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString TestNativeHost::download(const QString& name, const QByteArray& bytes) {
    const QString path = m_home->filePath(s("Downloads/") + name);
    writeFile(path, bytes);
    return path;
}

void TestNativeHost::decoder_data() {
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<int>("pieceSize");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<int>("end"); // 0 clean, 1 too long, 2 cut short

    const QByteArray two = frame(QByteArray("{\"a\":1}")) + frame(QByteArray("[2]"));
    QTest::newRow("one read, two messages")
        << two << 1000 << QStringList{s("{\"a\":1}"), s("[2]")} << 0;
    QTest::newRow("a byte at a time") << two << 1 << QStringList{s("{\"a\":1}"), s("[2]")} << 0;
    QTest::newRow("split inside the length")
        << two << 3 << QStringList{s("{\"a\":1}"), s("[2]")} << 0;
    QTest::newRow("zero length") << frame(QByteArray()) + frame(QByteArray("x")) << 2
                                 << QStringList{QString(), s("x")} << 0;
    QByteArray over(4, '\0');
    const quint32 tooLong = NativeMessageDecoder::maximumMessageSize + 1;
    std::memcpy(over.data(), &tooLong, 4);
    QTest::newRow("over the limit")
        << frame(QByteArray("ok")) + over << 7 << QStringList{s("ok")} << 1;
    QTest::newRow("cut short") << frame(QByteArray("whole")) + frame(QByteArray("cut")).left(6) << 5
                               << QStringList{s("whole")} << 2;
    QTest::newRow("length cut short") << QByteArray("\x05\x00", 2) << 1 << QStringList() << 2;
}

void TestNativeHost::decoder() {
    QFETCH(QByteArray, stream);
    QFETCH(int, pieceSize);
    QFETCH(QStringList, messages);
    QFETCH(int, end);

    NativeMessageDecoder decoder;
    QStringList seen;
    bool tooLong = false;
    for (qsizetype at = 0; at < stream.size() && !tooLong; at += pieceSize) {
        decoder.append(stream.mid(at, pieceSize));
        for (NativeMessageDecoder::Next next;
             (next = decoder.next()) != NativeMessageDecoder::Next::NeedMore;) {
            if (next == NativeMessageDecoder::Next::TooLong) {
                tooLong = true;
                break;
            }
            seen.append(QString::fromUtf8(decoder.takeMessage()));
        }
    }
    QCOMPARE(seen, messages);
    QCOMPARE(tooLong, end == 1);
    QCOMPARE(!tooLong && decoder.pendingBytes() > 0, end == 2);
}

void TestNativeHost::framing_data() {
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QList<bool>>("oks");
    QTest::addColumn<QString>("lastError");

    QByteArray over(4, '\0');
    const quint32 huge = 0xfffffff0u;
    std::memcpy(over.data(), &huge, 4);
    QTest::newRow("several in one write") << frame(ping) + frame(ping) + frame(ping) << 0
                                          << QList<bool>{true, true, true} << QString();
    QTest::newRow("zero length, then goes on")
        << frame(QByteArray()) + frame(ping) << 0 << QList<bool>{false, true} << QString();
    QTest::newRow("not UTF-8") << frame(QByteArray("{\"type\":\"\xff\xfe\"}")) + frame(ping) << 0
                               << QList<bool>{false, true} << QString();
    QTest::newRow("not JSON") << frame(QByteArray("{type: ping")) + frame(ping) << 0
                              << QList<bool>{false, true} << QString();
    QTest::newRow("not an object")
        << frame(QByteArray("[\"ping\"]")) << 0 << QList<bool>{false} << s("not a JSON object");
    QTest::newRow("unknown type, then goes on")
        << frame(QJsonObject{{s("type"), s("delete-everything")}}) + frame(QJsonObject{}) +
               frame(ping)
        << 0 << QList<bool>{false, false, true} << QString();
    QTest::newRow("length over 64 MB") << frame(ping) + over + QByteArray(100, 'x') << 1
                                       << QList<bool>{true, false} << s("over the limit");
    QTest::newRow("truncated") << frame(ping) + frame(ping).left(9) << 1 << QList<bool>{true, false}
                               << s("ended inside a message");
    QTest::newRow("nothing at all") << QByteArray() << 0 << QList<bool>{} << QString();
}

void TestNativeHost::framing() {
    QFETCH(QByteArray, input);
    QFETCH(int, exitCode);
    QFETCH(QList<bool>, oks);
    QFETCH(QString, lastError);

    const auto [status, answers] = host(input);
    QCOMPARE(status, exitCode);
    QList<bool> seen;
    for (const QJsonObject& answer : answers)
        seen.append(answer.value(s("ok")).toBool());
    QCOMPARE(seen, oks);
    for (const QJsonObject& answer : answers) {
        QCOMPARE(answer.value(s("ok")).toBool(), !answer.contains(s("error")));
        if (answer.value(s("ok")).toBool())
            QCOMPARE(answer.value(s("version")).toString(), s("0.1.0"));
    }
    if (!lastError.isEmpty())
        QVERIFY2(answers.last().value(s("error")).toString().contains(lastError),
                 qPrintable(answers.last().value(s("error")).toString()));
    QVERIFY(!QFileInfo::exists(preferences()));
}

// The browser writes when it likes: a message arriving in pieces, with pauses between, is one
// message; the reply to each comes before the next is sent.
void TestNativeHost::splitWrites() {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(s(TOLVANE_CLI), {s("native-host")});
    QVERIFY(process.waitForStarted());
    const QByteArray bytes = frame(ping);
    for (int round = 0; round < 2; ++round) {
        for (const QByteArray& piece : {bytes.left(2), bytes.mid(2, 5), bytes.mid(7)}) {
            process.write(piece);
            process.waitForBytesWritten();
            QTest::qWait(50);
        }
        QTRY_VERIFY(process.bytesAvailable() > 0 || process.waitForReadyRead(100));
        QTRY_COMPARE(replies(process.peek(1 << 20)).size(), round + 1);
    }
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 0);
}

void TestNativeHost::noStandardInput() {
    // Standard input closed altogether, and standard input that is empty.
    QProcess closed;
    closed.setProcessEnvironment(environment());
    closed.start(s("/bin/sh"), {s("-c"), s("exec \"$0\" native-host <&-"), s(TOLVANE_CLI)});
    QVERIFY(closed.waitForFinished(30000));
    QCOMPARE(closed.exitStatus(), QProcess::NormalExit);
    QCOMPARE(closed.exitCode(), 1);
    QVERIFY(closed.readAllStandardError().contains("no standard input"));

    QProcess empty;
    empty.setProcessEnvironment(environment());
    empty.setStandardInputFile(QProcess::nullDevice());
    empty.start(s(TOLVANE_CLI), {s("native-host")});
    QVERIFY(empty.waitForFinished(30000));
    QCOMPARE(empty.exitCode(), 0);
    QVERIFY(empty.readAllStandardOutput().isEmpty());
}

void TestNativeHost::record_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("plain") << s("Harbour Song.mp3") << s("song") << s("Live at the Harbour")
                           << QByteArray("ID3");
    QTest::newRow("quotes, ampersand, equals, percent")
        << s("My \"Song\" & co=1%25%.mp3") << s("podcast") << s("a=b&c") << QByteArray("ID3");
    QTest::newRow("letters beyond ASCII")
        << s("Été à Zürich — 北京.flac") << s("ringtone") << s("Été") << QByteArray("fLaC");
    QTest::newRow("leading dot") << s(".hidden.mp3") << s("song") << QString() << QByteArray("ID3");
    QTest::newRow("path= in the name")
        << s("tolvane:path=x&y.mp3") << s("song") << s("t") << QByteArray("ID3");
    QTest::newRow("0 bytes") << s("empty.mp3") << s("song") << s("Nothing") << QByteArray();
    QTest::newRow("long title") << s("clip.mp4") << s("music-video")
                                << QString(10000, QLatin1Char('T')) << QByteArray("mp4");
    QTest::newRow("title with controls") << s("ctl.mp3") << s("tv-episode")
                                         << s("a\x01"
                                              "b\x1f"
                                              "c")
                                         << QByteArray("ID3");
}

// The record is stored, the URL started, and that URL, read as the application reads it, gives
// back the same file, record and kind.
void TestNativeHost::record() {
    QFETCH(QString, name);
    QFETCH(QString, kind);
    QFETCH(QString, title);
    QFETCH(QByteArray, bytes);

    const QString path = download(name, bytes);
    const auto [status, answers] = host(frame(recordMessage(kind, path, title)));
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 1);
    const QJsonObject reply = answers.first();
    QVERIFY2(reply.value(s("ok")).toBool(), qPrintable(reply.value(s("error")).toString()));
    QCOMPARE(reply.value(s("entry")).toString(), name);
    const QString url = reply.value(s("url")).toString();
    QTRY_COMPARE(launched(), QStringList{url});

    const QJsonObject resolved = handoff(url);
    QCOMPARE(resolved.value(s("action")).toString(), s("import"));
    QCOMPARE(resolved.value(s("mediaKind")).toString(), kind);
    const QJsonObject record = resolved.value(s("record")).toObject();
    QCOMPARE(record.value(s("filePath")).toString(), path);
    QCOMPARE(record.value(s("name")).toString(), name);
    const QString expectedTitle =
        title.isEmpty() ? name : QString(title).remove(QChar(1)).remove(QChar(0x1f));
    QCOMPARE(record.value(s("title")).toString(), expectedTitle);
    const bool video = kind == s("music-video") || kind == s("tv-episode");
    QCOMPARE(record.value(s("isVideo")).toInt(), video ? 1 : 0);
    QVERIFY(!record.contains(s("year")));
}

void TestNativeHost::sameNameTwice() {
    const QString path = download(s("a.mp3"));
    const auto [status, answers] =
        host(frame(recordMessage(s("song"), path)) + frame(recordMessage(s("song"), path)));
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 2);
    QCOMPARE(answers.at(0).value(s("entry")).toString(), s("a.mp3"));
    QCOMPARE(answers.at(1).value(s("entry")).toString(), s("a.mp3 (2)"));
    QCOMPARE(handoff(answers.at(1).value(s("url")).toString())
                 .value(s("record"))
                 .toObject()
                 .value(s("filePath"))
                 .toString(),
             path);
}

void TestNativeHost::keepsEverythingElse() {
    const QVariantMap before{
        {s("savePath"), s("/srv/media")},
        {s("tracks"), QVariantMap{{s("x"), QVariantMap{{s("title"), s("Clip")}}}}},
        {s("downloads"), QVariantMap{{s("old.mp3"), QVariantMap{{s("filePath"), s("/old.mp3")}}}}},
    };
    QVERIFY(writePlist(preferences(), before));
    const auto [status, answers] = host(frame(recordMessage(s("song"), download(s("new.mp3")))));
    QCOMPARE(status, 0);
    QVERIFY(answers.first().value(s("ok")).toBool());
    QVariantMap after = PropertyListReader::readDictionary(preferences()).valueOr({});
    QVariantMap downloads = after.take(s("downloads")).toMap();
    QVERIFY(downloads.remove(s("new.mp3")));
    QCOMPARE(downloads, before.value(s("downloads")).toMap());
    QVariantMap rest = before;
    rest.remove(s("downloads"));
    QCOMPARE(after, rest);
}

void TestNativeHost::refusedRecords_data() {
    QTest::addColumn<QJsonObject>("message");
    QTest::addColumn<QString>("error");

    const QString gone = s("/nonexistent/removed before the hand-off.mp3");
    QTest::newRow("file removed") << recordMessage(s("song"), gone) << s("not there");
    QTest::newRow("relative path")
        << recordMessage(s("song"), s("Downloads/a.mp3")) << s("absolute");
    QTest::newRow("a folder") << recordMessage(s("song"), s("/tmp")) << s("not there");
    QTest::newRow("unknown kind") << recordMessage(s("videoPodcast"), s("/tmp")) << s("\"kind\"");
    QJsonObject notObject = recordMessage(s("song"), s("/tmp"));
    notObject.insert(s("record"), s("text"));
    QTest::newRow("record not an object") << notObject << s("\"record\"");
}

void TestNativeHost::refusedRecords() {
    QFETCH(QJsonObject, message);
    QFETCH(QString, error);
    const auto [status, answers] = host(frame(message) + frame(ping));
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 2);
    QVERIFY(!answers.first().value(s("ok")).toBool());
    QVERIFY2(answers.first().value(s("error")).toString().contains(error),
             qPrintable(answers.first().value(s("error")).toString()));
    QVERIFY(answers.last().value(s("ok")).toBool());
    QVERIFY(!QFileInfo::exists(preferences()));
    QTest::qWait(100);
    QVERIFY(launched().isEmpty());
}

void TestNativeHost::damagedPreferences_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("not a property list")
        << QByteArray("<?xml version=\"1.0\"?><plist><dict><key>a");
    QTest::newRow("an array at the top") << PropertyListWriter::toXml(QVariantList{1, 2});
    QTest::newRow("downloads not a dictionary") << PropertyListWriter::toXml(
        QVariantMap{{s("downloads"), s("text")}, {s("savePath"), s("/x")}});
    QTest::newRow("binary, cut short")
        << PropertyListWriter::toBinary(QVariantMap{{s("k"), s("v")}}).left(20);
}

void TestNativeHost::damagedPreferences() {
    QFETCH(QByteArray, bytes);
    QVERIFY(writeFile(preferences(), bytes));
    const auto [status, answers] = host(frame(recordMessage(s("song"), download(s("a.mp3")))));
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 1);
    QVERIFY(!answers.first().value(s("ok")).toBool());
    QVERIFY(!answers.first().value(s("error")).toString().isEmpty());
    QCOMPARE(contents(preferences()), bytes);
    QTest::qWait(100);
    QVERIFY(launched().isEmpty());
}

void TestNativeHost::twoHostsAtOnce() {
    constexpr int perHost = 15;
    QList<QProcess*> hosts;
    for (int which = 0; which < 2; ++which) {
        QByteArray input;
        for (int n = 0; n < perHost; ++n)
            input += frame(recordMessage(s("song"), download(s("h%1-%2.mp3").arg(which).arg(n))));
        auto* process = new QProcess(this);
        process->setProcessEnvironment(environment());
        process->start(s(TOLVANE_CLI), {s("native-host")});
        QVERIFY(process->waitForStarted());
        process->write(input);
        process->closeWriteChannel();
        hosts.append(process);
    }
    int accepted = 0;
    for (QProcess* process : hosts) {
        QVERIFY(process->waitForFinished(120000));
        for (const QJsonObject& answer : replies(process->readAllStandardOutput()))
            accepted += answer.value(s("ok")).toBool() ? 1 : 0;
        delete process;
    }
    QCOMPARE(accepted, 2 * perHost);
    const QVariantMap store =
        PropertyListReader::readDictionary(preferences()).valueOr({}).value(s("downloads")).toMap();
    QCOMPARE(store.size(), 2 * perHost);
}

void TestNativeHost::browse() {
    const QString song = download(s("in a folder/a b.mp3"));
    const QString folder = QFileInfo(song).path();
    const QString withEquals = download(s("x=y/a.mp3"));
    const auto [status, answers] =
        host(frame(QJsonObject{{s("type"), s("browse")}, {s("path"), song}}) +
             frame(QJsonObject{{s("type"), s("browse")}, {s("path"), folder}}) +
             frame(QJsonObject{{s("type"), s("browse")}, {s("path"), withEquals}}) +
             frame(QJsonObject{{s("type"), s("browse")}, {s("path"), s("relative/a.mp3")}}));
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 4);
    QVERIFY(answers.at(0).value(s("ok")).toBool());
    QVERIFY(answers.at(1).value(s("ok")).toBool());
    QVERIFY(!answers.at(2).value(s("ok")).toBool());
    QVERIFY(!answers.at(3).value(s("ok")).toBool());
    QTRY_COMPARE(launched().size(), 2);
    for (const QString& url : launched()) {
        const QJsonObject resolved = handoff(url);
        QCOMPARE(resolved.value(s("action")).toString(), s("browse"));
        QCOMPARE(resolved.value(s("path")).toString(), folder);
    }
}

void TestNativeHost::startedByABrowser_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("Chromium") << QStringList{
        s("chrome-extension://gamicopacodlilgleoacolibipngaoli/")};
    QTest::newRow("Chromium on a window") << QStringList{
        s("chrome-extension://gamicopacodlilgleoacolibipngaoli/"), s("--parent-window=0")};
    QTest::newRow("Firefox") << QStringList{
        s("/usr/lib/mozilla/native-messaging-hosts/com.merrowby.tolvane.json"),
        s("tolvane@merrowby.com")};
}

void TestNativeHost::startedByABrowser() {
    QFETCH(QStringList, arguments);
    const auto [status, answers] = host(frame(ping), arguments);
    QCOMPARE(status, 0);
    QCOMPARE(answers.size(), 1);
    QCOMPARE(answers.first().value(s("version")).toString(), s("0.1.0"));
}

void TestNativeHost::installUser() {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(s(TOLVANE_CLI), {s("native-host"), s("--install-user")});
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 0);
    const QJsonArray written = QJsonDocument::fromJson(process.readAllStandardOutput())
                                   .object()
                                   .value(s("manifests"))
                                   .toArray();
    QCOMPARE(written.size(), 3);
    const QString program = QFileInfo(s(TOLVANE_CLI)).canonicalFilePath();
    for (const char* file : {".config/chromium/NativeMessagingHosts/com.merrowby.tolvane.json",
                             ".config/google-chrome/NativeMessagingHosts/com.merrowby.tolvane.json",
                             ".mozilla/native-messaging-hosts/com.merrowby.tolvane.json"}) {
        const QJsonObject manifest =
            QJsonDocument::fromJson(contents(m_home->filePath(s(file)))).object();
        QCOMPARE(manifest.value(s("name")).toString(), s("com.merrowby.tolvane"));
        QCOMPARE(manifest.value(s("type")).toString(), s("stdio"));
        QCOMPARE(QFileInfo(manifest.value(s("path")).toString()).canonicalFilePath(), program);
        const bool firefox = s(file).startsWith(s(".mozilla"));
        QCOMPARE(manifest.value(s(firefox ? "allowed_extensions" : "allowed_origins")).toArray(),
                 QJsonArray{s(firefox ? "tolvane@merrowby.com"
                                      : "chrome-extension://gamicopacodlilgleoacolibipngaoli/")});
    }
}

QTEST_GUILESS_MAIN(TestNativeHost)

#include "tst_nativehost.moc"
