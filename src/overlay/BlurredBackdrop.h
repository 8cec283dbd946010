#pragma once

#include <QImage>
#include <QRect>

class QWidget;

namespace tolvane {

// What lies beneath an overlay, taken from the widgets under it, and the blurred copy of it
// that the overlay keeps until its size changes or it is shown again.
class BlurredBackdrop {
public:
    // The widget whose rendering shows what lies beneath the overlay: its parent, or, when the
    // parent does not paint its own background, the nearest ancestor that does (a window
    // always does). Null for an overlay without a parent.
    static QWidget* viewBeneath(const QWidget* overlay);
    // Renders the rectangle (in the overlay's coordinates) of the view beneath, with its
    // children. The overlay must be hidden, or it is drawn into the result.
    static QImage grabBeneath(const QWidget* overlay, const QRect& rect);

    bool isValidFor(const QRect& rect) const { return m_valid && rect == m_rect; }
    // The blurred image for a rectangle; a null image is kept too, so that a failed effect
    // is not retried on every paint.
    void store(const QRect& rect, const QImage& blurred);
    void invalidate() { m_valid = false; }
    const QImage& image() const { return m_image; }

private:
    QImage m_image;
    QRect m_rect;
    bool m_valid = false;
};

} // namespace tolvane
