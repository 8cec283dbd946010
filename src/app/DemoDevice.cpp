#include "app/DemoDevice.h"

#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tolvane {

namespace {

const char* const mediaFiles[] = {
    "Evening Tide.mp3", "Morning Run.m4a", "Harbour Timelapse.mp4", "Harbour Timelapse.jpg",
    "Field Notes.pdf",  "notes.txt",       "cover-art.png"};

Status copyTo(const QString& from, const QString& to) {
    QDir().mkpath(QFileInfo(to).path());
    if (QFile::copy(from, to))
        return {};
    return Failure(QStringLiteral("cannot copy %1 to %2").arg(from, to));
}

Status copyTree(const QString& from, const QString& to) {
    const QFileInfoList entries = QDir(from).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString target = to + QLatin1Char('/') + entry.fileName();
        Status copied =
            entry.isDir() ? copyTree(entry.filePath(), target) : copyTo(entry.filePath(), target);
        if (!copied)
            return copied;
    }
    return {};
}

} // namespace

QString DemoDevice::systemDataFolder() {
    const QString installed = Paths::installedDataFolder();
    return QFileInfo::exists(installed + QStringLiteral("/demo/media")) ? installed : QString();
}

Status DemoDevice::create(const QString& folder, const QString& systemData) {
    const QString media = systemData + QStringLiteral("/demo/media");
    if (systemData.isEmpty() || !QFileInfo(media).isDir())
        return Failure(QStringLiteral("no demo media found (looked for share/tolvane/demo/media)"));
    const QDir device(QFileInfo(folder).absoluteFilePath());
    if (device.exists() && !device.isEmpty())
        return Failure(QStringLiteral("exists and is not empty"), device.path());

    const QString mobile = device.path() + QStringLiteral("/var/mobile");
    const QString downloads = mobile + QStringLiteral("/Downloads");
    const QString preferences = mobile + QStringLiteral("/Library/Preferences");
    for (const QString& made :
         {device.path() + QStringLiteral("/Library"), downloads + QStringLiteral("/Podcasts"),
          preferences, mobile + QStringLiteral("/Media/Downloads"),
          mobile + QStringLiteral("/Media/Artwork"), mobile + QStringLiteral("/Pictures")}) {
        if (!QDir().mkpath(made))
            return Failure(QStringLiteral("cannot be created"), made);
    }

    const auto from = [&media](const char* name) {
        return media + QLatin1Char('/') + QLatin1String(name);
    };
    // Space-free copies of the video and its thumbnail: the values of a hand-off URL after the
    // third are used as written, so these paths need no escaping.
    const QString harbour = downloads + QStringLiteral("/harbour.mp4");
    const QString harbourThumb = downloads + QStringLiteral("/harbour.jpg");
    const QString stored = mobile + QStringLiteral("/Media/Downloads/Evening Tide (copy).mp3");
    QList<std::pair<QString, QString>> copies;
    for (const char* name : mediaFiles)
        copies.append({from(name), downloads + QLatin1Char('/') + QLatin1String(name)});
    copies += {
        {from("Morning Run.m4a"),
         downloads + QStringLiteral("/Podcasts/Episode 12 - Open Water.m4a")},
        {from("Harbour Timelapse.mp4"), harbour},
        {from("Harbour Timelapse.jpg"), harbourThumb},
        {from("Evening Tide.mp3"), stored},
        {from("Harbour Timelapse.jpg"),
         mobile + QStringLiteral("/Media/Artwork/Evening Tide (copy).mp3.jpeg")},
        {from("cover-art.png"), mobile + QStringLiteral("/Pictures/cover-art.png")},
    };
    if (Status copied = copyTree(systemData + QStringLiteral("/Application Support"),
                                 device.path() + QStringLiteral("/Library/Application Support"));
        !copied)
        return copied;
    for (const auto& [source, target] : std::as_const(copies)) {
        if (Status copied = copyTo(source, target); !copied)
            return copied;
    }
    // A hidden file the listing skips, and a link to the stored copy.
    QFile state(downloads + QStringLiteral("/.download-state"));
    if (!state.open(QIODevice::WriteOnly) ||
        !state.write("last-check=2024-06-01T07:15:00Z pending=0\n") ||
        !QFile::link(stored, downloads + QStringLiteral("/Latest download.mp3")))
        return Failure(QStringLiteral("cannot be written"), downloads);

    const QVariantMap downloadsStore{
        {QStringLiteral("evening-tide"),
         QVariantMap{{QStringLiteral("title"), QStringLiteral("Evening Tide")},
                     {QStringLiteral("name"), QStringLiteral("Evening Tide.mp3")},
                     {QStringLiteral("filePath"), downloads + QStringLiteral("/Evening Tide.mp3")},
                     {QStringLiteral("icon"), QStringLiteral("audio.png")},
                     {QStringLiteral("genre"), QStringLiteral("Ambient")},
                     {QStringLiteral("year"), QStringLiteral("2024")}}},
        {QStringLiteral("morning-run"),
         QVariantMap{{QStringLiteral("title"), QStringLiteral("Morning Run")},
                     {QStringLiteral("name"), QStringLiteral("Morning Run.m4a")},
                     {QStringLiteral("filePath"), downloads + QStringLiteral("/Morning Run.m4a")},
                     {QStringLiteral("icon"), QStringLiteral("audio.png")},
                     {QStringLiteral("year"), 2023}}}};
    const QVariantMap tracks{
        {QStringLiteral("tracks"),
         QVariantMap{{QStringLiteral("harbour"),
                      QVariantMap{{QStringLiteral("title"), QStringLiteral("Harbour Timelapse")},
                                  {QStringLiteral("name"), QStringLiteral("Harbour Timelapse.mp4")},
                                  {QStringLiteral("filePath"), harbour},
                                  {QStringLiteral("icon"), QStringLiteral("video.png")},
                                  {QStringLiteral("isVideo"), 1},
                                  {QStringLiteral("iconData"), harbourThumb}}}}}};
    if (Status written = PropertyListWriter::writeXml(
            preferences + QStringLiteral("/com.merrowby.tolvaneprefs.plist"),
            QVariantMap{{QStringLiteral("savePath"), downloads},
                        {QStringLiteral("downloads"), downloadsStore}});
        !written)
        return written;
    return PropertyListWriter::writeXml(preferences + QStringLiteral("/tracks.plist"), tracks);
}

} // namespace tolvane
