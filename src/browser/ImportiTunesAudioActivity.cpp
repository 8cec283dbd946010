#include "ImportiTunesAudioActivity.h"

#include "platform/Localisation.h"

namespace tolvane {

QString ImportiTunesAudioActivity::activityTitle() const {
    return localized("Import to Music");
}

void ImportiTunesAudioActivity::addFileWithInfo(const QVariantMap& info) {
    QVariantMap withKind = info;
    withKind.insert(QStringLiteral("mediaKind"),
                    m_mediaKind.isEmpty() ? QStringLiteral("song") : m_mediaKind);
    ImportActivity::addFileWithInfo(withKind);
}

} // namespace tolvane
