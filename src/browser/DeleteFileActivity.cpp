#include "DeleteFileActivity.h"

#include "browser/DirectoryListing.h"
#include "platform/Localisation.h"
#include "platform/Paths.h"

#include <QFile>

namespace tolvane {

QString DeleteFileActivity::activityTitle() const {
    return localized("Delete");
}

bool DeleteFileActivity::canPerformWithActivityItems(const QVariantList& items) const {
    return std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl);
}

void DeleteFileActivity::prepareWithActivityItems(const QVariantList& items) {
    for (const QVariant& item : items) {
        if (item.metaType() == QMetaType::fromType<QUrl>()) {
            const QUrl url = item.toUrl();
            m_filePath = url.isLocalFile() ? url.toLocalFile() : url.path();
        }
    }
}

void DeleteFileActivity::performActivity() {
    if (Paths::isDesktopLayout()) {
        const Status trashed = DirectoryListing::moveItemToTrash(QFile::encodeName(m_filePath));
        if (m_delegate && trashed)
            m_delegate->DeleteFileActivityMovedToTrash(m_filePath);
        else if (m_delegate)
            m_delegate->DeleteFileActivityCannotMoveToTrash(m_filePath, trashed.failure());
        activityDidFinish(bool(trashed));
        return;
    }
    ignoreFailure(DirectoryListing::removeItemAtPath(QFile::encodeName(m_filePath)),
                  "the sheet's delete always reports done; the listing shows what is left");
    if (m_delegate)
        m_delegate->DeleteFileActivityFinishedSuccessfully();
    activityDidFinish(true);
}

} // namespace tolvane
