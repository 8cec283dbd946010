#include "TestSupport.h"
#include "browser/DeleteFileActivity.h"
#include "browser/DirectoryListModel.h"
#include "browser/DirectoryListing.h"
#include "browser/DirectoryPickerStack.h"
#include "browser/ExportabilityCache.h"
#include "browser/FileActionSheet.h"
#include "browser/ImportiTunesAudioActivity.h"
#include "browser/ImportiTunesVideoActivity.h"
#include "browser/OpenInActivity.h"
#include "browser/PlayMediaActivity.h"
#include "browser/PreviewActivity.h"
#include "browser/SaveToVideosActivity.h"
#include "platform/Device.h"
#include "platform/MetadataKeys.h"
#include "platform/Paths.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QString fixture(const char* name) {
    return QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + QString::fromUtf8(name);
}

// Makes the items of a folder from short specs: "f:name" a file, "d:name" a folder,
// "l:name>target" a symbolic link, "c:name<fixture" a copy of a media fixture.
void make(const QString& folder, const QStringList& specs) {
    for (const QString& spec : specs) {
        const QString body = spec.mid(2);
        const QString path = folder + QLatin1Char('/') +
                             body.section(QLatin1Char('>'), 0, 0).section(QLatin1Char('<'), 0, 0);
        switch (spec.at(0).toLatin1()) {
        case 'f':
            QVERIFY(writeFile(path, "x"));
            break;
        case 'd':
            QVERIFY(QDir().mkpath(path));
            break;
        case 'l':
            QVERIFY(QFile::link(body.section(QLatin1Char('>'), 1), path));
            break;
        case 'c':
            QVERIFY(QFile::copy(fixture(qPrintable(body.section(QLatin1Char('<'), 1))), path));
            break;
        }
    }
}

QStringList L(std::initializer_list<const char*> texts) {
    QStringList list;
    for (const char* text : texts)
        list.append(QString::fromUtf8(text));
    return list;
}

void make(const QString& folder, std::initializer_list<const char*> specs) {
    make(folder, L(specs));
}

// "name/" for a folder, "name" for a file.
QStringList shown(const QList<PSDirectoryPickerEntry>& entries) {
    QStringList names;
    for (const PSDirectoryPickerEntry& entry : entries)
        names.append(entry.name() + (entry.isDir() ? QStringLiteral("/") : QString()));
    return names;
}

QStringList types(const QList<Activity*>& activities) {
    QStringList result;
    for (const Activity* activity : activities)
        result.append(activity->activityType());
    return result;
}

template <typename T>
T* find(const FileActionSheet& sheet) {
    for (const auto& activity : sheet.applicationActivities()) {
        if (auto* found = qobject_cast<T*>(activity.get()))
            return found;
    }
    return nullptr;
}

struct Recorder : DeleteFileActivityDelegate, PlayMediaActivityDelegate, PreviewActivityDelegate {
    int deleted = 0;
    QList<QUrl> played;
    QList<QUrl> previewed;
    void DeleteFileActivityFinishedSuccessfully() override { ++deleted; }
    void PlayMediaActivityFinishedSuccessfully(const QUrl& url) override { played.append(url); }
    void previewActivityCanBeLaunched(const QUrl& url) override { previewed.append(url); }
};

const QString audioTypes =
    QStringLiteral("PlayMediaActivity ImportiTunesAudioActivity DeleteFileActivity OpenInActivity");
const QString videoTypes = QStringLiteral("PlayMediaActivity ImportiTunesAudioActivity "
                                          "ImportiTunesVideoActivity DeleteFileActivity "
                                          "OpenInActivity ") +
                           UIActivityTypeSaveToCameraRoll;
const QString otherTypes = QStringLiteral("PreviewActivity DeleteFileActivity OpenInActivity");

} // namespace

class TestListing : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void listing_data();
    void listing();
    void listingKeepsTheFileSystemOrder();
    void oddNamesAreListedAndRemovable_data();
    void oddNamesAreListedAndRemovable();
    void largeFolder();
    void failuresAreTold_data();
    void failuresAreTold();
    void swipeDelete_data();
    void swipeDelete();
    void stack_data();
    void stack();
    void orientation();
    void composition_data();
    void composition();
    void itemTests_data();
    void itemTests();
    void preparing();
    void performing();
    void importOpensTheEditorWithRecordAndKind_data();
    void importOpensTheEditorWithRecordAndKind();
    void openIn();
    void saveToVideos();
    void exportabilityOfShownRows();
    void exportabilityIsCachedPerStamp();
    void exportabilityCacheWaitsForItsChecksWhenItGoes();
    void folderVanishes();

private:
    QTemporaryDir m_device;
    QString m_folder;
    std::unique_ptr<ScopedDevice> m_scale;
};

