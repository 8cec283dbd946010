#include "ScopedMount.h"
#include "TestSupport.h"
#include "app/FileUrl.h"
#include "app/HandoffReceiver.h"
#include "app/HandoffTarget.h"
#include "app/LaunchArguments.h"
#include "app/MainScreenLayout.h"
#include "app/PercentEscapes.h"
#include "app/Preferences.h"
#include "app/UrlHandoff.h"
#include "platform/Device.h"
#include "platform/Inbox.h"
#include "platform/MetadataKeys.h"
#include "platform/Paths.h"

#include <QDate>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <sys/stat.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// The main screen as a hand-off sees it: every call, in order, as "what detail".
class RecordingTarget final : public HandoffTarget {
public:
    bool pickerOn = false;
    QStringList calls;
    QVariantMap record;

    bool directoryPickerIsOn() const override { return pickerOn; }
    void dismissViewControllerAnimated(bool animated, std::function<void()> completion) override {
        calls.append(s("dismiss") + (animated ? s(" animated") : QString()) +
                     (completion ? s(" with completion") : QString()));
    }
    void browseToFileWithPath(const QString& folder) override {
        calls.append(s("browse ") + folder);
    }
    void loadImportViewControllerWithDictionary(const QVariantMap& entry,
                                                const QString& mediaKind) override {
        calls.append(s("import ") + mediaKind);
        record = entry;
    }
    void loadImportViewControllerWithDictionary(const QVariantMap& entry) override {
        calls.append(s("openIn ") + entry.value(s("path")).toString());
        record = entry;
    }
};

QVariantMap songOne() {
    return {{s("title"), s("Song One")},
            {s("name"), s("Song One.mp3")},
            {s("filePath"), s("/var/mobile/Downloads/Song One.mp3")},
            {s("year"), s("2019")}};
}

QVariantMap tracksStore() {
    const QVariantMap clip{{s("title"), s("Clip")},
                           {s("name"), s("Old")},
                           {s("isVideo"), qlonglong(0)},
                           {s("filePath"), s("stale")},
                           {s("genre"), s("Pop")}};
    return {{s("tracks"),
             QVariantMap{{s("t1"), clip}, {s("t2"), QVariantMap{{s("name"), s("Untitled")}}}}}};
}

// A "tracks" hand-off naming an entry and a store file.
QString tracks(const char* entry, const char* storeFile) {
    return s("tolvane://import?kind=music-video&store=tracks&entry=%1&file=%2")
               .arg(s(entry), s(storeFile)) +
           s("&media=/m/My%20Clip.mp4&art=/m/clip.jpg");
}

} // namespace

class TestHandoff : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void perform_data();
    void perform();
    void unreadableStore_data();
    void unreadableStore();
    void openIn_data();
    void openIn();
    void nullTextTouchesNothing();
    void largeUrls_data();
    void largeUrls();

    void destination_data();
    void destination();
    void preferencesAreReadAnew();

    void percentEscapes_data();
    void percentEscapes();
    void launchArguments_data();
    void launchArguments();

    void fileUrls_data();
    void fileUrls();
    void inboxLinksOnTheSameFileSystem();
    void inboxCopiesAcrossFileSystems();
    void inboxRefuses_data();
    void inboxRefuses();
    void inboxRemovesOnlyItsEntries();
    void receiverEntersFiles_data();
    void receiverEntersFiles();
    void hintLayout_data();
    void hintLayout();

private:
    QTemporaryDir m_device;
};

