#include "SaveToVideosActivity.h"

#include "browser/FileActionSheet.h"
#include "platform/Localisation.h"
#include "platform/OffScreen.h"
#include "platform/PathString.h"
#include "platform/Result.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

namespace tolvane {

namespace {

QString& folderOverride() {
    static QString folder;
    return folder;
}

bool isVideo(const QVariant& item) {
    return Activity::isExistingFileUrl(item) &&
           FileActionSheet::videoExtensions.contains(
               PathString::pathExtension(item.toUrl().toLocalFile()).toLower());
}

// A free name in the folder: the file's own, else with " 2", " 3"... before the extension.
QString freePath(const QString& folder, const QString& name) {
    const QString extension = PathString::pathExtension(name);
    const QString stem = PathString::deletingPathExtension(name);
    QString candidate = QDir(folder).filePath(name);
    for (int n = 2; QFileInfo::exists(candidate); ++n) {
        const QString numbered = QStringLiteral("%1 %2").arg(stem).arg(n);
        candidate = QDir(folder).filePath(
            extension.isEmpty() ? numbered : numbered + QLatin1Char('.') + extension);
    }
    return candidate;
}

// The copy made in the folder, or why there is none.
Result<QString> saveCopy(const QString& source, const QString& folder) {
    if (!QDir().mkpath(folder))
        return Failure(QStringLiteral("the folder cannot be made"), folder);
    const QString target = freePath(folder, QFileInfo(source).fileName());
    QFile file(source);
    if (!file.copy(target))
        return Failure(file.errorString(), target);
    return target;
}

} // namespace

QString SaveToVideosActivity::activityTitle() const {
    return localized("Save to Videos");
}

QString SaveToVideosActivity::destinationFolder() {
    if (!folderOverride().isEmpty())
        return folderOverride();
    return QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
}

void SaveToVideosActivity::setDestinationFolder(const QString& folder) {
    folderOverride() = folder;
}

bool SaveToVideosActivity::canPerformWithActivityItems(const QVariantList& items) const {
    return std::any_of(items.cbegin(), items.cend(), isVideo);
}

void SaveToVideosActivity::prepareWithActivityItems(const QVariantList& items) {
    for (const QVariant& item : items) {
        if (isFileUrl(item))
            m_fileURL = item.toUrl();
    }
}

void SaveToVideosActivity::performActivity() {
    const QString source = m_fileURL.toLocalFile();
    const QString folder = destinationFolder();
    // A video may be large: the copy runs off the main thread.
    runOffScreen(
        this, [source, folder] { return saveCopy(source, folder); },
        [this](const Result<QString>& saved) {
            m_savedPath = saved.valueOr(QString());
            m_failureText = saved.errorText();
            activityDidFinish(saved.ok());
        });
}

} // namespace tolvane