void TestListing::initTestCase() {
    // The installed table and images as the build makes them; a phone at scale 1.
    Paths::setRoots(m_device.filePath(QStringLiteral("var/mobile")),
                    QStringLiteral(TOLVANE_BUILD_SYSTEM_ROOT));
    m_scale = std::make_unique<ScopedDevice>(Idiom::Phone, QSizeF(375, 667), 1.0);
    // Applications registered for "Open In" come only from this test's own data folder.
    qputenv("XDG_DATA_HOME", m_device.filePath(QStringLiteral("xdg")).toUtf8());
    // The system's MIME database stays in sight; its applications do not.
    const QString systemData = m_device.filePath(QStringLiteral("xdg-system"));
    QVERIFY(QDir().mkpath(systemData));
    QVERIFY(QFile::link(QStringLiteral("/usr/share/mime"), systemData + QStringLiteral("/mime")));
    qputenv("XDG_DATA_DIRS", systemData.toUtf8());
    qputenv("XDG_CONFIG_HOME", m_device.filePath(QStringLiteral("xdg-config")).toUtf8());
}

void TestListing::init() {
    static int run = 0;
    // Inside the user root, as the download folder is.
    m_folder = m_device.filePath(QStringLiteral("var/mobile/case%1/list").arg(++run));
    QVERIFY(QDir().mkpath(m_folder));
}

void TestListing::listing_data() {
    QTest::addColumn<QStringList>("specs");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("hidden and colon names")
        << L({"f:.hidden", "f::meta", "f:a.txt"}) << L({"a.txt"});
    QTest::newRow("link to a folder") << L({"d:sub", "l:lnk>sub"}) << L({"lnk/", "sub/"});
    QTest::newRow("link to a file") << L({"f:a.mp3", "l:b.mp3>a.mp3"}) << L({"a.mp3", "b.mp3"});
    QTest::newRow("dangling link") << L({"l:gone>nowhere"}) << L({"gone"});
    QTest::newRow("loop") << L({"l:a>b", "l:b>a"}) << L({"a", "b"});
    QTest::newRow("link to the root") << L({"l:top>/"}) << L({"top/"});
    QTest::newRow("link to itself") << L({"l:self>."}) << L({"self/"});
    QTest::newRow("folder named like a file") << L({"d:photos.zip"}) << L({"photos.zip/"});
    QTest::newRow("empty") << QStringList{} << QStringList{};
}

void TestListing::listing() {
    QFETCH(QStringList, specs);
    QFETCH(QStringList, expected);
    make(m_folder, specs);
    QStringList listed = shown(DirectoryListing::rebuildFileList(m_folder).value());
    listed.sort();
    QCOMPARE(listed, expected);
    for (const PSDirectoryPickerEntry& entry : DirectoryListing::rebuildFileList(m_folder).value())
        QCOMPARE(entry.path(), m_folder + QLatin1Char('/') + entry.name());
}

void TestListing::listingKeepsTheFileSystemOrder() {
    QStringList specs;
    for (int i = 0; i < 200; ++i)
        specs.append(QStringLiteral("%1:n%2").arg(i % 3 ? 'f' : 'd').arg(i));
    make(m_folder, specs);
    QStringList order;
    DIR* folder = ::opendir(QFile::encodeName(m_folder).constData());
    while (const dirent* item = ::readdir(folder)) {
        if (item->d_name[0] != '.')
            order.append(QString::fromUtf8(item->d_name));
    }
    ::closedir(folder);
    QStringList listed;
    for (const PSDirectoryPickerEntry& entry : DirectoryListing::rebuildFileList(m_folder).value())
        listed.append(entry.name());
    QCOMPARE(listed, order);
    // Nothing sorts: folders and files stay mixed as the file system gave them.
    QStringList sorted = listed;
    sorted.sort();
    QVERIFY(listed != sorted);
    QCOMPARE(DirectoryListing::rebuildFileList(m_folder)->size(), 200);
}

void TestListing::oddNamesAreListedAndRemovable_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("line break") << QByteArray("two\nlines.mp3");
    QTest::newRow("not UTF-8") << QByteArray("bad\xff\xfe name.mp3");
    QTest::newRow("255 bytes") << QByteArray(251, 'n') + ".mp3";
}

void TestListing::oddNamesAreListedAndRemovable() {
    QFETCH(QByteArray, name);
    const QByteArray path = QFile::encodeName(m_folder) + '/' + name;
    const int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0644);
    QVERIFY(fd >= 0);
    ::close(fd);
    const QList<PSDirectoryPickerEntry> entries =
        DirectoryListing::rebuildFileList(m_folder).value();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().nativePath(), path);
    QVERIFY(!entries.first().name().isEmpty());
    QVERIFY(DirectoryListing::deleteEntry(entries.first()).ok());
    QVERIFY(DirectoryListing::rebuildFileList(m_folder)->isEmpty());
}

void TestListing::largeFolder() {
    // Larger folders are measured by the listing benchmark.
    constexpr int count = 10000;
    const QByteArray folder = QFile::encodeName(m_folder);
    for (int i = 0; i < count; ++i) {
        const QByteArray path = folder + "/f" + QByteArray::number(i) + ".txt";
        const int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0644);
        QVERIFY(fd >= 0);
        ::close(fd);
    }
    DirectoryListModel model(m_folder);
    QCOMPARE(model.rowCount(), count);
    QCOMPARE(model.data(model.index(count - 1), DirectoryListModel::IconFileRole).toString(),
             QStringLiteral("text.png"));
}

