#include "TestSupport.h"
#include "platform/Device.h"
#include "platform/PathString.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"
#include "platform/RegularFile.h"

#include <QDateTime>
#include <QDir>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <functional>
#include <optional>
#include <sys/stat.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QByteArray plistXml(const QByteArray& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + body +
           "</plist>\n";
}

QDateTime utc(int y, int mo, int d, int h, int mi, int sec, int ms = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, sec, ms), QTimeZone::utc());
}

QVariantMap everyKindOfValue() {
    return {
        {s("text"), s("Grüße ✓ <&>")},
        {s("empty"), s("")},
        {s("zero"), qlonglong(0)},
        {s("negative"), qlonglong(-42)},
        {s("large"), qlonglong(1) << 40},
        {s("real"), -0.125},
        {s("yes"), true},
        {s("no"), false},
        {s("bytes"), QByteArray("\x00\x01\xfe\xff png", 8)},
        {s("date"), utc(2024, 2, 29, 13, 45, 7)},
        {s("list"), QVariantList{s("a"), qlonglong(2), QVariantMap{{s("k"), true}}}},
        {s("dict"), QVariantMap{{s("inner"), QVariantMap{{s("deep"), s("value")}}}}},
        {s("emptyList"), QVariantList()},
        {s("emptyDict"), QVariantMap()},
    };
}

} // namespace

class TestPlatform : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pathString_data();
    void pathString();

    void readsXmlOfEveryType();
    void roundTrip_data();
    void roundTrip();
    void negativeIntegerIsWrittenAsNegative();
    void badFiles_data();
    void badFiles();
    void notOrdinaryFiles_data();
    void notOrdinaryFiles();
    void readAllStopsAtItsLimit_data();
    void readAllStopsAtItsLimit();
    void otherTopLevels_data();
    void otherTopLevels();
    void orderedDictionaryKeepsFileOrder();

    void pathsUnderDeviceRoot_data();
    void pathsUnderDeviceRoot();
    void deviceRootIsMadeAbsolute();
    void desktopLayout_data();
    void desktopLayout();

    void scopedDeviceInstallsAndRestores();
};

void TestPlatform::pathString_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("component");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* op, const char* path, const char* component,
                        const char* expected) {
        QTest::addRow("%s(\"%s\", \"%s\")", op, path, component)
            << s(op) << s(path) << s(component) << s(expected);
    };
    row("last", "/a/b.mp3", "", "b.mp3");
    row("last", "/a/b/", "", "b");
    row("last", "/", "", "/");
    row("last", "///", "", "/");
    row("last", "", "", "");
    row("last", "a//b", "", "b");
    row("last", "/x/My%20Song.mp3", "", "My%20Song.mp3");
    row("delete", "/a/b.mp3", "", "/a");
    row("delete", "/a", "", "/");
    row("delete", "/a/", "", "/");
    row("delete", "/", "", "/");
    row("delete", "b.mp3", "", "");
    row("delete", "a/b", "", "a");
    row("delete", "/a//b", "", "/a");
    row("delete", "/var/mobile/Downloads/", "", "/var/mobile");
    row("delete", "/d/My%20Folder/b.mp3", "", "/d/My%20Folder");
    row("ext", "b.MP3", "", "MP3");
    row("ext", "README", "", "");
    row("ext", ".hidden", "", "");
    row("ext", "a.", "", "");
    row("ext", "a.tar.gz", "", "gz");
    row("ext", "/dir.d/file", "", "");
    row("ext", "/a/b.mp3/", "", "mp3");
    row("ext", "/", "", "");
    row("append", "/a/", "b", "/a/b");
    row("append", "", "b", "b");
    row("append", "/a", "/b", "/a/b");
    row("append", "/", "b", "/b");
    row("append", "/a//", "//b", "/a/b");
    row("append", "a", "b/c.png", "a/b/c.png");
}

