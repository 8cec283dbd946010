#include "PlayMediaActivity.h"

#include "platform/Localisation.h"

namespace tolvane {

QString PlayMediaActivity::activityTitle() const {
    return localizedFromTable("com.apple.WebCore", "Play");
}

bool PlayMediaActivity::canPerformWithActivityItems(const QVariantList& items) const {
    return std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl);
}

void PlayMediaActivity::prepareWithActivityItems(const QVariantList& items) {
    for (const QVariant& item : items) {
        if (isFileUrl(item))
            m_filePath = item.toUrl();
    }
}

void PlayMediaActivity::performActivity() {
    if (m_delegate)
        m_delegate->PlayMediaActivityFinishedSuccessfully(m_filePath);
}

} // namespace tolvane