void TestListing::failuresAreTold_data() {
    // What is listed or removed, and the start of the message that names it. The kernel's own
    // files refuse removal even to the superuser.
    QTest::addColumn<QString>("listPath");
    QTest::addColumn<QString>("listFailure");
    QTest::addColumn<QString>("removePath");
    QTest::addColumn<QString>("removeFailure");
    QTest::newRow("missing") << s("missing") << s("cannot be listed: No such file") << s("missing")
                             << QString();
    QTest::newRow("a file") << s("file.txt") << s("cannot be listed: Not a directory")
                            << s("/proc/self/status") << s("cannot be removed");
    QTest::newRow("a folder of the kernel's")
        << s("/proc/self/fd") << QString() << s("/proc/self/fd") << s("cannot be removed");
    QTest::newRow("the root") << s("/") << QString() << s("/") << s("the root folder");
}

void TestListing::failuresAreTold() {
    QFETCH(QString, listPath);
    QFETCH(QString, listFailure);
    QFETCH(QString, removePath);
    QFETCH(QString, removeFailure);
    make(m_folder, L({"f:file.txt"}));
    const auto inFolder = [this](const QString& name) {
        return name.startsWith(QLatin1Char('/')) ? name : m_folder + QLatin1Char('/') + name;
    };

    const auto list = DirectoryListing::rebuildFileList(inFolder(listPath));
    if (listFailure.isEmpty()) {
        QVERIFY2(list.ok(), qPrintable(list.errorText()));
    } else {
        QVERIFY(!list.ok());
        QCOMPARE(list.failure().path(), inFolder(listPath));
        QVERIFY2(list.failure().message().startsWith(listFailure), qPrintable(list.errorText()));
    }

    // A path that is already gone is no failure: the removal wanted it gone.
    const Status removed =
        DirectoryListing::removeItemAtPath(QFile::encodeName(inFolder(removePath)));
    if (removeFailure.isEmpty()) {
        QVERIFY2(removed.ok(), qPrintable(removed.errorText()));
    } else {
        QVERIFY(!removed.ok());
        QVERIFY2(removed.failure().message().startsWith(removeFailure),
                 qPrintable(removed.errorText()));
        QVERIFY(removed.failure().path().startsWith(inFolder(removePath)));
    }
    QVERIFY(QFileInfo::exists(m_folder + s("/file.txt")));
}

void TestListing::swipeDelete_data() {
    QTest::addColumn<QStringList>("specs");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QStringList>("gone");
    QTest::addColumn<QStringList>("kept");
    // "dl" plays the downloads folder; its files lie two levels down, artwork in dl/Artwork.
    const QStringList download =
        L({"d:../dl/a/b", "f:../dl/a/b/clip.mp4", "f:../dl/a/b/other.mp4"});
    QTest::newRow("link with artwork")
        << download + L({"d:../dl/a/Artwork", "f:../dl/a/Artwork/clip.jpeg",
                         "l:clip>ABS/../dl/a/b/clip.mp4"})
        << s("clip") << L({"clip", "../dl/a/b/clip.mp4", "../dl/a/Artwork/clip.jpeg"})
        << L({"../dl/a/b/other.mp4"});
    QTest::newRow("link without artwork")
        << download + L({"l:clip>ABS/../dl/a/b/clip.mp4"}) << s("clip")
        << L({"clip", "../dl/a/b/clip.mp4"}) << L({"../dl/a/b/other.mp4"});
    QTest::newRow("relative link, taken from its folder")
        << download + L({"l:clip>../dl/a/b/clip.mp4"}) << s("clip")
        << L({"clip", "../dl/a/b/clip.mp4"}) << L({"../dl/a/b/other.mp4"});
    QTest::newRow("dangling link")
        << L({"f:keep", "l:gone>ABS/nowhere.mp3"}) << s("gone") << L({"gone"}) << L({"keep"});
    QTest::newRow("folder with contents")
        << L({"d:sub/deeper", "f:sub/deeper/x", "l:sub/out>/", "f:keep"}) << s("sub") << L({"sub"})
        << L({"keep"});
    QTest::newRow("link to its own folder")
        << L({"f:keep", "l:self>."}) << s("self") << L({"self"}) << L({"keep"});
    QTest::newRow("link to a folder above")
        << L({"f:keep", "l:up>ABS/.."}) << s("up") << L({"up"}) << L({"keep"});
    QTest::newRow("plain file") << L({"f:a.mp3", "f:keep"}) << s("a.mp3") << L({"a.mp3"})
                                << L({"keep"});
    // Through a link only a regular file inside the user root goes; the link always does.
    QTest::newRow("link to a folder")
        << L({"d:../dl/sub", "f:../dl/sub/x.mp3", "l:lnk>ABS/../dl/sub"}) << s("lnk") << L({"lnk"})
        << L({"../dl/sub/x.mp3"});
    QTest::newRow("link to the user root")
        << L({"f:keep", "l:home>ABS/../../../mobile"}) << s("home") << L({"home"})
        << L({"keep", "../../../mobile"});
    QTest::newRow("link to /") << L({"f:keep", "l:top>/"}) << s("top") << L({"top"}) << L({"keep"});
    QTest::newRow("link to a file outside the user root")
        << L({"f:../../../outside.mp3", "l:out>ABS/../../../outside.mp3"}) << s("out") << L({"out"})
        << L({"../../../outside.mp3"});
    QTest::newRow("link to a link to a file")
        << L({"d:../dl", "f:../dl/song.mp3", "l:../dl/alias.mp3>song.mp3",
              "l:chain>ABS/../dl/alias.mp3"})
        << s("chain") << L({"chain", "../dl/alias.mp3"}) << L({"../dl/song.mp3"});
}