void TestPlatform::pathString() {
    QFETCH(QString, operation);
    QFETCH(QString, path);
    QFETCH(QString, component);

    const std::map<QString, std::function<QString()>> operations{
        {s("last"), [&] { return PathString::lastPathComponent(path); }},
        {s("delete"), [&] { return PathString::deletingLastPathComponent(path); }},
        {s("ext"), [&] { return PathString::pathExtension(path); }},
        {s("append"), [&] { return PathString::appendingPathComponent(path, component); }},
    };
    QTEST(operations.at(operation)(), "expected");
}

void TestPlatform::readsXmlOfEveryType() {
    const QByteArray xml = plistXml(R"(<dict>
  <key>text</key><string>caf&#233; &amp; co</string>
  <key>count</key><integer>-17</integer>
  <key>big</key><integer>9007199254740993</integer>
  <key>ratio</key><real>2.5</real>
  <key>on</key><true/>
  <key>off</key><false/>
  <key>when</key><date>2001-01-01T00:00:10Z</date>
  <key>raw</key><data>AAEC/w==</data>
  <key>list</key><array><string>x</string><integer>3</integer><array/></array>
  <key>nested</key><dict><key>inner</key><dict/></dict>
</dict>)");
    const QVariantMap expected{
        {s("text"), s("café & co")},
        {s("count"), qlonglong(-17)},
        {s("big"), qlonglong(9007199254740993LL)},
        {s("ratio"), 2.5},
        {s("on"), true},
        {s("off"), false},
        {s("when"), utc(2001, 1, 1, 0, 0, 10)},
        {s("raw"), QByteArray("\x00\x01\x02\xff", 4)},
        {s("list"), QVariantList{s("x"), qlonglong(3), QVariantList()}},
        {s("nested"), QVariantMap{{s("inner"), QVariantMap()}}},
    };
    const Result<QVariant> read = PropertyListReader::fromData(xml);
    QVERIFY2(read.ok(), qPrintable(read.errorText()));
    const QVariantMap map = read->toMap();
    QCOMPARE(map, expected);
    // Equal values of the wrong type would pass the comparison above.
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QCOMPARE(map.value(it.key()).typeId(), it.value().typeId());
}

void TestPlatform::roundTrip_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("binary");

    const QVariantMap everything = everyKindOfValue();
    for (const bool binary : {false, true}) {
        const char* format = binary ? "binary" : "xml";
        for (auto it = everything.cbegin(); it != everything.cend(); ++it)
            QTest::addRow("%s: %s", format, qPrintable(it.key()))
                << QVariant(QVariantMap{{it.key(), it.value()}}) << binary;
        QTest::addRow("%s: everything", format) << QVariant(everything) << binary;
        QTest::addRow("%s: array at top", format)
            << QVariant(QVariantList{qlonglong(-1), s("z")}) << binary;
        QTest::addRow("%s: date before 2001", format)
            << QVariant(utc(1999, 12, 31, 23, 59, 59)) << binary;
    }
    QTest::newRow("binary: date with milliseconds")
        << QVariant(utc(2020, 6, 1, 8, 0, 0, 250)) << true;
}

void TestPlatform::roundTrip() {
    QFETCH(QVariant, value);
    QFETCH(bool, binary);

    QTemporaryDir dir;
    const QString path = dir.filePath(s("value.plist"));
    const QByteArray bytes =
        binary ? PropertyListWriter::toBinary(value) : PropertyListWriter::toXml(value);
    QCOMPARE(bytes.startsWith("bplist00"), binary);
    QVERIFY(writeFile(path, bytes));

    const Result<QVariant> fromFile = PropertyListReader::read(path);
    QVERIFY2(fromFile.ok(), qPrintable(fromFile.errorText()));
    QCOMPARE(fromFile->typeId(), value.typeId());
    QCOMPARE(*fromFile, value);
    QCOMPARE(PropertyListReader::fromData(bytes).valueOr({}), value);
}