void TestHandoff::initTestCase() {
    QVERIFY(m_device.isValid());
    Paths::setDeviceRoot(m_device.path());

    const QVariantMap downloads{{s("k1"), songOne()},
                                {s("two words"), QVariantMap{{s("title"), s("Spaced")}}},
                                {s("ключ"), QVariantMap{{s("title"), s("Cyrillic")}}}};
    QVERIFY(writePlist(Paths::preferencesFile(),
                       QVariantMap{{s("downloads"), downloads}, {s("notastore"), s("text")}}));
    const QString prefs = Paths::preferencesFolder();
    QVERIFY(writePlist(prefs + s("/tracks.plist"), tracksStore()));
    // Stores that a store name must not reach: beside the folder, and in a subfolder.
    QVERIFY(writePlist(prefs + s("/../x"), tracksStore()));
    QVERIFY(writePlist(prefs + s("/a/b"), tracksStore()));

    QVERIFY(writeFile(Paths::fileTypeTable(), R"(<plist version="1.0"><dict>
<key>Audio</key><dict><key>extensions</key><array><string>mp3</string><string>m4a</string></array>
<key>icon</key><string>audio</string></dict>
<key>Ghost</key><dict><key>extensions</key><array><string>xyz</string></array>
<key>icon</key><string>ghost</string></dict>
</dict></plist>)"));
    const QString icons = Paths::iconsFolder();
    QVERIFY(writePng(icons + s("/audio.png"), QSize(4, 4), Qt::red));
    QVERIFY(writePng(icons + s("/audio@2x.png"), QSize(8, 8), Qt::blue));
    QVERIFY(writePng(icons + s("/unknown.png"), QSize(2, 2), Qt::gray));
}

void TestHandoff::init() {
    Paths::setDeviceRoot(m_device.path());
}

void TestHandoff::perform_data() {
    QTest::addColumn<QString>("url");
    // The one call expected of the target, as "what detail"; empty when refused.
    QTest::addColumn<QString>("call");
    QTest::addColumn<QVariantMap>("record");

    const auto row = [](const char* tag, const QString& url, const char* call,
                        const QVariantMap& record = {}) {
        QTest::newRow(tag) << url << s(call) << record;
    };
    row("path=: folder of the file", s("tolvane://open?path=/var/mobile/Downloads/a/b.mp3"),
        "browse /var/mobile/Downloads/a");
    row("path=: %20 kept", s("tolvane://open?path=/D/My%20Folder/b.mp3"), "browse /D/My%20Folder");
    row("path=: = in the value", s("tolvane://open?path=/x/a=b/c.mp3"), "browse b");
    row("path=: after other parts", s("tolvane://open?x=1&y=2&path=/a/b/c"), "browse /a/b");
    row("path=: anywhere", s("tolvane://x?a=song&b=downloads&c=k1&xpath=/q/r.mp3"), "browse /q");
    row("path=: trailing slash", s("tolvane://open?path=/var/mobile/Downloads/"),
        "browse /var/mobile");
    row("path=: empty", s("tolvane://open?path="), "browse ");

    row("three values", s("tolvane://import?kind=song&store=downloads&entry=k1"), "import song",
        songOne());
    row("first part is a value", s("tolvane://song=podcast&b=downloads&c=k1"), "import podcast",
        songOne());
    row("values holding =", s("tolvane://x?a=q=song&b=z=downloads&c=y=k1"), "import song",
        songOne());
    row("parts without = skipped", s("tolvane://x?flag&a=song&&b=downloads&plain&c=k1"),
        "import song", songOne());
    row("more than three values", s("tolvane://x?a=ringtone&b=downloads&c=k1&d=e&f=g"),
        "import ringtone", songOne());
    row("media kind kept escaped", s("tolvane://x?a=music%2Dvideo&b=downloads&c=k1"),
        "import music%2Dvideo", songOne());
    row("entry key %20", s("tolvane://x?a=song&b=downloads&c=two%20words"), "import song",
        {{s("title"), s("Spaced")}});
    row("entry key UTF-8", s("tolvane://x?a=song&b=downloads&c=%D0%BA%D0%BB%D1%8E%D1%87"),
        "import song", {{s("title"), s("Cyrillic")}});
    row("entry key missing", s("tolvane://x?a=song&b=downloads&c=absent"), "import song");
    row("entry key not UTF-8", s("tolvane://x?a=song&b=downloads&c=k1%FF"), "import song");
    row("entry key broken escape", s("tolvane://x?a=song&b=downloads&c=k%2"), "import song");

    const QVariantMap tracked{{s("isVideo"), 1},
                              {s("filePath"), s("/m/My%20Clip.mp4")},
                              {s("iconData"), s("/m/clip.jpg")}};
    QVariantMap clip = tracked;
    clip.insert({{s("title"), s("Clip")}, {s("name"), s("Clip")}, {s("genre"), s("Pop")}});
    row("tracks", tracks("t1", "tracks.plist"), "import music-video", clip);
    row("tracks entry without title", tracks("t2", "tracks.plist"), "import music-video", tracked);
    row("tracks entry missing", tracks("t9", "tracks.plist"), "import music-video");

    row("empty text", s(""), "");
    row("other scheme", s("https://example.com/a.mp3"), "");
    row("mail", s("mailto:someone@example.com"), "");
    row("no scheme", s("/var/mobile/a.mp3"), "");
    row("own scheme alone", s("tolvane://"), "");
    row("two parts", s("tolvane://x?a=song&b=downloads"), "");
    row("three parts, two with =", s("tolvane://x?song&b=downloads&c=k1"), "");
    row("store key missing", s("tolvane://x?a=song&b=nostore&c=k1"), "");
    row("store key not a dictionary", s("tolvane://x?a=song&b=notastore&c=k1"), "");
    row("tracks, five values", s("tolvane://x?a=song&b=tracks&c=t1&d=tracks.plist&e=/m/c.mp4"), "");
    row("tracks store ../x", tracks("t1", "../x"), "");
    row("tracks store a/b", tracks("t1", "a/b"), "");
    row("tracks store ..", tracks("t1", ".."), "");
    row("tracks store empty name", tracks("t1", ""), "");
    row("file URL not UTF-8", s("file:///tmp/bad%FF.mp3"), "");
    row("file URL broken escape", s("file:///tmp/100%.mp3"), "");
    // A file URL that names no absolute local path names nothing to open or delete.
    row("file URL of another host", s("file://server/etc/x.mp3"), "");
    row("file URL, relative", s("file:tmp/x.mp3"), "");
    row("file URL without a path", s("file://localhost"), "");
    row("file URL with a NUL", s("file:///tmp/a%00.mp3"), "");
    row("file URL with a query", s("file:///tmp/a.mp3?x=1"), "");
    row("file URL with a fragment", s("file:///tmp/a.mp3#t=3"), "");
}

void TestHandoff::perform() {
    QFETCH(QString, url);
    QFETCH(QString, call);
    QFETCH(QVariantMap, record);

    for (const bool pickerOn : {false, true}) {
        RecordingTarget target;
        target.pickerOn = pickerOn;
        QCOMPARE(UrlHandoff::perform(url, &target), !call.isEmpty());
        // A picker that is up is taken down first, without animation, for every URL.
        QStringList expected;
        if (pickerOn)
            expected.append(s("dismiss"));
        if (!call.isEmpty())
            expected.append(call);
        QCOMPARE(target.calls, expected);
        QCOMPARE(target.record, record);
        if (record.contains(s("isVideo"))) // a number, not the text "1"
            QVERIFY(target.record.value(s("isVideo")).typeId() != QMetaType::QString);
    }
    const HandoffAction action = UrlHandoff::resolve(url);
    QCOMPARE(action.accepted(), !call.isEmpty());
    QCOMPARE(action.record.has_value(), !record.isEmpty());
}

void TestHandoff::unreadableStore_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("damaged") << QByteArray("bplist00 damaged");
}