void TestListing::swipeDelete() {
    QFETCH(QStringList, specs);
    QFETCH(QString, entry);
    QFETCH(QStringList, gone);
    QFETCH(QStringList, kept);
    make(m_folder, specs.replaceInStrings(QStringLiteral("ABS"), m_folder));
    const QList<PSDirectoryPickerEntry> entries =
        DirectoryListing::rebuildFileList(m_folder).value();
    const auto found = std::find_if(entries.cbegin(), entries.cend(),
                                    [&](const auto& item) { return item.name() == entry; });
    QVERIFY(found != entries.cend());
    const Status deleted = DirectoryListing::deleteEntry(*found);
    QVERIFY2(deleted.ok(), qPrintable(deleted.errorText()));
    for (const QString& path : gone) {
        const QFileInfo info(m_folder + QLatin1Char('/') + path);
        QVERIFY2(!info.exists() && !info.isSymLink(), qPrintable(path));
    }
    for (const QString& path : kept)
        QVERIFY2(QFileInfo::exists(m_folder + QLatin1Char('/') + path), qPrintable(path));
    QVERIFY(QFileInfo(m_folder).isDir());
}

void TestListing::stack_data() {
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("anchor");
    QTest::addColumn<QStringList>("folders");
    QTest::newRow("device downloads") << s("/var/mobile/Downloads") << s("var")
                                      << L({"/", "/var", "/var/mobile", "/var/mobile/Downloads"});
    QTest::newRow("part before var dropped")
        << s("/private/var/mobile/Downloads") << s("var")
        << L({"/", "/var", "/var/mobile", "/var/mobile/Downloads"});
    QTest::newRow("no var") << s("/Library/Files") << s("var") << L({"/"});
    QTest::newRow("trailing slash")
        << s("/var/mobile/") << s("var") << L({"/", "/var", "/var/mobile", "/var/mobile/"});
    QTest::newRow("relocated user root")
        << s("/tmp/dev/var/mobile/Downloads") << s("tmp")
        << L({"/", "/tmp", "/tmp/dev", "/tmp/dev/var", "/tmp/dev/var/mobile",
              "/tmp/dev/var/mobile/Downloads"});
    QTest::newRow("relocated, outside the user root") << s("/srv/music") << s("tmp") << L({"/"});
}

void TestListing::stack() {
    QFETCH(QString, root);
    QFETCH(QString, anchor);
    QFETCH(QStringList, folders);
    QCOMPARE(DirectoryPickerStack::foldersForRootDirectory(root, anchor), folders);
}

void TestListing::orientation() {
    using O = InterfaceOrientation;
    QVERIFY(DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(O::Portrait));
    QVERIFY(DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(O::LandscapeLeft));
    QVERIFY(DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(O::LandscapeRight));
    QVERIFY(!DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(O::PortraitUpsideDown));
    QVERIFY(!DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(O::Unknown));
}

void TestListing::composition_data() {
    QTest::addColumn<QStringList>("specs");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("resolved");
    QTest::addColumn<QString>("offered");
    QTest::addColumn<QString>("iconFile");
    QTest::newRow("mp3") << L({"f:song.mp3"}) << s("song.mp3") << s("song.mp3") << audioTypes
                         << s("audio.png");
    QTest::newRow("upper-case extension")
        << L({"f:Song.MP3"}) << s("Song.MP3") << s("Song.MP3") << audioTypes << s("audio.png");
    QTest::newRow("ringtone") << L({"f:tone.m4r"}) << s("tone.m4r") << s("tone.m4r") << audioTypes
                              << s("audio.png");
    QTest::newRow("mov") << L({"f:clip.mov"}) << s("clip.mov") << s("clip.mov") << videoTypes
                         << s("video.png");
    QTest::newRow("m4v") << L({"f:clip.M4V"}) << s("clip.M4V") << s("clip.M4V") << videoTypes
                         << s("video.png");
    QTest::newRow("pdf") << L({"f:doc.pdf"}) << s("doc.pdf") << s("doc.pdf") << otherTypes << s("");
    QTest::newRow("no extension") << L({"f:README"}) << s("README") << s("README") << otherTypes
                                  << s("");
    QTest::newRow("link to an mp3") << L({"d:x", "f:x/y.mp3", "l:link>ABS/x/y.mp3"}) << s("link")
                                    << s("x/y.mp3") << audioTypes << s("audio.png");
    QTest::newRow("dangling link to an mp3")
        << L({"l:link>ABS/x/gone.mp3"}) << s("link") << s("x/gone.mp3") << s("") << s("audio.png");
}

