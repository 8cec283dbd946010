#include "ScopedMount.h"
#include "TestSupport.h"
#include "browser/DirectoryListModel.h"
#include "browser/DirectoryListing.h"
#include "browser/ListingOrder.h"
#include "browser/OpenInApplications.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QUrl>

#include <sys/mount.h>
#include <unistd.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QStringList namesOf(const DirectoryListModel& model) {
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names.append(model.entryAt(row).name());
    return names;
}

// Folders end in "/".
void make(const QString& folder, const QStringList& specs) {
    for (const QString& spec : specs) {
        if (spec.endsWith(QLatin1Char('/')))
            QDir(folder).mkpath(spec.chopped(1));
        else
            QVERIFY(writeFile(folder + QLatin1Char('/') + spec, "x"));
    }
}

QString trashInfo(const QString& trash, const QString& name) {
    return QString::fromUtf8(contents(trash + s("/info/") + name + s(".trashinfo")));
}

} // namespace

// A folder's listing as a desk expects it: ordered by name as people read names, following the
// folder as files arrive and go, and removals that go to the Trash. And the applications a
// file is offered to.
class TestFolderLive : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void order_data();
    void order();
    void orderByDateAdded();
    void orderKeys_data();
    void orderKeys();
    void followsTheFolder();
    void aBurstRedrawsAtMostTenTimesASecond();
    void aVanishedFolderListsEmpty();
    void anUnwatchableFolderIsSaidAndRefreshes();
    void currentRowKeptByPath();
    void trash_data();
    void trash();
    void trashThroughALink();
    void trashOnAnotherFileSystem();
    void noTrashIsAFailureThatKeepsTheFile();
    void openInNeverOffersItselfAndPutsTheDefaultFirst();

private:
    QTemporaryDir m_home;
    QTemporaryDir m_folder;
};

