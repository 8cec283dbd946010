#include "TestSupport.h"
#include "browser/FileTypeTable.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace tolvane::test;

namespace {

const QString shippedTablePath = QString::fromUtf8(TOLVANE_SHIPPED_TABLE);
const QString iconSources = QString::fromUtf8(TOLVANE_ICON_SOURCES);

// One entry of a table written by hand, so that the entries keep the order given here.
// Without an icon the "icon" key is left out.
QByteArray entry(const char* label, const QStringList& extensions, const char* icon = nullptr) {
    QByteArray xml = "<key>" + QByteArray(label) + "</key><dict><key>extensions</key><array>";
    for (const QString& extension : extensions)
        xml += "<string>" + extension.toUtf8() + "</string>";
    xml += "</array>";
    if (icon)
        xml += "<key>icon</key><string>" + QByteArray(icon) + "</string>";
    return xml + "</dict>\n";
}

QByteArray table(const QByteArray& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" + entries +
           "</dict></plist>\n";
}

} // namespace

class TestFileTypes : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mapAndScan_data();
    void mapAndScan();
    void unusableTableFile_data();
    void unusableTableFile();
    void rewrittenTableIsReadAgain_data();
    void rewrittenTableIsReadAgain();
    void cacheIsPerPath();
    void installedTableIsUnderTheSystemRoot();
    void shippedTable_data();
    void shippedTable();
    void shippedTableListsEachExtensionOnce();
};

void TestFileTypes::mapAndScan_data() {
    QTest::addColumn<QByteArray>("entries");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<QString>("listed");
    QTest::addColumn<QString>("scanned");

    const auto row = [](const char* tag, const QByteArray& entries, const char* fileName,
                        const char* listed, const char* scanned, bool isDirectory = false) {
        QTest::newRow(tag) << entries << s(fileName) << isDirectory << s(listed) << s(scanned);
    };
    const QByteArray music = entry("Audio", {s("mp3"), s("m4a")}, "music");
    const QByteArray zipTwice = entry("Archives", {s("zip")}, "archive") + music +
                                entry("Compressed", {s("gz"), s("zip")}, "compressed");
    row("capital extension of the file", music, "Song.MP3", "music.png", "music.png");
    row("second extension of an entry", music, "a.m4a", "music.png", "music.png");
    row("listed twice: map last, scan first", zipTwice, "a.zip", "compressed.png", "archive.png");
    row("file order, not key order",
        entry("zz", {s("zip")}, "first") + entry("aa", {s("zip")}, "second"), "x.zip", "second.png",
        "first.png");
    row("entry without icon", entry("Video", {s("avi")}), "clip.avi", "unknown.png", "unknown.png");
    row("entry without icon, then one with",
        entry("Bare", {s("avi")}) + entry("V", {s("avi")}, "video"), "clip.avi", "video.png",
        "unknown.png");
    row("capitals in the table never match", entry("Audio", {s("MP3")}, "music"), "SONG.MP3",
        "unknown.png", "unknown.png");
    row("no extension", music, "README", "unknown.png", "unknown.png");
    row("empty extension listed", music + entry("Plain", {s("")}, "text"), "README", "text.png",
        "text.png");
    row("dot file", entry("Hidden", {s("hidden")}, "secret"), ".hidden", "unknown.png",
        "unknown.png");
    row("last extension counts", entry("Archives", {s("gz")}, "archive"), "a.tar.gz", "archive.png",
        "archive.png");
    row("directory named like a file", zipTwice, "photos.zip", "folder.png", "archive.png", true);
    row("unlisted extension", music, "notes.txt", "unknown.png", "unknown.png");
    row("non-ASCII extension", entry("Local", {s("übung")}, "lesson"), "Heft.ÜBUNG", "lesson.png",
        "lesson.png");
    // Damaged entries are passed over; the rest of the table still counts.
    row("root values that are no entries",
        "<key>v</key><string>2</string><key>l</key><array/>" + music, "a.mp3", "music.png",
        "music.png");
    row("extensions not an array",
        "<key>Bad</key><dict><key>extensions</key><string>mp3</string><key>icon</key>"
        "<string>bad</string></dict>" +
            music,
        "a.mp3", "music.png", "music.png");
    row("non-strings among extensions",
        "<key>Mixed</key><dict><key>extensions</key><array><integer>3</integer><dict/>"
        "<string>ogg</string></array><key>icon</key><string>sound</string></dict>",
        "a.ogg", "sound.png", "sound.png");
    row("icon not a string",
        "<key>Odd</key><dict><key>extensions</key><array><string>mid</string></array>"
        "<key>icon</key><integer>7</integer></dict>",
        "a.mid", "unknown.png", "unknown.png");
}