void TestHandoff::unreadableStore() {
    QFETCH(QByteArray, content);
    const QString store = Paths::preferencesFolder() + s("/store.plist");
    QFile::remove(store);
    if (!content.isEmpty())
        QVERIFY(writeFile(store, content));
    RecordingTarget target;
    QVERIFY(!UrlHandoff::perform(tracks("t1", "store.plist"), &target));
    QVERIFY(target.calls.isEmpty());
}

void TestHandoff::openIn_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QString>("path");
    // The icon whose bytes are the record's "imageData"; empty for none.
    QTest::addColumn<QString>("icon");

    const QString song = s("file:///var/mobile/Documents/Inbox/My%20Song.MP3");
    const QString songPath = s("/var/mobile/Documents/Inbox/My Song.MP3");
    QTest::newRow("scale 1") << song << 1.0 << songPath << s("audio.png");
    QTest::newRow("scale 2") << song << 2.0 << songPath << s("audio@2x.png");
    QTest::newRow("scale 3, no @3x icon") << song << 3.0 << songPath << QString();
    QTest::newRow("unlisted") << s("file:///t/notes.txt") << 1.0 << s("/t/notes.txt")
                              << s("unknown.png");
    QTest::newRow("unlisted at 2x")
        << s("file:///t/notes.txt") << 2.0 << s("/t/notes.txt") << QString();
    QTest::newRow("no extension") << s("file:///t/README") << 1.0 << s("/t/README")
                                  << s("unknown.png");
    QTest::newRow("icon file missing") << s("file:///t/a.xyz") << 1.0 << s("/t/a.xyz") << QString();
    QTest::newRow("UTF-8 escapes")
        << s("file:///t/%C3%9Cbung%20%231.m4a") << 1.0 << s("/t/Übung #1.m4a") << s("audio.png");
    // Read as URLs: scheme in any case, the local host named or not.
    QTest::newRow("scheme in capitals")
        << s("FILE:///t/a.mp3") << 1.0 << s("/t/a.mp3") << s("audio.png");
    QTest::newRow("localhost") << s("file://localhost/etc/x.mp3") << 1.0 << s("/etc/x.mp3")
                               << s("audio.png");
    QTest::newRow("LOCALHOST, mixed scheme")
        << s("File://LOCALHOST/t/a.mp3") << 1.0 << s("/t/a.mp3") << s("audio.png");
    QTest::newRow("one slash") << s("file:/t/a.mp3") << 1.0 << s("/t/a.mp3") << s("audio.png");
    QTest::newRow("escapes decoded once")
        << s("file:///t/a%2520b.mp3") << 1.0 << s("/t/a%20b.mp3") << s("audio.png");
}

