#include "PreviewActivity.h"

#include "platform/Localisation.h"

namespace tolvane {

QString PreviewActivity::activityTitle() const {
    return localized("Preview");
}

bool PreviewActivity::canPerformWithActivityItems(const QVariantList& items) const {
    return std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl);
}

void PreviewActivity::prepareWithActivityItems(const QVariantList& items) {
    for (const QVariant& item : items) {
        if (isFileUrl(item))
            m_filePath = item.toUrl();
    }
}

void PreviewActivity::performActivity() {
    if (m_delegate)
        m_delegate->previewActivityCanBeLaunched(m_filePath);
    activityDidFinish(true);
}

} // namespace tolvane
