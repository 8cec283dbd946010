#include "FileActionSheet.h"

#include "browser/DeleteFileActivity.h"
#include "browser/DirectoryListing.h"
#include "browser/FileTypeTable.h"
#include "browser/ImportiTunesAudioActivity.h"
#include "browser/ImportiTunesVideoActivity.h"
#include "browser/OpenInActivity.h"
#include "browser/PlayMediaActivity.h"
#include "browser/PreviewActivity.h"
#include "browser/SaveToVideosActivity.h"
#include "imaging/THEOSData.h"
#include "import/ImportRecord.h"
#include "import/MediaKinds.h"
#include "platform/CurrentYear.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QFile>

namespace tolvane {

const QStringList FileActionSheet::videoExtensions{QStringLiteral("mp4"), QStringLiteral("m4v"),
                                                   QStringLiteral("mov")};
const QStringList FileActionSheet::audioExtensions{QStringLiteral("mp3"), QStringLiteral("m4a"),
                                                   QStringLiteral("m4r")};

FileActionSheet FileActionSheet::compose(const QString& entryPath,
                                         const FileActionDelegates& delegates) {
    FileActionSheet sheet;
    sheet.m_path = QFile::decodeName(DirectoryListing::resolvedPath(QFile::encodeName(entryPath)));
    const QString name = PathString::lastPathComponent(sheet.m_path);
    const QString extension = PathString::pathExtension(sheet.m_path).toLower();

    // The record handed to the actions: the file, and for media its first tags and kind.
    ImportRecord info;
    info.path = sheet.m_path;
    info.hasMetadata = false;
    sheet.m_excluded = {UIActivityTypeAssignToContact, UIActivityTypePrint,
                        UIActivityTypeCopyToPasteboard, UIActivityTypeSaveToCameraRoll};

    auto& actions = sheet.m_applicationActivities;
    const bool isVideo = videoExtensions.contains(extension);
    const bool isMedia = isVideo || audioExtensions.contains(extension);
    if (isMedia) {
        info.metadata.title = name;
        info.metadata.artist = QString();
        info.metadata.year = Tags::Year(qlonglong(currentYear()));
        const QString iconFile = FileTypeTable::installed()->iconFileForExtension(extension);
        info.metadata.artwork = THEOSData::DataFromFileAtPath(
            PathString::appendingPathComponent(Paths::iconsFolder(), iconFile));
        info.hasMetadata = true;
        info.mediaKind = MediaKinds::song;

        auto play = std::make_unique<PlayMediaActivity>();
        play->setDelegate(delegates.playMedia);
        actions.push_back(std::move(play));
        auto importAudio = std::make_unique<ImportiTunesAudioActivity>();
        importAudio->setPresenter(delegates.screen);
        actions.push_back(std::move(importAudio));
    }
    sheet.m_fileInfo = info.toDictionary();
    if (isVideo) {
        // A video may be saved by the platform's own action.
        sheet.m_excluded.removeLast();
        auto importVideo = std::make_unique<ImportiTunesVideoActivity>();
        importVideo->setPresenter(delegates.screen);
        actions.push_back(std::move(importVideo));
    }
    auto deleteFile = std::make_unique<DeleteFileActivity>();
    deleteFile->setDelegate(delegates.deleteFile);
    actions.push_back(std::move(deleteFile));
    auto openIn = std::make_unique<OpenInActivity>();
    openIn->setSuperViewController(delegates.screen);
    actions.push_back(std::move(openIn));
    if (!isMedia) {
        auto preview = std::make_unique<PreviewActivity>();
        preview->setDelegate(delegates.preview);
        actions.insert(actions.begin(), std::move(preview));
    }

    sheet.m_platformActivities.push_back(std::make_unique<SaveToVideosActivity>());
    return sheet;
}

QVariantList FileActionSheet::activityItems() const {
    return {m_fileInfo, QUrl::fromLocalFile(m_path)};
}

QList<Activity*> FileActionSheet::offeredActivities() const {
    const QVariantList items = activityItems();
    QList<Activity*> offered;
    for (const auto& activity : m_applicationActivities) {
        if (activity->canPerformWithActivityItems(items))
            offered.append(activity.get());
    }
    for (const auto& activity : m_platformActivities) {
        if (!m_excluded.contains(activity->activityType()) &&
            activity->canPerformWithActivityItems(items))
            offered.append(activity.get());
    }
    return offered;
}

std::unique_ptr<Activity> FileActionSheet::take(Activity* activity) {
    for (auto* list : {&m_applicationActivities, &m_platformActivities}) {
        for (auto it = list->begin(); it != list->end(); ++it) {
            if (it->get() == activity) {
                std::unique_ptr<Activity> taken = std::move(*it);
                list->erase(it);
                return taken;
            }
        }
    }
    return nullptr;
}

} // namespace tolvane