void TestListing::composition() {
    QFETCH(QStringList, specs);
    QFETCH(QString, entry);
    QFETCH(QString, resolved);
    QFETCH(QString, offered);
    QFETCH(QString, iconFile);
    make(m_folder, specs.replaceInStrings(QStringLiteral("ABS"), m_folder));
    const QString resolvedPath = m_folder + QLatin1Char('/') + resolved;
    const FileActionSheet sheet = FileActionSheet::compose(m_folder + QLatin1Char('/') + entry);

    QCOMPARE(sheet.path(), resolvedPath);
    QCOMPARE(types(sheet.offeredActivities()).join(QLatin1Char(' ')), offered);
    const QVariantList items = sheet.activityItems();
    QCOMPARE(items.size(), 2);
    QCOMPARE(items.at(1).toUrl(), QUrl::fromLocalFile(resolvedPath));
    const QVariantMap info = items.at(0).toMap();
    QCOMPARE(info.value(QStringLiteral("path")).toString(), resolvedPath);
    if (iconFile.isEmpty()) {
        QCOMPARE(info.keys(), QStringList{QStringLiteral("path")});
        return;
    }
    QCOMPARE(info.value(QStringLiteral("mediaKind")).toString(), QStringLiteral("song"));
    const QVariantMap metadata = info.value(QStringLiteral("metadata")).toMap();
    QCOMPARE(metadata.size(), 4);
    QCOMPARE(metadata.value(AVMetadataCommonKeyTitle).toString(), QFileInfo(resolved).fileName());
    QCOMPARE(metadata.value(AVMetadataCommonKeyArtist), QVariant(QString()));
    QCOMPARE(metadata.value(QStringLiteral("year")).toInt(), QDate::currentDate().year());
    QCOMPARE(metadata.value(QStringLiteral("imageData")).toByteArray(),
             contents(Paths::iconsFolder() + QLatin1Char('/') + iconFile));
    const bool video = offered.contains(QLatin1String("ImportiTunesVideoActivity"));
    QCOMPARE(sheet.excludedActivityTypes().contains(UIActivityTypeSaveToCameraRoll), !video);
    QCOMPARE(sheet.excludedActivityTypes().size(), video ? 3 : 4);
}

void TestListing::itemTests_data() {
    QTest::addColumn<QString>("items");
    QTest::addColumn<QString>("accepting");
    // Items: "url" an existing file URL, "gone" a missing one, "web" an http URL, "media" a
    // dictionary whose path is a playable file, "text" one whose file is not media.
    const QString all = QStringLiteral("Delete Import OpenIn Play Preview");
    QTest::newRow("existing file URL") << s("url") << all;
    QTest::newRow("missing file URL") << s("gone") << s("");
    QTest::newRow("web URL") << s("web") << s("");
    QTest::newRow("dictionary of a media file") << s("media") << s("Import");
    QTest::newRow("dictionary of a text file") << s("text") << s("");
    QTest::newRow("failing dictionary, then a file URL") << s("text url") << all;
}

void TestListing::itemTests() {
    QFETCH(QString, items);
    QFETCH(QString, accepting);
    make(m_folder, {"c:song.mp3<id3v24.mp3", "f:notes.txt"});
    QVariantList list;
    for (const QString& item : items.split(QLatin1Char(' '))) {
        if (item == QLatin1String("url"))
            list.append(QUrl::fromLocalFile(m_folder + QStringLiteral("/notes.txt")));
        else if (item == QLatin1String("gone"))
            list.append(QUrl::fromLocalFile(m_folder + QStringLiteral("/gone.txt")));
        else if (item == QLatin1String("web"))
            list.append(QUrl(QStringLiteral("http://127.0.0.1/notes.txt")));
        else
            list.append(QVariantMap{
                {QStringLiteral("path"),
                 m_folder + (item == QLatin1String("media") ? QStringLiteral("/song.mp3")
                                                            : QStringLiteral("/notes.txt"))}});
    }
    DeleteFileActivity deleteFile;
    ImportiTunesAudioActivity import;
    OpenInActivity openIn;
    PlayMediaActivity play;
    PreviewActivity preview;
    const std::pair<const char*, Activity*> activities[] = {{"Delete", &deleteFile},
                                                            {"Import", &import},
                                                            {"OpenIn", &openIn},
                                                            {"Play", &play},
                                                            {"Preview", &preview}};
    QStringList accepted;
    for (const auto& [name, activity] : activities) {
        if (activity->canPerformWithActivityItems(list))
            accepted.append(QString::fromLatin1(name));
    }
    QCOMPARE(accepted.join(QLatin1Char(' ')), accepting);
}