void TestHandoff::openIn() {
    QFETCH(QString, url);
    QFETCH(qreal, scale);
    QFETCH(QString, path);
    QFETCH(QString, icon);

    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), scale);
    RecordingTarget target;
    QVERIFY(UrlHandoff::perform(url, &target));
    QCOMPARE(target.calls, QStringList{s("openIn ") + path});
    QCOMPARE(target.record.keys(), (QStringList{s("mediaKind"), s("metadata"), s("path")}));
    QCOMPARE(target.record.value(s("mediaKind")), QVariant(s("song")));

    QVariantMap metadata = target.record.value(s("metadata")).toMap();
    const QVariant year = metadata.take(s("year"));
    QVERIFY(year.typeId() == QMetaType::Int || year.typeId() == QMetaType::LongLong);
    QCOMPARE(year.toInt(), QDate::currentDate().year());
    const QByteArray iconBytes = metadata.take(s("imageData")).toByteArray();
    QCOMPARE(iconBytes, icon.isEmpty() ? QByteArray()
                                       : contents(Paths::iconsFolder() + QLatin1Char('/') + icon));
    // The title keeps the extension; the artist is empty but present.
    QCOMPARE(metadata, (QVariantMap{{AVMetadataCommonKeyTitle, path.section(QLatin1Char('/'), -1)},
                                    {AVMetadataCommonKeyArtist, s("")}}));
}

void TestHandoff::nullTextTouchesNothing() {
    RecordingTarget target;
    target.pickerOn = true;
    QVERIFY(!UrlHandoff::perform(QString(), &target));
    QVERIFY(target.calls.isEmpty());
}

void TestHandoff::largeUrls_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("accepted");

    const QString mega(1024 * 1024, QLatin1Char('k'));
    QTest::newRow("1 MB entry key") << s("tolvane://x?a=song&b=downloads&c=") + mega << true;
    QTest::newRow("1 MB folder") << s("tolvane://open?path=/") + mega + s("/b.mp3") << true;
    QTest::newRow("1 MB of &") << s("tolvane://x?") + QString(1 << 20, QLatin1Char('&')) << false;
    QTest::newRow("1 MB of escapes") << s("file:///t/") + s("%20").repeated(350000) << true;
}

