#pragma once

#include "browser/Activity.h"

#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <vector>

namespace tolvane {

class DeleteFileActivityDelegate;
class PlayMediaActivityDelegate;
class PreviewActivityDelegate;

// Who the sheet's actions report to; none is owned.
struct FileActionDelegates {
    DeleteFileActivityDelegate* deleteFile = nullptr;
    PlayMediaActivityDelegate* playMedia = nullptr;
    PreviewActivityDelegate* preview = nullptr;
    // The screen the sheet belongs to: Open In shows its menu there and the import editor
    // is presented over it.
    QObject* screen = nullptr;
};

// The actions offered for one file and the two items handed to them: the file-info
// dictionary ("path", and for audio and video "mediaKind" "song" and a "metadata" dictionary
// with the title, an empty artist, the year and the type's icon as "imageData") and the file's
// URL. A link stands for its stored destination. Audio files get Play, Import to Music,
// Delete, Open In...; videos the same with Import to Videos after Import to Music and the
// platform's save of a video; any other file Preview, Delete, Open In....
class FileActionSheet {
public:
    static FileActionSheet compose(const QString& entryPath,
                                   const FileActionDelegates& delegates = {});

    QString path() const { return m_path; }
    const QVariantMap& fileInfo() const { return m_fileInfo; }
    QVariantList activityItems() const;
    const QStringList& excludedActivityTypes() const { return m_excluded; }
    const std::vector<std::unique_ptr<Activity>>& applicationActivities() const {
        return m_applicationActivities;
    }

    // What the sheet shows, in order: its own actions, then the platform's that are not
    // excluded, each only when it accepts the items.
    QList<Activity*> offeredActivities() const;
    // Takes an action out of the sheet, so that it outlives it; null when it is not here.
    std::unique_ptr<Activity> take(Activity* activity);

    static const QStringList videoExtensions;
    static const QStringList audioExtensions;

private:
    QString m_path;
    QVariantMap m_fileInfo;
    QStringList m_excluded;
    std::vector<std::unique_ptr<Activity>> m_applicationActivities;
    std::vector<std::unique_ptr<Activity>> m_platformActivities;
};

} // namespace tolvane