void TestListing::preparing() {
    make(m_folder, {"f:a.mp3", "f:b.mp3"});
    const QUrl a = QUrl::fromLocalFile(m_folder + QStringLiteral("/a.mp3"));
    const QUrl b = QUrl::fromLocalFile(m_folder + QStringLiteral("/b.mp3"));
    const QUrl web(QStringLiteral("http://127.0.0.1/c.mp3"));
    const QVariantMap info{{QStringLiteral("path"), QStringLiteral("/d.mp3")}};

    DeleteFileActivity deleteFile;
    deleteFile.prepareWithActivityItems({a, web});
    QCOMPARE(deleteFile.filePath(), QStringLiteral("/c.mp3"));
    OpenInActivity openIn;
    openIn.prepareWithActivityItems({a, web, info});
    QCOMPARE(openIn.fileURL(), web);
    PlayMediaActivity play;
    play.prepareWithActivityItems({a, b, web});
    QCOMPARE(play.filePath(), b);
    PreviewActivity preview;
    preview.prepareWithActivityItems({info, a});
    QCOMPARE(preview.filePath(), a);

    ImportActivity import;
    import.prepareWithActivityItems({a, info});
    const QVariantMap fromUrl{{QStringLiteral("path"), a.toLocalFile()}};
    QCOMPARE(import.files(), QList<QVariantMap>{fromUrl});
    import.prepareWithActivityItems({web, info, a});
    QCOMPARE(import.files(), QList<QVariantMap>{info});
}

void TestListing::performing() {
    make(m_folder, {"f:doc.pdf", "f:song.mp3"});
    Recorder recorder;
    FileActionDelegates delegates;
    delegates.deleteFile = &recorder;
    delegates.playMedia = &recorder;
    delegates.preview = &recorder;

    FileActionSheet pdf =
        FileActionSheet::compose(m_folder + QStringLiteral("/doc.pdf"), delegates);
    auto* preview = find<PreviewActivity>(pdf);
    QSignalSpy previewDone(preview, &Activity::finished);
    preview->prepareWithActivityItems(pdf.activityItems());
    preview->performActivity();
    QCOMPARE(recorder.previewed, QList<QUrl>{QUrl::fromLocalFile(pdf.path())});
    QCOMPARE(previewDone.size(), 1);
    QCOMPARE(previewDone.first().first().toBool(), true);

    auto* deleteFile = find<DeleteFileActivity>(pdf);
    QSignalSpy deleteDone(deleteFile, &Activity::finished);
    deleteFile->prepareWithActivityItems(pdf.activityItems());
    deleteFile->performActivity();
    QVERIFY(!QFileInfo::exists(pdf.path()));
    QCOMPARE(recorder.deleted, 1);
    QCOMPARE(deleteDone.size(), 1);

    FileActionSheet song =
        FileActionSheet::compose(m_folder + QStringLiteral("/song.mp3"), delegates);
    auto* play = find<PlayMediaActivity>(song);
    QSignalSpy playDone(play, &Activity::finished);
    play->prepareWithActivityItems(song.activityItems());
    play->performActivity();
    QCOMPARE(recorder.played, QList<QUrl>{QUrl::fromLocalFile(song.path())});
    QCOMPARE(playDone.size(), 0);
}

void TestListing::importOpensTheEditorWithRecordAndKind_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("video");
    QTest::addColumn<QString>("setKind");
    QTest::addColumn<QString>("kind");
    QTest::newRow("video to music") << s("clip.mov") << false << s("") << s("song");
    QTest::newRow("video to videos") << s("clip.mov") << true << s("") << s("music-video");
    QTest::newRow("audio to music") << s("Song.MP3") << false << s("") << s("song");
    QTest::newRow("kind set on the action")
        << s("clip.mov") << true << s("tv-episode") << s("tv-episode");
}

void TestListing::importOpensTheEditorWithRecordAndKind() {
    QFETCH(QString, file);
    QFETCH(bool, video);
    QFETCH(QString, setKind);
    QFETCH(QString, kind);
    make(m_folder, {QStringLiteral("f:") + file});
    QObject screen;
    FileActionDelegates delegates;
    delegates.screen = &screen;
    FileActionSheet sheet = FileActionSheet::compose(m_folder + QLatin1Char('/') + file, delegates);
    ImportActivity* import =
        video ? static_cast<ImportActivity*>(find<ImportiTunesVideoActivity>(sheet))
              : find<ImportiTunesAudioActivity>(sheet);
    QVERIFY(import);
    if (!setKind.isEmpty())
        qobject_cast<ImportiTunesVideoActivity*>(import)->setMediaKind(setKind);

    QList<QVariantMap> records;
    QStringList kinds;
    QList<QObject*> presenters;
    ImportActivity::setEditorOpener([&](const QVariantMap& record, const QString& mediaKind,
                                        ImportActivity* activity, QObject* presenter) {
        QCOMPARE(activity, import);
        records.append(record);
        kinds.append(mediaKind);
        presenters.append(presenter);
    });
    QSignalSpy done(import, &Activity::finished);
    import->prepareWithActivityItems(sheet.activityItems());
    import->performActivity();
    ImportActivity::setEditorOpener({});

    QVariantMap expected = sheet.fileInfo();
    expected.insert(QStringLiteral("mediaKind"), kind);
    QCOMPARE(records, QList<QVariantMap>{expected});
    QCOMPARE(kinds, QStringList{kind});
    QCOMPARE(presenters, QList<QObject*>{&screen});
    QCOMPARE(done.size(), 0);
    import->ImportViewControllerDidStart();
    QCOMPARE(done.size(), 1);

    // With no file prepared there is no editor, and the action ends.
    ImportiTunesAudioActivity empty;
    QSignalSpy emptyDone(&empty, &Activity::finished);
    empty.performActivity();
    QCOMPARE(emptyDone.size(), 1);
    QCOMPARE(emptyDone.first().first().toBool(), false);
}