void TestHandoff::largeUrls() {
    QFETCH(QString, url);
    RecordingTarget target;
    QElapsedTimer timer;
    timer.start();
    QTEST(UrlHandoff::perform(url, &target), "accepted");
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

void TestHandoff::destination_data() {
    QTest::addColumn<QString>("setup");
    // "savePath" relative to the device folder; null: no preferences file.
    QTest::addColumn<QString>("savePath");
    // The answer relative to the device folder, exactly.
    QTest::addColumn<QString>("expected");

    const QString downloads = s("var/mobile/Downloads");
    const QString none;
    QTest::newRow("nothing there: Downloads made") << s("") << none << downloads;
    QTest::newRow("savePath folder, slash kept")
        << s("folder elsewhere/Music") << s("elsewhere/Music/") << s("elsewhere/Music/");
    QTest::newRow("savePath missing") << s("") << s("nothing/here") << downloads;
    QTest::newRow("savePath plain file") << s("file notes.txt") << s("notes.txt") << s("notes.txt");
    QTest::newRow("savePath dangling link") << s("link gone") << s("gone") << downloads;
    QTest::newRow("savePath not a string") << s("number") << s("") << downloads;
    QTest::newRow("savePath empty") << s("") << s("") << downloads;
    QTest::newRow("preferences unreadable") << s("garbage") << none << downloads;
    QTest::newRow("Downloads a plain file") << s("file var/mobile/Downloads") << none << downloads;
    QTest::newRow("user root a plain file") << s("file var/mobile") << none << s("var/mobile");
    QTest::newRow("user root a dangling link") << s("link var/mobile") << none << s("var/mobile");
}

void TestHandoff::destination() {
    QFETCH(QString, setup);
    QFETCH(QString, savePath);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    Paths::setDeviceRoot(dir.path());
    const QString root = dir.path() + QLatin1Char('/');
    const QString verb = setup.section(QLatin1Char(' '), 0, 0);
    const QString target = root + setup.section(QLatin1Char(' '), 1);
    if (verb == QLatin1String("folder"))
        QVERIFY(QDir().mkpath(target));
    else if (verb == QLatin1String("file"))
        QVERIFY(writeFile(target, "x"));
    else if (verb == QLatin1String("link"))
        QVERIFY(QDir().mkpath(QFileInfo(target).path()) && QFile::link(root + s("none"), target));

    QVariant saved = savePath.isEmpty() ? savePath : root + savePath;
    if (verb == QLatin1String("number"))
        saved = qlonglong(5);
    if (verb == QLatin1String("garbage"))
        QVERIFY(writeFile(Paths::preferencesFile(), "\x01\x02 not a plist"));
    else if (!savePath.isNull())
        QVERIFY(writePlist(Paths::preferencesFile(), QVariantMap{{s("savePath"), saved}}));

    QCOMPARE(Preferences::getTheFullDestinationPath(), root + expected);
    // Downloads is made when missing, unless something is in the way.
    QCOMPARE(QFileInfo(Paths::defaultDestinationFolder()).isDir(),
             !setup.contains(s("var/mobile")));
}

void TestHandoff::preferencesAreReadAnew() {
    QTemporaryDir dir;
    Paths::setDeviceRoot(dir.path());
    const QString first = dir.filePath(s("first"));
    const QString second = dir.filePath(s("second"));
    QVERIFY(QDir().mkpath(first) && QDir().mkpath(second));

    QVERIFY(writePlist(Paths::preferencesFile(), QVariantMap{{s("savePath"), first}}));
    QCOMPARE(Preferences::getTheFullDestinationPath(), first);
    QVERIFY(writePlist(Paths::preferencesFile(), QVariantMap{{s("savePath"), second}}));
    QCOMPARE(Preferences::getTheFullDestinationPath(), second);
    QVERIFY(QDir(second).removeRecursively());
    QCOMPARE(Preferences::getTheFullDestinationPath(), Paths::defaultDestinationFolder());
}

void TestHandoff::percentEscapes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("expected"); // a QString, or nothing when refused

    const auto row = [](const char* text, const QVariant& expected) {
        QTest::addRow("\"%s\"", text) << s(text) << expected;
    };
    const QVariant refused;
    row("", s(""));
    row("abc def", s("abc def"));
    row("a%20b", s("a b"));
    row("%e2%9c%93", s("✓"));
    row("caf%C3%A9", s("café"));
    row("é%20", s("é "));
    row("%2525", s("%25"));
    row("a%00b", QString(QLatin1String("a\0b", 3)));
    row("%FF", refused);
    row("%", refused);
    row("100%", refused);
    row("%4", refused);
    row("a%4g", refused);
    row("%zz", refused);
    row("%C3", refused);
    row("%C0%AF", refused);
    row("%ED%A0%80", refused);
}

void TestHandoff::percentEscapes() {
    QFETCH(QString, text);
    QFETCH(QVariant, expected);
    const std::optional<QString> result = replacingPercentEscapes(text);
    QCOMPARE(result.has_value(), expected.isValid());
    if (result)
        QCOMPARE(*result, expected.toString());
}

void TestHandoff::launchArguments_data() {
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("expected");
    // Where the hand-off of the text finds the file; empty when it is no file.
    QTest::addColumn<QString>("file");

    const auto row = [](const char* argument, const char* folder, const char* expected,
                        const char* file) {
        QTest::newRow(argument) << s(argument) << s(folder) << s(expected) << s(file);
    };
    row("My Song.mp3", "/h/u", "file:///h/u/My%20Song.mp3", "/h/u/My Song.mp3");
    row("/abs/a b.mp3", "/x", "file:///abs/a%20b.mp3", "/abs/a b.mp3");
    row("100%.mp3", "/h", "file:///h/100%25.mp3", "/h/100%.mp3");
    row("tolvane://open?path=/a%20b/c", "/h", "tolvane://open?path=/a%20b/c", "");
    row("file:///x%20y.mp3", "/h", "file:///x%20y.mp3", "/x y.mp3");
}

