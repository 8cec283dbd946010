#pragma once

#include <QRectF>
#include <QSizeF>

namespace tolvane {

// Where the main screen's hint line goes: centred, a margin above the bottom edge, measured
// within a box that depends on the idiom.
struct MainScreenLayout {
    static constexpr qreal buttonSide = 165;
    static constexpr qreal captionTop = 110;
    static constexpr qreal captionHeight = 25;

    static qreal hintFontSize(bool pad) { return pad ? 20 : 14; }
    static qreal bottomMargin(bool pad) { return pad ? 20 : 10; }
    // The box the hint text is measured in.
    static QSizeF hintTextBox(qreal viewWidth, bool pad);
    // The hint line's frame for a measured text size.
    static QRectF hintFrame(QSizeF view, QSizeF text, bool pad);
};

} // namespace tolvane
