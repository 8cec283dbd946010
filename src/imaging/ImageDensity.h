#pragma once

#include <QString>

namespace tolvane {

// Which file a plain ".png" name stands for on a screen of a given scale. At scale 3 every
// ".png" becomes "@3x.png", at scale 2 "@2x.png"; any other scale keeps the name. A name that
// already carries the suffix is kept and needs no redraw (factor 0).
struct ImageDensity {
    QString name;
    int factor = 0;

    static ImageDensity resolve(const QString& name, qreal scale);
};

} // namespace tolvane