void TestHandoff::launchArguments() {
    QFETCH(QString, argument);
    QFETCH(QString, folder);
    QFETCH(QString, expected);
    QFETCH(QString, file);

    const QString text = handoffTextForArgument(argument, folder);
    QCOMPARE(text, expected);
    QCOMPARE(handoffTextsForArguments({argument, s("/z.mp3")}, folder),
             (QStringList{expected, s("file:///z.mp3")}));
    if (!file.isEmpty())
        QCOMPARE(UrlHandoff::resolve(text).path, file);
}

void TestHandoff::hintLayout_data() {
    QTest::addColumn<QSizeF>("view");
    QTest::addColumn<bool>("pad");
    QTest::addColumn<QSizeF>("box");
    QTest::addColumn<QSizeF>("text");
    QTest::addColumn<QRectF>("frame");

    QTest::newRow("phone 320x568") << QSizeF(320, 568) << false << QSizeF(290, 150)
                                   << QSizeF(150, 17) << QRectF(85, 541, 150, 17);
    QTest::newRow("phone landscape") << QSizeF(568, 320) << false << QSizeF(538, 150)
                                     << QSizeF(150, 17) << QRectF(209, 293, 150, 17);
    QTest::newRow("phone, odd width") << QSizeF(321, 100) << false << QSizeF(291, 150)
                                      << QSizeF(100, 20) << QRectF(110.5, 70, 100, 20);
    QTest::newRow("pad 768") << QSizeF(768, 1024) << true << QSizeF(650, 100) << QSizeF(300, 24)
                             << QRectF(234, 980, 300, 24);
    QTest::newRow("pad 1366") << QSizeF(1366, 1024) << true << QSizeF(650, 100) << QSizeF(650, 48)
                              << QRectF(358, 956, 650, 48);
    QTest::newRow("pad narrower than the box") << QSizeF(500, 700) << true << QSizeF(650, 100)
                                               << QSizeF(100, 24) << QRectF(200, 656, 100, 24);
}

void TestHandoff::hintLayout() {
    QFETCH(QSizeF, view);
    QFETCH(bool, pad);
    QFETCH(QSizeF, text);
    QTEST(MainScreenLayout::hintTextBox(view.width(), pad), "box");
    QTEST(MainScreenLayout::hintFrame(view, text, pad), "frame");
}

void TestHandoff::fileUrls_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("path");    // empty when refused
    QTest::addColumn<QString>("refusal"); // the start of the reason
    QTest::newRow("three slashes") << s("file:///a/b.mp3") << s("/a/b.mp3") << QString();
    QTest::newRow("capitals") << s("FILE:///a/b.mp3") << s("/a/b.mp3") << QString();
    QTest::newRow("localhost") << s("file://localhost/etc/x") << s("/etc/x") << QString();
    QTest::newRow("LocalHost") << s("file://LocalHost/x") << s("/x") << QString();
    QTest::newRow("one slash") << s("file:/a/b") << s("/a/b") << QString();
    QTest::newRow("escapes") << s("file:///a%20b/%C3%BC.mp3") << s("/a b/ü.mp3") << QString();
    QTest::newRow("decoded once") << s("file:///a%2520b") << s("/a%20b") << QString();
    QTest::newRow("escaped slash") << s("file:///a%2Fb") << s("/a/b") << QString();
    QTest::newRow("another host") << s("file://server/x") << QString() << s("the host");
    QTest::newRow("relative") << s("file:x/y.mp3") << QString() << s("not an absolute");
    QTest::newRow("host only") << s("file://localhost") << QString() << s("no path");
    QTest::newRow("NUL") << s("file:///a%00b") << QString() << s("the path holds a NUL");
    QTest::newRow("query") << s("file:///a?b") << QString() << s("a query");
    QTest::newRow("malformed escape") << s("file:///a%ZZ") << QString() << s("escapes");
    QTest::newRow("not UTF-8") << s("file:///%FF") << QString() << s("escapes");
    QTest::newRow("another scheme") << s("https://x/y") << QString() << s("another scheme");
}

