#include "BundleImages.h"

#include "platform/Device.h"

#include <QFile>

#include <cmath>

namespace tolvane {

QPixmap BundleImages::imageNamed(const QString& name) {
    QString base = name;
    if (base.endsWith(QLatin1String(".png")))
        base.chop(4);
    const int wanted = qBound(1, int(std::ceil(Device::current().scale())), 3);
    for (int factor = wanted; factor >= 1; --factor) {
        const QString suffix =
            factor == 1 ? QStringLiteral(".png") : QStringLiteral("@%1x.png").arg(factor);
        const QString path = resourcePrefix() + base + suffix;
        if (!QFile::exists(path))
            continue;
        QPixmap pixmap(path);
        pixmap.setDevicePixelRatio(factor);
        return pixmap;
    }
    return {};
}

} // namespace tolvane
