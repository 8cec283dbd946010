#include "Activity.h"

#include "imaging/THEOSImage.h"
#include "platform/Paths.h"

#include <QFileInfo>

namespace tolvane {

QString Activity::activityType() const {
    const QString name = QString::fromLatin1(metaObject()->className());
    return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}

QImage Activity::activityImage() const {
    return THEOSImage::imageWithName(activityImageName(), Paths::imagesFolder());
}

void Activity::performActivity() {
    activityDidFinish(false);
}

void Activity::activityDidFinish(bool completed) {
    if (m_finished)
        return;
    m_finished = true;
    Q_EMIT finished(completed);
}

bool Activity::isFileUrl(const QVariant& item) {
    return item.metaType() == QMetaType::fromType<QUrl>() && item.toUrl().isLocalFile();
}

bool Activity::isExistingFileUrl(const QVariant& item) {
    return isFileUrl(item) && QFileInfo::exists(item.toUrl().toLocalFile());
}

} // namespace tolvane
