#include "ImageDensity.h"

namespace tolvane {

ImageDensity ImageDensity::resolve(const QString& name, qreal scale) {
    const auto withSuffix = [&name](const QString& suffix, int scaleFactor) {
        if (name.contains(suffix))
            return ImageDensity{name, 0};
        QString replaced = name;
        replaced.replace(QStringLiteral(".png"), suffix);
        return ImageDensity{replaced, scaleFactor};
    };
    if (scale == 3.0)
        return withSuffix(QStringLiteral("@3x.png"), 3);
    if (scale == 2.0)
        return withSuffix(QStringLiteral("@2x.png"), 2);
    return ImageDensity{name, 0};
}

} // namespace tolvane
