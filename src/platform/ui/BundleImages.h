#pragma once

#include <QPixmap>
#include <QString>

namespace tolvane {

// The application's own images, built into the executable: "browser.png" and the like, with
// their "@2x" and "@3x" variants. The variant of the screen's scale is taken, else the next
// lower one, as an application's own image lookup does.
class BundleImages {
public:
    static QPixmap imageNamed(const QString& name);
    static QString resourcePrefix() { return QStringLiteral(":/images/"); }
};

} // namespace tolvane