void TestPlatform::negativeIntegerIsWrittenAsNegative() {
    // Other readers of the file must see -42 too, not its two's complement.
    const QByteArray xml = PropertyListWriter::toXml(QVariantList{qlonglong(-42)});
    QVERIFY2(xml.contains("<integer>-42</integer>"), xml.constData());
}

void TestPlatform::badFiles_data() {
    QTest::addColumn<bool>("create");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("cause");

    const QByteArray xml = PropertyListWriter::toXml(everyKindOfValue());
    const QByteArray binary = PropertyListWriter::toBinary(everyKindOfValue());
    QByteArray noise(512, 'X');
    QRandomGenerator generator(20240229);
    for (qsizetype i = 1; i < noise.size(); ++i)
        noise[i] = char(generator.bounded(256));
    QVariant deep = QVariantList();
    for (int i = 1; i < 1000; ++i)
        deep = QVariantList{deep};

    QTest::newRow("missing") << false << QByteArray() << s("No such file");
    QTest::newRow("empty") << true << QByteArray() << s("empty");
    QTest::newRow("truncated xml") << true << xml.left(xml.size() / 2) << s("malformed");
    QTest::newRow("truncated binary") << true << binary.left(binary.size() / 2) << s("damaged");
    QTest::newRow("binary header only") << true << QByteArray("bplist00") << s("damaged");
    QTest::newRow("random bytes") << true << noise << s("property list");
    QTest::newRow("other xml") << true << QByteArray("<html><body>no</body></html>")
                               << s("property list");
    QTest::newRow("1000 nested arrays, xml")
        << true
        << plistXml(QByteArray("<array>").repeated(1000) + QByteArray("</array>").repeated(1000))
        << s("nested too deeply|not a dictionary");
    QTest::newRow("1000 nested arrays, binary")
        << true << PropertyListWriter::toBinary(deep) << s("nested too deeply|not a dictionary");
    // The parser would keep the NUL inside the text, and its copying accessor asserts on it.
    QTest::newRow("NUL inside a string")
        << true
        << plistXml(QByteArray("<dict><key>savePath</key><string>/a") + '\0' +
                    QByteArray("b</string></dict>"))
        << s("NUL byte");
    QTest::newRow("NUL inside a key") << true
                                      << plistXml(QByteArray("<dict><key>a") + '\0' +
                                                  QByteArray("b</key><string>x</string></dict>"))
                                      << s("NUL byte");
}

void TestPlatform::badFiles() {
    QFETCH(bool, create);
    QFETCH(QByteArray, content);
    QFETCH(QString, cause);

    QTemporaryDir dir;
    const QString path = dir.filePath(s("bad file.plist"));
    if (create)
        QVERIFY(writeFile(path, content));

    const std::function<QString()> readers[] = {
        [&] { return PropertyListReader::read(path).errorText(); },
        [&] { return PropertyListReader::readDictionary(path).errorText(); },
        [&] { return PropertyListReader::readOrderedDictionary(path).errorText(); },
    };
    for (const auto& read : readers) {
        const QString text = read();
        QVERIFY2(text.startsWith(path + s(": ")), qPrintable(text));
        QVERIFY2(
            text.contains(QRegularExpression(cause, QRegularExpression::CaseInsensitiveOption)),
            qPrintable(text));
        QVERIFY(!text.contains(u'\n'));
    }
    if (create) {
        const Result<QVariant> parsed = PropertyListReader::fromData(content);
        QVERIFY(!parsed.ok());
        QVERIFY(parsed.failure().message().contains(
            QRegularExpression(cause, QRegularExpression::CaseInsensitiveOption)));
    }
}

void TestPlatform::notOrdinaryFiles_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("cause");
    QTest::newRow("a FIFO") << s("fifo") << s("a FIFO");
    QTest::newRow("an endless device") << s("/dev/zero") << s("a device");
    QTest::newRow("made up by the kernel") << s("/proc/self/mem") << s("makes up");
    QTest::newRow("a folder") << s(".") << s("folder");
}