void TestHandoff::fileUrls() {
    QFETCH(QString, url);
    QFETCH(QString, path);
    QFETCH(QString, refusal);
    const Result<QString> read = FileUrl::localPath(url);
    if (path.isEmpty()) {
        QVERIFY(!read.ok());
        QVERIFY2(read.failure().message().contains(refusal), qPrintable(read.errorText()));
        QCOMPARE(read.failure().path(), url);
        return;
    }
    QVERIFY2(read.ok(), qPrintable(read.errorText()));
    QCOMPARE(*read, path);
    // And back: the URL of the path reads as the same path.
    QCOMPARE(FileUrl::localPath(FileUrl::fromLocalPath(path)).valueOr(QString()), path);
}

namespace {

struct stat statOf(const QString& path) {
    struct stat info {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info;
}

} // namespace

void TestHandoff::inboxLinksOnTheSameFileSystem() {
    QTemporaryDir dir;
    const QString mine = dir.filePath(s("Music/Keep Me.mp3"));
    QVERIFY(writeFile(mine, "the user's own bytes"));
    const Inbox inbox(dir.filePath(s("Documents/Inbox")));

    const Result<QString> first = inbox.enter(mine);
    QVERIFY2(first.ok(), qPrintable(first.errorText()));
    QCOMPARE(*first, inbox.folder() + s("/Keep Me.mp3"));
    // A link: the same file, no copy.
    QCOMPARE(statOf(*first).st_ino, statOf(mine).st_ino);
    QVERIFY(inbox.holds(*first));
    QVERIFY(!inbox.holds(mine));

    // The same name again gets a name of its own; an entry is passed on as it is.
    QCOMPARE(inbox.enter(mine).valueOr(QString()), inbox.folder() + s("/Keep Me-1.mp3"));
    QCOMPARE(inbox.enter(mine).valueOr(QString()), inbox.folder() + s("/Keep Me-2.mp3"));
    QCOMPARE(inbox.enter(*first).valueOr(QString()), *first);

    // A link in the user's folder is entered as the file it names, not as a link.
    const QString alias = dir.filePath(s("Music/alias.mp3"));
    QVERIFY(QFile::link(mine, alias));
    const Result<QString> viaLink = inbox.enter(alias);
    QVERIFY(viaLink.ok());
    QVERIFY(!QFileInfo(*viaLink).isSymLink());
    QCOMPARE(statOf(*viaLink).st_ino, statOf(mine).st_ino);

    for (const QString& entry : QDir(inbox.folder()).entryList(QDir::Files))
        QVERIFY(inbox.remove(inbox.folder() + QLatin1Char('/') + entry).ok());
    QCOMPARE(contents(mine), QByteArray("the user's own bytes"));
    QVERIFY(QDir(inbox.folder()).isEmpty());
}

void TestHandoff::inboxCopiesAcrossFileSystems() {
    const ScopedMount other(4 * 1024 * 1024);
    if (!other.isMounted())
        QSKIP("mounting a small file system needs the right to mount");
    QTemporaryDir dir;
    const QString mine = other.filePath(s("Keep Me.mp3"));
    const QByteArray bytes(300 * 1024, 'k');
    QVERIFY(writeFile(mine, bytes));
    const Inbox inbox(dir.filePath(s("Inbox")));
    const Result<QString> entry = inbox.enter(mine);
    QVERIFY2(entry.ok(), qPrintable(entry.errorText()));
    QVERIFY(statOf(*entry).st_dev != statOf(mine).st_dev);
    QCOMPARE(contents(*entry), bytes);

    // A full Inbox: no entry is left half-written, and the reason says so.
    const ScopedMount tiny(64 * 1024);
    QVERIFY(tiny.isMounted());
    const Result<QString> full = Inbox(tiny.filePath(s("Inbox"))).enter(mine);
    QVERIFY(!full.ok());
    QCOMPARE(full.failure().systemError(), ENOSPC);
    QVERIFY(QDir(tiny.filePath(s("Inbox"))).isEmpty());
    QCOMPARE(contents(mine), bytes);
}

void TestHandoff::inboxRefuses_data() {
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("reason");
    QTest::newRow("vanished") << s("gone.mp3") << s("No such file");
    QTest::newRow("a FIFO") << s("fifo.mp3") << s("a FIFO");
    QTest::newRow("a device") << s("/dev/zero") << s("a device");
    QTest::newRow("a folder") << s("folder") << s("a folder");
    QTest::newRow("a link loop") << s("loop.mp3") << s("Too many levels");
    QTest::newRow("a NUL") << s("a") + QChar(0) + s("b.mp3") << s("NUL");
    QTest::newRow("an Inbox that is a file") << s("blocked") << s("cannot be made");
}

void TestHandoff::inboxRefuses() {
    QFETCH(QString, given);
    QFETCH(QString, reason);
    QTemporaryDir dir;
    QString inboxFolder = dir.filePath(s("Inbox"));
    QString path = given.startsWith(QLatin1Char('/')) ? given : dir.filePath(given);
    if (given == s("fifo.mp3"))
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    if (given == s("folder"))
        QVERIFY(QDir().mkpath(path));
    if (given == s("loop.mp3"))
        QVERIFY(QFile::link(path, path));
    if (given == s("blocked")) {
        path = dir.filePath(s("song.mp3"));
        QVERIFY(writeFile(path, "x"));
        QVERIFY(writeFile(inboxFolder, "a file where the Inbox would be"));
    }
    const Result<QString> entry = Inbox(inboxFolder).enter(path);
    QVERIFY(!entry.ok());
    QVERIFY2(entry.errorText().contains(reason), qPrintable(entry.errorText()));
    if (QFileInfo(inboxFolder).isDir())
        QVERIFY(QDir(inboxFolder).isEmpty());
}

void TestHandoff::inboxRemovesOnlyItsEntries() {
    QTemporaryDir dir;
    const Inbox inbox(dir.filePath(s("Inbox")));
    const QString mine = dir.filePath(s("mine.mp3"));
    const QString nested = inbox.folder() + s("/sub/deeper.mp3");
    QVERIFY(writeFile(mine, "x"));
    QVERIFY(writeFile(nested, "x"));
    for (const QString& path : {mine, nested, inbox.folder() + s("/../mine.mp3")}) {
        const Status removed = inbox.remove(path);
        QVERIFY(!removed.ok());
        QVERIFY(removed.failure().message().startsWith(s("not an entry of the Inbox")));
    }
    QVERIFY(QFileInfo::exists(mine));
    QVERIFY(QFileInfo::exists(nested));
    // An entry that is gone already is gone, as wanted.
    QVERIFY(inbox.remove(inbox.folder() + s("/never.mp3")).ok());
}

void TestHandoff::receiverEntersFiles_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("received"); // "ENTRY" for the Inbox entry's URL, "" for a refusal
    QTest::newRow("file URL") << s("file://DIR/Keep%20Me.mp3") << s("ENTRY");
    QTest::newRow("file URL, capitals and localhost")
        << s("FILE://localhostDIR/Keep%20Me.mp3") << s("ENTRY");
    QTest::newRow("own scheme") << s("tolvane://open?path=/a/b.mp3")
                                << s("tolvane://open?path=/a/b.mp3");
    QTest::newRow("another scheme") << s("https://x/y.mp3") << s("https://x/y.mp3");
    QTest::newRow("file URL of a missing file") << s("file://DIR/none.mp3") << QString();
    QTest::newRow("file URL of another host") << s("file://host/DIR/Keep%20Me.mp3") << QString();
}

