#include "ImportiTunesVideoActivity.h"

#include "platform/Localisation.h"

namespace tolvane {

QString ImportiTunesVideoActivity::activityTitle() const {
    return localized("Import to Videos");
}

void ImportiTunesVideoActivity::addFileWithInfo(const QVariantMap& info) {
    QVariantMap withKind = info;
    withKind.insert(QStringLiteral("mediaKind"),
                    m_mediaKind.isEmpty() ? QStringLiteral("music-video") : m_mediaKind);
    ImportActivity::addFileWithInfo(withKind);
}

} // namespace tolvane