void TestFileTypes::mapAndScan() {
    QFETCH(QByteArray, entries);
    QFETCH(QString, fileName);
    QFETCH(bool, isDirectory);

    QTemporaryDir dir;
    const QString path = dir.filePath(s("fileTypes.plist"));
    QVERIFY(writeFile(path, table(entries)));
    const auto types = FileTypeTable::load(path);
    QTEST(types->listingIconFile(fileName, isDirectory), "listed");
    QTEST(types->iconFileForExtension(PathString::pathExtension(fileName)), "scanned");
}

void TestFileTypes::unusableTableFile_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("warns");

    QTest::newRow("missing") << s("none") << QByteArray() << false;
    QTest::newRow("a folder") << s("folder") << QByteArray() << true;
    QTest::newRow("empty") << s("file") << QByteArray() << true;
    QTest::newRow("malformed") << s("file") << table(entry("A", {s("mp3")}, "music")).chopped(30)
                               << true;
    QTest::newRow("root is an array")
        << s("file")
        << QByteArray("<plist version=\"1.0\"><array><dict><key>extensions</key><array><string>"
                      "mp3</string></array><key>icon</key><string>music</string></dict></array>"
                      "</plist>")
        << true;
    QTest::newRow("root values are strings")
        << s("file") << table("<key>Audio</key><string>mp3</string>") << false;
}

void TestFileTypes::unusableTableFile() {
    QFETCH(QString, kind);
    QFETCH(QByteArray, content);
    QFETCH(bool, warns);

    QTemporaryDir dir;
    const QString path = dir.filePath(s("fileTypes.plist"));
    if (kind == QLatin1String("file"))
        QVERIFY(writeFile(path, content));
    else if (kind == QLatin1String("folder"))
        QVERIFY(QDir().mkpath(path));
    if (warns)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(path)));

    const auto types = FileTypeTable::load(path);
    QVERIFY(types->buildFileTypesDictionary().isEmpty());
    QCOMPARE(types->iconFileForExtension(s("mp3")), s("unknown.png"));
    QCOMPARE(types->listingIconFile(s("a.mp3"), false), s("unknown.png"));
    QCOMPARE(types->listingIconFile(s("Music"), true), s("folder.png"));
}

void TestFileTypes::rewrittenTableIsReadAgain_data() {
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("icon");

    QTest::newRow("different size") << table(entry("A", {s("mp3")}, "speaker")) << s("speaker.png");
    // Same length, same file: only the modification time tells the versions apart.
    QTest::newRow("same size, new time")
        << table(entry("A", {s("mp3")}, "audio")) << s("audio.png");
    QTest::newRow("table removed") << QByteArray() << s("unknown.png");
}

void TestFileTypes::rewrittenTableIsReadAgain() {
    QFETCH(QByteArray, after);
    QFETCH(QString, icon);

    QTemporaryDir dir;
    const QString path = dir.filePath(s("fileTypes.plist"));
    QVERIFY(writeFile(path, table(entry("A", {s("mp3")}, "music"))));
    QCOMPARE(FileTypeTable::load(path)->iconFileForExtension(s("mp3")), s("music.png"));

    if (after.isEmpty()) {
        QVERIFY(QFile::remove(path));
    } else {
        // Rewritten in place, keeping the file, then stamped a minute later.
        const QDateTime firstTime = QFileInfo(path).lastModified();
        QVERIFY(writeFile(path, after));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(firstTime.addSecs(60), QFileDevice::FileModificationTime));
    }
    QCOMPARE(FileTypeTable::load(path)->iconFileForExtension(s("mp3")), icon);
    QCOMPARE(FileTypeTable::load(path)->listingIconFile(s("a.mp3"), false), icon);
}