void TestFolderLive::initTestCase() {
    QVERIFY(m_home.isValid());
    // A home of the test's own: its Trash, its applications and its defaults. GIO reads these
    // once, so they are set before anything asks it.
    qputenv("HOME", QFile::encodeName(m_home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_home.filePath(s(".local/share"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_home.filePath(s(".config"))));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(m_home.filePath(s("system:/usr/share"))));
    Paths::useDesktopLayout();
    Paths::setRoots(m_home.path(), m_home.filePath(s("system")));
}

void TestFolderLive::init() {
    QDir(m_folder.path()).removeRecursively();
    QVERIFY(QDir().mkpath(m_folder.path()));
}

void TestFolderLive::order_data() {
    QTest::addColumn<QStringList>("made");
    QTest::addColumn<QStringList>("listed");
    QTest::newRow("numbers by value, letters without case or accents")
        << QStringList{s("Song 10"), s("song 3"), s("Ärger"), s("Song 2"), s("Zebra"), s("apple")}
        << QStringList{s("apple"), s("Ärger"), s("Song 2"), s("song 3"), s("Song 10"), s("Zebra")};
    QTest::newRow("folders first, each part by name")
        << QStringList{s("b.mp3"), s("Z folder/"), s("a folder/"),
                       s("A.mp3"), s("track 9/"),  s("track 10/")}
        << QStringList{s("a folder"), s("track 9"), s("track 10"),
                       s("Z folder"), s("A.mp3"),   s("b.mp3")};
    QTest::newRow("long numbers and leading zeros")
        << QStringList{s("Take 100"), s("Take 0099"), s("Take 20000000000"), s("Take 3")}
        << QStringList{s("Take 3"), s("Take 0099"), s("Take 100"), s("Take 20000000000")};
    QTest::newRow("empty") << QStringList() << QStringList();
}

void TestFolderLive::order() {
    QFETCH(QStringList, made);
    QFETCH(QStringList, listed);
    make(m_folder.path(), made);
    const DirectoryListModel model(m_folder.path(), ListingOrder::Name, nullptr);
    QCOMPARE(namesOf(model), listed);
}

void TestFolderLive::orderByDateAdded() {
    for (const QString& name : {s("first"), s("second"), s("third")}) {
        make(m_folder.path(), {name});
        QThread::msleep(20);
    }
    make(m_folder.path(), {s("older folder/")});
    const DirectoryListModel model(m_folder.path(), ListingOrder::DateAdded, nullptr);
    QCOMPARE(namesOf(model), (QStringList{s("older folder"), s("third"), s("second"), s("first")}));

    // File-system order is what the folder hands out, untouched.
    DirectoryListModel raw(m_folder.path(), ListingOrder::FileSystem, nullptr);
    const Result<QList<PSDirectoryPickerEntry>> listed =
        DirectoryListing::rebuildFileList(m_folder.path());
    QVERIFY(listed);
    QStringList unsorted;
    for (const PSDirectoryPickerEntry& entry : *listed)
        unsorted.append(entry.name());
    QCOMPARE(namesOf(raw), unsorted);

    // Changing the order orders the rows anew.
    raw.setOrder(ListingOrder::Name);
    QCOMPARE(namesOf(raw), (QStringList{s("older folder"), s("first"), s("second"), s("third")}));
}

void TestFolderLive::orderKeys_data() {
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("desktop");
    QTest::addColumn<int>("expected");
    QTest::newRow("desktop, nothing stored") << QVariant() << true << int(ListingOrder::Name);
    QTest::newRow("device, nothing stored") << QVariant() << false << int(ListingOrder::FileSystem);
    QTest::newRow("date added") << QVariant(s("dateAdded")) << true << int(ListingOrder::DateAdded);
    QTest::newRow("file system on a desktop")
        << QVariant(s("fileSystem")) << true << int(ListingOrder::FileSystem);
    QTest::newRow("unknown value") << QVariant(s("size")) << true << int(ListingOrder::Name);
    QTest::newRow("a number") << QVariant(3) << false << int(ListingOrder::FileSystem);
}

void TestFolderLive::orderKeys() {
    QFETCH(QVariant, stored);
    QFETCH(bool, desktop);
    QFETCH(int, expected);
    QTemporaryDir device;
    if (desktop)
        Paths::useDesktopLayout();
    else
        Paths::setDeviceRoot(device.path());
    QVariantMap preferences{{s("savePath"), s("/somewhere")}};
    if (stored.isValid())
        preferences.insert(s("listingOrder"), stored);
    QVERIFY(QDir().mkpath(Paths::preferencesFolder()));
    QVERIFY(writePlist(Paths::preferencesFile(), preferences));
    QCOMPARE(int(ListingOrder::current()), expected);

    // A choice written keeps every other key.
    QVERIFY(ListingOrder::setCurrent(ListingOrder::DateAdded));
    QCOMPARE(int(ListingOrder::current()), int(ListingOrder::DateAdded));
    QCOMPARE(PropertyListReader::readDictionary(Paths::preferencesFile())->value(s("savePath")),
             QVariant(s("/somewhere")));
    QFile::remove(Paths::preferencesFile());
    Paths::setRoots(m_home.path(), m_home.filePath(s("system")));
}

void TestFolderLive::followsTheFolder() {
    make(m_folder.path(), {s("already.mp3")});
    DirectoryListModel model(m_folder.path(), ListingOrder::Name, nullptr);
    QVERIFY(model.isFollowingFolder());
    QCOMPARE(model.rowCount(), 1);

    make(m_folder.path(), {s("arrived.mp3")});
    QTRY_COMPARE(namesOf(model), (QStringList{s("already.mp3"), s("arrived.mp3")}));
    QVERIFY(QFile::rename(m_folder.filePath(s("arrived.mp3")), m_folder.filePath(s("Zed.mp3"))));
    QTRY_COMPARE(namesOf(model), (QStringList{s("already.mp3"), s("Zed.mp3")}));
    QVERIFY(QFile::remove(m_folder.filePath(s("already.mp3"))));
    QTRY_COMPARE(namesOf(model), QStringList{s("Zed.mp3")});
}

void TestFolderLive::aBurstRedrawsAtMostTenTimesASecond() {
    DirectoryListModel model(m_folder.path(), ListingOrder::Name, nullptr);
    QSignalSpy rebuilt(&model, &DirectoryListModel::rebuilt);
    QElapsedTimer clock;
    clock.start();
    // A thousand files over about a second, the event loop turning as they come.
    for (int n = 0; n < 1000; ++n) {
        make(m_folder.path(), {s("Song %1.mp3").arg(n)});
        if (n % 50 == 0)
            QTest::qWait(50);
    }
    QTRY_COMPARE(model.rowCount(), 1000);
    QTest::qWait(2 * DirectoryListModel::refreshIntervalMs);
    const qint64 elapsed = clock.elapsed();
    const qint64 allowed = elapsed / DirectoryListModel::refreshIntervalMs + 1;
    QVERIFY2(rebuilt.size() <= allowed,
             qPrintable(QStringLiteral("%1 redraws in %2 ms").arg(rebuilt.size()).arg(elapsed)));
    QVERIFY(rebuilt.size() >= 1);
    QCOMPARE(model.entryAt(2).name(), s("Song 2.mp3"));
    QCOMPARE(model.entryAt(999).name(), s("Song 999.mp3"));
}

void TestFolderLive::aVanishedFolderListsEmpty() {
    const QString folder = m_folder.filePath(s("gone soon"));
    make(m_folder.path(), {s("gone soon/"), s("gone soon/a.mp3")});
    DirectoryListModel model(folder, ListingOrder::Name, nullptr);
    QCOMPARE(model.rowCount(), 1);
    QVERIFY(QDir(folder).removeRecursively());
    QTRY_COMPARE(model.rowCount(), 0);
    QVERIFY(!model.isFollowingFolder());
}

void TestFolderLive::anUnwatchableFolderIsSaidAndRefreshes() {
    const QString folder = m_folder.filePath(s("later"));
    WarningLog warnings("tolvane.listing");
    DirectoryListModel model(folder, ListingOrder::Name, nullptr);
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(!model.isFollowingFolder());
    QCOMPARE(warnings.count(), 1);

    // A refresh reads it and watches it again once it can.
    make(m_folder.path(), {s("later/"), s("later/b.mp3")});
    model.rebuildFileList();
    QCOMPARE(namesOf(model), QStringList{s("b.mp3")});
    QVERIFY(model.isFollowingFolder());
    make(folder, {s("c.mp3")});
    QTRY_COMPARE(model.rowCount(), 2);
}

void TestFolderLive::currentRowKeptByPath() {
    make(m_folder.path(), {s("b.mp3"), s("d.mp3")});
    DirectoryListModel model(m_folder.path(), ListingOrder::Name, nullptr);
    QCOMPARE(model.rowOfPath(m_folder.filePath(s("d.mp3"))), 1);
    make(m_folder.path(), {s("a.mp3"), s("c.mp3")});
    QTRY_COMPARE(model.rowCount(), 4);
    QCOMPARE(model.rowOfPath(m_folder.filePath(s("d.mp3"))), 3);
    QCOMPARE(model.rowOfPath(m_folder.filePath(s("never.mp3"))), -1);
}

void TestFolderLive::trash_data() {
    QTest::addColumn<QStringList>("made");
    QTest::addColumn<QString>("removed");
    QTest::newRow("a file") << QStringList{s("Song.mp3")} << s("Song.mp3");
    QTest::newRow("a folder with what it holds")
        << QStringList{s("Album/"), s("Album/01.mp3"), s("Album/cover.jpg")} << s("Album");
    QTest::newRow("quotes, spaces and letters beyond ASCII")
        << QStringList{s("Ça \"va\" 100%.mp3")} << s("Ça \"va\" 100%.mp3");
}

void TestFolderLive::trash() {
    QFETCH(QStringList, made);
    QFETCH(QString, removed);
    make(m_folder.path(), made);
    const QString path = m_folder.filePath(removed);
    const QString trash = m_home.filePath(s(".local/share/Trash"));
    QDir(trash).removeRecursively();

    QVERIFY(DirectoryListing::moveEntryToTrash(
        PSDirectoryPickerEntry(path, removed, QFileInfo(path).isDir()), m_home.path()));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(QFileInfo::exists(trash + s("/files/") + removed));
    const QString info = trashInfo(trash, removed);
    QVERIFY2(info.startsWith(s("[Trash Info]\nPath=")), qPrintable(info));
    QVERIFY(info.contains(s("DeletionDate=")));
    // The place it came from is kept escaped, so that it can be put back there.
    const QString stored = info.section(QLatin1Char('\n'), 1, 1).mid(5);
    QCOMPARE(QUrl::fromPercentEncoding(stored.toUtf8()), path);

    // The same name again gets a name of its own in the Trash.
    make(m_folder.path(), made);
    QVERIFY(DirectoryListing::moveEntryToTrash(
        PSDirectoryPickerEntry(path, removed, QFileInfo(path).isDir()), m_home.path()));
    QCOMPARE(QDir(trash + s("/files")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(),
             2);
}

void TestFolderLive::trashThroughALink() {
    // The browser's stored download, its artwork and the link to it go together.
    make(m_home.path(), {s("Stored/"), s("Stored/Files/"), s("Stored/Files/song.mp3"),
                         s("Stored/Artwork/"), s("Stored/Artwork/song.jpeg")});
    const QString link = m_folder.filePath(s("song.mp3"));
    QVERIFY(QFile::link(m_home.filePath(s("Stored/Files/song.mp3")), link));
    QVERIFY(DirectoryListing::moveEntryToTrash(PSDirectoryPickerEntry(link, s("song.mp3"), false),
                                               m_home.path()));
    QVERIFY(!QFileInfo(link).isSymLink());
    QVERIFY(!QFileInfo::exists(m_home.filePath(s("Stored/Files/song.mp3"))));
    QVERIFY(!QFileInfo::exists(m_home.filePath(s("Stored/Artwork/song.jpeg"))));
    QVERIFY(QFileInfo::exists(m_home.filePath(s(".local/share/Trash/files/song.jpeg"))));
}

void TestFolderLive::trashOnAnotherFileSystem() {
    ScopedMount other(1 << 20);
    if (!other.isMounted())
        QSKIP("needs the right to mount a tmpfs");
    make(other.path(), {s("elsewhere.mp3")});
    const QString path = other.filePath(s("elsewhere.mp3"));
    QVERIFY(DirectoryListing::moveEntryToTrash(
        PSDirectoryPickerEntry(path, s("elsewhere.mp3"), false), m_home.path()));
    // That file system's own Trash takes it: nothing is copied across.
    const QString trash = other.filePath(s(".Trash-%1").arg(::getuid()));
    QVERIFY(QFileInfo::exists(trash + s("/files/elsewhere.mp3")));
    QVERIFY(trashInfo(trash, s("elsewhere.mp3")).contains(s("Path=")));
}

void TestFolderLive::noTrashIsAFailureThatKeepsTheFile() {
    // Nothing there is nothing to do.
    QVERIFY(DirectoryListing::moveItemToTrash(QFile::encodeName(m_folder.filePath(s("none")))));

    // A file on a file system with no Trash and no way to make one (read-only, apart from the
    // home's) stays where it is, and the failure says so.
    ScopedMount sealed(1 << 20);
    if (!sealed.isMounted())
        QSKIP("needs the right to mount a tmpfs");
    make(sealed.path(), {s("kept.mp3")});
    const QByteArray mountPoint = QFile::encodeName(sealed.path());
    QCOMPARE(::mount(nullptr, mountPoint.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const QString kept = sealed.filePath(s("kept.mp3"));
    const Status trashed =
        DirectoryListing::moveEntryToTrash(PSDirectoryPickerEntry(kept, s("kept.mp3"), false));
    QVERIFY(!trashed);
    QVERIFY2(trashed.errorText().contains(s("Trash")), qPrintable(trashed.errorText()));
    QVERIFY(QFileInfo::exists(kept));
    QCOMPARE(::mount(nullptr, mountPoint.constData(), nullptr, MS_REMOUNT, nullptr), 0);
}

void TestFolderLive::openInNeverOffersItselfAndPutsTheDefaultFirst() {
    const QString applications = m_home.filePath(s(".local/share/applications"));
    const auto entry = [&](const char* id, const char* name, const char* exec) {
        QVERIFY(writeFile(applications + QLatin1Char('/') + QLatin1String(id),
                          QByteArray("[Desktop Entry]\nType=Application\nName=") + name +
                              "\nExec=" + exec + " %U\nMimeType=audio/mpeg;\n"));
    };
    entry("tolvane.desktop", "Tolvane", "tolvane");
    entry("renamed-tolvane.desktop", "Tolvane Copy", "/opt/x/tolvane");
    entry("aardvark-player.desktop", "Aardvark Player", "true");
    entry("zither-player.desktop", "Zither Player", "true");
    // As a package's installation does, so that the desktop knows what each entry opens.
    QCOMPARE(QProcess::execute(s("update-desktop-database"), {applications}), 0);
    QVERIFY(writeFile(m_home.filePath(s(".config/mimeapps.list")),
                      "[Default Applications]\naudio/mpeg=zither-player.desktop\n"));
    make(m_folder.path(), {s("tune.mp3")});

    const QList<OpenInApplication> offered =
        OpenInApplications::applicationsForFile(m_folder.filePath(s("tune.mp3")));
    QStringList ids;
    for (const OpenInApplication& application : offered)
        ids.append(application.id);
    QVERIFY2(!ids.isEmpty(), "no application offered");
    QCOMPARE(ids.first(), s("zither-player.desktop"));
    QVERIFY(ids.contains(s("aardvark-player.desktop")));
    QVERIFY(!ids.contains(s("tolvane.desktop")));
    QVERIFY(!ids.contains(s("renamed-tolvane.desktop")));
    QCOMPARE(ids.count(s("zither-player.desktop")), 1);
}

QTEST_GUILESS_MAIN(TestFolderLive)
#include "tst_folderlive.moc"