void TestHandoff::receiverEntersFiles() {
    QFETCH(QString, text);
    QFETCH(QString, received);
    QTemporaryDir dir;
    const QString mine = dir.filePath(s("Keep Me.mp3"));
    QVERIFY(writeFile(mine, "mine"));
    text.replace(s("DIR"), QString::fromUtf8(QUrl::toPercentEncoding(dir.path(), "/")));
    const Inbox inbox(dir.filePath(s("Inbox")));
    const Result<QString> got = HandoffReceiver(inbox).receive(text);
    if (received.isEmpty()) {
        QVERIFY(!got.ok());
        QVERIFY(!QFileInfo::exists(inbox.folder()) || QDir(inbox.folder()).isEmpty());
    } else if (received == s("ENTRY")) {
        QVERIFY2(got.ok(), qPrintable(got.errorText()));
        QCOMPARE(*got, FileUrl::fromLocalPath(inbox.folder() + s("/Keep Me.mp3")));
        // The hand-off then opens the entry, and a Cancel would delete the entry alone.
        RecordingTarget target;
        QVERIFY(UrlHandoff::perform(*got, &target));
        QCOMPARE(target.calls, QStringList{s("openIn ") + inbox.folder() + s("/Keep Me.mp3")});
    } else {
        QCOMPARE(got.valueOr(QString()), received);
    }
    QCOMPARE(contents(mine), QByteArray("mine"));
}

QTEST_GUILESS_MAIN(TestHandoff)
#include "tst_handoff.moc"