void TestFileTypes::cacheIsPerPath() {
    QTemporaryDir dir;
    const QString one = dir.filePath(s("one.plist"));
    const QString two = dir.filePath(s("two.plist"));
    QVERIFY(writeFile(one, table(entry("A", {s("mp3")}, "music"))));
    QVERIFY(writeFile(two, table(entry("A", {s("mp3")}, "sound"))));
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(FileTypeTable::load(one)->iconFileForExtension(s("mp3")), s("music.png"));
        QCOMPARE(FileTypeTable::load(two)->iconFileForExtension(s("mp3")), s("sound.png"));
    }
    // Unchanged, the table is not parsed again.
    const auto first = FileTypeTable::load(two);
    QCOMPARE(FileTypeTable::load(two).get(), first.get());
}

void TestFileTypes::installedTableIsUnderTheSystemRoot() {
    QTemporaryDir dir;
    Paths::setDeviceRoot(dir.path());
    QCOMPARE(FileTypeTable::installed()->iconFileForExtension(s("flac")), s("unknown.png"));
    QVERIFY(writeFile(Paths::fileTypeTable(), table(entry("Audio", {s("flac")}, "music"))));
    QCOMPARE(FileTypeTable::installed()->iconFileForExtension(s("flac")), s("music.png"));
    QCOMPARE(FileTypeTable::installed()->listingIconFile(s("x.FLAC"), false), s("music.png"));
}

void TestFileTypes::shippedTable_data() {
    QTest::addColumn<QVariant>("value");
    const auto root = PropertyListReader::readOrderedDictionary(shippedTablePath);
    QVERIFY2(root && !root->isEmpty(), qPrintable(shippedTablePath));
    for (const auto& [label, value] : *root)
        QTest::newRow(qPrintable(label)) << value;
}

void TestFileTypes::shippedTable() {
    QFETCH(QVariant, value);

    QCOMPARE(value.typeId(), QMetaType::QVariantMap);
    const QVariant icon = value.toMap().value(s("icon"));
    QCOMPARE(icon.typeId(), QMetaType::QString);
    const QString source = QDir(iconSources).filePath(icon.toString() + s(".svg"));
    QVERIFY2(QFileInfo(source).isFile(), qPrintable(source));

    const QVariant extensions = value.toMap().value(s("extensions"));
    QCOMPARE(extensions.typeId(), QMetaType::QVariantList);
    QVERIFY(!extensions.toList().isEmpty());
    for (const QVariant& item : extensions.toList()) {
        QCOMPARE(item.typeId(), QMetaType::QString);
        const QString extension = item.toString();
        static const QRegularExpression lowerCaseWord(s("^[a-z0-9_+-]+$"));
        QVERIFY2(lowerCaseWord.match(extension).hasMatch(), qPrintable(extension));
    }
}

void TestFileTypes::shippedTableListsEachExtensionOnce() {
    const auto types = FileTypeTable::load(shippedTablePath);
    QVERIFY(!types->entries().isEmpty());
    QSet<QString> seen;
    for (const FileTypeTable::Entry& entry : types->entries()) {
        for (const QString& extension : entry.extensions) {
            QVERIFY2(!seen.contains(extension), qPrintable(extension));
            seen.insert(extension);
            // Listed once, the two rules agree on it.
            QCOMPARE(types->listingIconFile(s("file.") + extension, false),
                     types->iconFileForExtension(extension));
        }
    }
    for (const char* always : {"unknown.svg", "folder.svg"})
        QVERIFY2(QFileInfo(QDir(iconSources).filePath(s(always))).isFile(), always);
}

QTEST_GUILESS_MAIN(TestFileTypes)
#include "tst_filetypes.moc"