void TestPlatform::notOrdinaryFiles() {
    // None of these may block, grow without end, or read as an empty property list.
    QFETCH(QString, path);
    QFETCH(QString, cause);
    QTemporaryDir dir;
    if (path == s("fifo")) {
        path = dir.filePath(path);
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    } else if (path == s(".")) {
        path = dir.path();
    }
    const Result<QVariant> read = PropertyListReader::read(path);
    QVERIFY(!read.ok());
    QVERIFY2(read.errorText().contains(cause), qPrintable(read.errorText()));
    QCOMPARE(read.failure().path(), path);
    QVERIFY(!RegularFile::check(path).ok());
}

void TestPlatform::readAllStopsAtItsLimit_data() {
    QTest::addColumn<qint64>("size");
    QTest::addColumn<qint64>("limit");
    QTest::newRow("empty") << qint64(0) << qint64(10);
    QTest::newRow("at the limit") << qint64(10) << qint64(10);
    QTest::newRow("a byte past it") << qint64(11) << qint64(10);
    // Read in more than one piece.
    QTest::newRow("several pieces") << qint64(200'000) << qint64(300'000);
    QTest::newRow("several pieces, at the limit") << qint64(200'000) << qint64(200'000);
    QTest::newRow("several pieces, a byte past") << qint64(200'001) << qint64(200'000);
}

void TestPlatform::readAllStopsAtItsLimit() {
    QFETCH(qint64, size);
    QFETCH(qint64, limit);
    QTemporaryDir dir;
    const QString path = dir.filePath(s("data"));
    QByteArray content(size, Qt::Uninitialized);
    for (qint64 i = 0; i < size; ++i)
        content[i] = char('a' + i % 26);
    QVERIFY(writeFile(path, content));

    const Result<QByteArray> read = RegularFile::readAll(path, limit);
    if (size <= limit) {
        QVERIFY2(read.ok(), qPrintable(read.errorText()));
        QCOMPARE(*read, content);
    } else {
        QVERIFY(!read.ok());
        QVERIFY2(read.failure().message().startsWith(s("too large")), qPrintable(read.errorText()));
        QCOMPARE(read.failure().path(), path);
    }
}

void TestPlatform::otherTopLevels_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("array") << PropertyListWriter::toXml(QVariantList{s("a")});
    QTest::newRow("string") << plistXml("<string>savePath</string>");
    QTest::newRow("binary integer") << PropertyListWriter::toBinary(qlonglong(7));
}

void TestPlatform::otherTopLevels() {
    QFETCH(QByteArray, content);
    QTemporaryDir dir;
    const QString path = dir.filePath(s("top.plist"));
    QVERIFY(writeFile(path, content));

    // A good property list of another shape: read() gives its value, the dictionary readers
    // say what is wrong.
    QVERIFY(PropertyListReader::read(path).ok());
    const Result<QVariantMap> dictionary = PropertyListReader::readDictionary(path);
    QVERIFY(!dictionary.ok());
    QCOMPARE(dictionary.errorText(), path + s(": the top level is not a dictionary"));
    QCOMPARE(PropertyListReader::readOrderedDictionary(path).errorText(), dictionary.errorText());
}