void TestListing::openIn() {
    make(m_folder, {"f:doc.pdf", "f:notes.odd-type"});
    // One application registered for PDF files in this test's own data folder, with the cache
    // of types that the desktop's database tool writes beside it.
    const QString appFolder = m_device.filePath(QStringLiteral("xdg/applications"));
    QVERIFY(writeFile(appFolder + QStringLiteral("/tolvane-test-viewer.desktop"),
                      "[Desktop Entry]\nType=Application\nName=Test Viewer\nExec=true %f\n"
                      "MimeType=application/pdf;\nIcon=document-viewer\n"));
    QVERIFY(writeFile(appFolder + QStringLiteral("/mimeinfo.cache"),
                      "[MIME Cache]\napplication/pdf=tolvane-test-viewer.desktop;\n"));

    OpenInActivity alone;
    QSignalSpy aloneDone(&alone, &Activity::finished);
    alone.performActivity();
    QCOMPARE(aloneDone.size(), 1);

    QObject screen;
    for (const QString& name : {QStringLiteral("doc.pdf"), QStringLiteral("notes.odd-type")}) {
        OpenInActivity openIn;
        openIn.setSuperViewController(&screen);
        openIn.prepareWithActivityItems({QUrl::fromLocalFile(m_folder + QLatin1Char('/') + name)});
        QSignalSpy menu(&openIn, &OpenInActivity::openInMenuRequested);
        QSignalSpy none(&openIn, &OpenInActivity::noApplicationFound);
        QSignalSpy done(&openIn, &Activity::finished);
        openIn.performActivity();
        const bool pdf = name.endsWith(QLatin1String(".pdf"));
        QCOMPARE(menu.size(), pdf ? 1 : 0);
        QCOMPARE(none.size(), pdf ? 0 : 1);
        QCOMPARE(done.size(), 0);
        if (pdf) {
            const auto applications = menu.first().first().value<QList<OpenInApplication>>();
            QCOMPARE(applications.size(), 1);
            QCOMPARE(applications.first().name, QStringLiteral("Test Viewer"));
            QCOMPARE(applications.first().iconName, QStringLiteral("document-viewer"));
            const Status opened = openIn.openWithApplication(applications.first().id);
            QVERIFY2(opened.ok(), qPrintable(opened.errorText()));
            const Status unknown = openIn.openWithApplication(s("gone.desktop"));
            QVERIFY(!unknown.ok());
            QCOMPARE(unknown.errorText(),
                     m_folder + QLatin1Char('/') + name +
                         s(": no application \"gone.desktop\" opens this file"));
            openIn.documentInteractionControllerDidDismissOpenInMenu();
            QCOMPARE(done.size(), 1);
        }
    }
    QVERIFY(OpenInActivity::noApplicationMessage().startsWith(QLatin1String("Your ")));
    QVERIFY(OpenInActivity::noApplicationMessage().endsWith(QLatin1String(" doesn't seem")));
    QVERIFY(!OpenInActivity::noApplicationMessage().contains(QLatin1String("%@")));
}

void TestListing::saveToVideos() {
    make(m_folder, {"f:clip.mov", "f:song.mp3"});
    const QString videos = m_device.filePath(QStringLiteral("Videos"));
    SaveToVideosActivity::setDestinationFolder(videos);
    for (int copy = 1; copy <= 2; ++copy) {
        SaveToVideosActivity save;
        const QUrl url = QUrl::fromLocalFile(m_folder + QStringLiteral("/clip.mov"));
        QVERIFY(save.canPerformWithActivityItems({url}));
        save.prepareWithActivityItems({url});
        QSignalSpy done(&save, &Activity::finished);
        save.performActivity();
        QVERIFY(done.wait(5000));
        QCOMPARE(done.first().first().toBool(), true);
        QCOMPARE(save.savedPath(), videos + (copy == 1 ? QStringLiteral("/clip.mov")
                                                       : QStringLiteral("/clip 2.mov")));
        QCOMPARE(contents(save.savedPath()), QByteArray("x"));
        QCOMPARE(save.failureText(), QString());
    }
    // A Videos "folder" that is a file: no copy, and the reason.
    const QString blocked = m_device.filePath(QStringLiteral("NotAFolder"));
    QVERIFY(writeFile(blocked, "x"));
    SaveToVideosActivity::setDestinationFolder(blocked);
    {
        SaveToVideosActivity failing;
        failing.prepareWithActivityItems({QUrl::fromLocalFile(m_folder + s("/clip.mov"))});
        QSignalSpy done(&failing, &Activity::finished);
        failing.performActivity();
        QVERIFY(done.wait(5000));
        QCOMPARE(done.first().first().toBool(), false);
        QCOMPARE(failing.savedPath(), QString());
        QCOMPARE(failing.failureText(), blocked + s(": the folder cannot be made"));
    }
    SaveToVideosActivity::setDestinationFolder(videos);
    SaveToVideosActivity save;
    QVERIFY(!save.canPerformWithActivityItems(
        {QUrl::fromLocalFile(m_folder + QStringLiteral("/song.mp3"))}));
}