void TestPlatform::orderedDictionaryKeepsFileOrder() {
    QTemporaryDir dir;
    const QString path = dir.filePath(s("order.plist"));
    QVERIFY(writeFile(path, plistXml(R"(<dict>
  <key>zeta</key><string>1</string>
  <key>Alpha</key><dict><key>b</key><true/><key>a</key><false/></dict>
  <key>mid</key><integer>3</integer>
  <key>alpha</key><string>4</string>
</dict>)")));

    const Result<OrderedDictionary> entries = PropertyListReader::readOrderedDictionary(path);
    QVERIFY(entries.ok());
    QStringList keys;
    for (const auto& entry : *entries)
        keys.append(entry.first);
    QCOMPARE(keys, (QStringList{s("zeta"), s("Alpha"), s("mid"), s("alpha")}));
    QCOMPARE(entries->at(1).second.toMap().size(), 2);
    QCOMPARE(entries->at(2).second.toLongLong(), 3);
}

void TestPlatform::pathsUnderDeviceRoot_data() {
    QTest::addColumn<QString>("which");
    QTest::addColumn<QString>("relative");

    const QString support = s("Library/Application Support/Tolvane");
    const QString prefs = s("var/mobile/Library/Preferences");
    QTest::newRow("user root") << s("user") << s("var/mobile");
    QTest::newRow("system root") << s("system") << s("Library");
    QTest::newRow("preferences folder") << s("prefsFolder") << prefs;
    QTest::newRow("preferences file")
        << s("prefsFile") << prefs + s("/com.merrowby.tolvaneprefs.plist");
    QTest::newRow("downloads") << s("downloads") << s("var/mobile/Downloads");
    QTest::newRow("file-type table") << s("table") << support + s("/fileTypes.plist");
    QTest::newRow("images") << s("images") << support + s("/Images");
    QTest::newRow("icons") << s("icons") << support + s("/Images/icons-hd");
}

void TestPlatform::pathsUnderDeviceRoot() {
    QFETCH(QString, which);
    QFETCH(QString, relative);

    const std::map<QString, std::function<QString()>> accessors{
        {s("user"), &Paths::userRoot},
        {s("system"), &Paths::systemRoot},
        {s("prefsFolder"), &Paths::preferencesFolder},
        {s("prefsFile"), &Paths::preferencesFile},
        {s("downloads"), &Paths::defaultDestinationFolder},
        {s("table"), &Paths::fileTypeTable},
        {s("images"), &Paths::imagesFolder},
        {s("icons"), &Paths::iconsFolder},
    };
    const auto accessor = accessors.at(which);

    Paths::setRoots(s("/var/mobile"), s("/Library"));
    QCOMPARE(accessor(), QLatin1Char('/') + relative);
    QTemporaryDir dir;
    Paths::setDeviceRoot(dir.path());
    QCOMPARE(accessor(), dir.path() + QLatin1Char('/') + relative);
}

void TestPlatform::desktopLayout_data() {
    // What the environment holds (HOME is the test's own); "-" for a variable left unset.
    QTest::addColumn<QString>("configHome");
    QTest::addColumn<QString>("userDirs"); // XDG_DOWNLOAD_DIR's value, or empty for no file
    QTest::addColumn<QString>("prefsFolder");
    QTest::addColumn<QString>("downloads");
    QTest::newRow("nothing set") << s("-") << QString() << s("HOME/.config/tolvane")
                                 << s("HOME/Downloads");
    QTest::newRow("XDG folders and a download folder of the user's naming")
        << s("HOME/conf") << s("$HOME/Téléchargements à moi") << s("HOME/conf/tolvane")
        << s("HOME/Téléchargements à moi");
    // The rules ignore a relative XDG_CONFIG_HOME.
    QTest::newRow("relative XDG_CONFIG_HOME")
        << s("conf") << QString() << s("HOME/.config/tolvane") << s("HOME/Downloads");
}

void TestPlatform::desktopLayout() {
    QFETCH(QString, configHome);
    QFETCH(QString, userDirs);
    QFETCH(QString, prefsFolder);
    QFETCH(QString, downloads);
    QTemporaryDir home;
    const QString h = home.path();
    const auto expand = [&h](QString text) { return text.replace(s("HOME"), h); };
    const QList<QByteArray> variables{"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"};
    QList<std::optional<QByteArray>> saved;
    for (const QByteArray& name : variables)
        saved.append(qEnvironmentVariableIsSet(name.constData())
                         ? std::optional<QByteArray>(qgetenv(name.constData()))
                         : std::nullopt);
    const auto restore = qScopeGuard([&] {
        for (qsizetype i = 0; i < variables.size(); ++i) {
            if (saved.at(i))
                qputenv(variables.at(i).constData(), *saved.at(i));
            else
                qunsetenv(variables.at(i).constData());
        }
        Paths::setRoots(s("/var/mobile"), s("/Library"));
    });
    qputenv("HOME", QFile::encodeName(h));
    qunsetenv("XDG_CACHE_HOME");
    qunsetenv("XDG_DATA_HOME");
    if (configHome == s("-"))
        qunsetenv("XDG_CONFIG_HOME");
    else
        qputenv("XDG_CONFIG_HOME", expand(configHome).toUtf8());
    if (!userDirs.isEmpty()) {
        const QString config = configHome == s("-") ? h + s("/.config") : expand(configHome);
        QVERIFY(writeFile(config + s("/user-dirs.dirs"),
                          (s("XDG_DOWNLOAD_DIR=\"") + userDirs + s("\"\n")).toUtf8()));
    }

    Paths::useDesktopLayout();
    QVERIFY(Paths::isDesktopLayout());
    QCOMPARE(Paths::userRoot(), h);
    QCOMPARE(Paths::userRootFirstComponent(), h.section(QLatin1Char('/'), 1, 1));
    QCOMPARE(Paths::preferencesFolder(), expand(prefsFolder));
    QCOMPARE(Paths::preferencesFile(),
             expand(prefsFolder) + s("/") + s(Paths::preferencesFileName));
    QCOMPARE(Paths::defaultDestinationFolder(), expand(downloads));
    QCOMPARE(Paths::inboxFolder(), h + s("/.local/share/tolvane/Inbox"));
    QCOMPARE(Paths::cacheFolder(), h + s("/.cache/tolvane"));
    QCOMPARE(Paths::defaultLibraryFolder(), h + s("/Media/Tolvane"));
    QVERIFY(!Paths::systemRoot().contains(s("/var/mobile")));

    // A device folder keeps the device's layout, "/" included.
    Paths::setDeviceRoot(s("/"));
    QVERIFY(!Paths::isDesktopLayout());
    QCOMPARE(Paths::preferencesFolder(), s("/var/mobile/Library/Preferences"));
    QCOMPARE(Paths::inboxFolder(), s("/var/mobile/Documents/Inbox"));
}

void TestPlatform::deviceRootIsMadeAbsolute() {
    QTemporaryDir dir;
    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.path()));
    Paths::setDeviceRoot(s("device/./sub/../"));
    QDir::setCurrent(previous);

    const QString device = dir.filePath(s("device"));
    QCOMPARE(Paths::deviceRoot(), device);
    QCOMPARE(Paths::userRoot(), device + s("/var/mobile"));
    QCOMPARE(Paths::systemRoot(), device + s("/Library"));
    // The first component of the user root, where the picker's stack of folders starts.
    QCOMPARE(Paths::userRootFirstComponent(), device.section(QLatin1Char('/'), 1, 1));

    Paths::setRoots(s("/var/mobile/"), s("/Library"));
    QVERIFY(Paths::deviceRoot().isEmpty());
    QCOMPARE(Paths::userRoot(), s("/var/mobile"));
    QCOMPARE(Paths::userRootFirstComponent(), s("var"));
}

void TestPlatform::scopedDeviceInstallsAndRestores() {
    const DeviceTraits* before = &Device::current();
    {
        ScopedDevice phone(Idiom::Phone, QSizeF(320, 568), 2);
        QVERIFY(!Device::current().isPad() && !Device::current().isLandscape());
        {
            ScopedDevice pad(Idiom::Pad, QSizeF(1024, 768), 1);
            QVERIFY(Device::current().isPad() && Device::current().isLandscape());
        }
        QCOMPARE(Device::current().scale(), 2.0);
        QCOMPARE(Device::current().screenBounds(), QSizeF(320, 568));
    }
    QCOMPARE(&Device::current(), before);
}

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