void TestListing::exportabilityOfShownRows() {
    make(m_folder, {"c:song.mp3<id3v24.mp3", "c:fake.mp3<not-media.mp3", "c:clip.m4v<video.m4v",
                    "c:clip.mp4<video-only.mp4", "c:empty.m4a<zero.m4a", "d:sub", "f:notes.txt"});
    ExportabilityCache cache;
    DirectoryListModel model(m_folder, &cache);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QHash<QString, QVariant> first;
    for (int row = 0; row < model.rowCount(); ++row)
        first.insert(model.index(row).data().toString(),
                     model.index(row).data(DirectoryListModel::EnabledRole));
    // Folders at once; files once their answers arrive, greyed meanwhile.
    QCOMPARE(first.value(QStringLiteral("sub")), QVariant(true));
    QVERIFY(!first.value(QStringLiteral("song.mp3")).isValid());
    QTRY_COMPARE_WITH_TIMEOUT(changed.size(), model.rowCount() - 1, 20000);
    QHash<QString, bool> enabled;
    for (int row = 0; row < model.rowCount(); ++row)
        enabled.insert(model.index(row).data().toString(),
                       model.index(row).data(DirectoryListModel::EnabledRole).toBool());
    const QHash<QString, bool> expected{
        {QStringLiteral("song.mp3"), true},   {QStringLiteral("fake.mp3"), false},
        {QStringLiteral("clip.m4v"), true},   {QStringLiteral("clip.mp4"), true},
        {QStringLiteral("empty.m4a"), false}, {QStringLiteral("sub"), true},
        {QStringLiteral("notes.txt"), false}};
    QCOMPARE(enabled, expected);
}

void TestListing::exportabilityIsCachedPerStamp() {
    QStringList specs;
    for (int i = 0; i < 50; ++i)
        specs.append(QStringLiteral("f:file%1.mp3").arg(i));
    make(m_folder, specs);
    ExportabilityCache cache;
    QAtomicInt checks;
    cache.setCheck([&checks](const QString&) {
        checks.ref();
        return true;
    });
    {
        DirectoryListModel model(m_folder, &cache);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        // Only the rows asked about (the rows on screen) are looked into.
        for (int row : {0, 1, 2})
            model.index(row).data(DirectoryListModel::EnabledRole);
        QTRY_COMPARE(changed.size(), 3);
        QCOMPARE(checks.loadRelaxed(), 3);
    }
    DirectoryListModel again(m_folder, &cache);
    QSignalSpy changed(&again, &QAbstractItemModel::dataChanged);
    again.index(0).data(DirectoryListModel::EnabledRole);
    QVERIFY(writeFile(again.entryAt(1).path(), "changed"));
    again.index(1).data(DirectoryListModel::EnabledRole);
    QTRY_COMPARE(changed.size(), 2);
    // The unchanged file came from the cache; the rewritten one was checked again.
    QCOMPARE(checks.loadRelaxed(), 4);
}

void TestListing::exportabilityCacheWaitsForItsChecksWhenItGoes() {
    QStringList specs;
    for (int i = 0; i < 20; ++i)
        specs.append(QStringLiteral("f:file%1.mp3").arg(i));
    make(m_folder, specs);
    QSemaphore started;
    QAtomicInt finished;
    QAtomicInt answers;
    {
        ExportabilityCache cache;
        cache.setCheck([&started, &finished](const QString&) {
            started.release();
            QThread::msleep(100);
            finished.ref();
            return true;
        });
        QObject::connect(
            &cache, &ExportabilityCache::answered, &cache, [&answers] { answers.ref(); },
            Qt::DirectConnection);
        for (int i = 0; i < 20; ++i)
            cache.request(QFile::encodeName(m_folder + QStringLiteral("/file%1.mp3").arg(i)));
        QVERIFY(started.tryAcquire(1, 10000));
    }
    // Gone only after the checks under way ended; the waiting requests were dropped.
    const int ran = started.available() + 1;
    QCOMPARE(finished.loadAcquire(), ran);
    QCOMPARE(answers.loadAcquire(), ran);
    QVERIFY2(ran < 20, qPrintable(QString::number(ran)));
}

void TestListing::folderVanishes() {
    make(m_folder, {"c:song.mp3<id3v24.mp3", "f:a.txt"});
    ExportabilityCache cache;
    DirectoryListModel model(m_folder, &cache);
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(QDir(m_folder).removeRecursively());
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    for (int row = 0; row < model.rowCount(); ++row)
        model.index(row).data(DirectoryListModel::EnabledRole);
    QTRY_COMPARE(changed.size(), 2);
    QCOMPARE(model.index(0).data(DirectoryListModel::EnabledRole), QVariant(false));
    model.rebuildFileList();
    QCOMPARE(model.rowCount(), 0);
}

QTEST_GUILESS_MAIN(TestListing)
#include "tst_listing.moc"
