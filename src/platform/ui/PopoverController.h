#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>

namespace tolvane {

class PopoverController;

class PopoverControllerDelegate {
public:
    virtual ~PopoverControllerDelegate() = default;
    // The user closed the popover by clicking outside it or with Escape (not sent for
    // dismissPopoverAnimated).
    virtual void popoverControllerDidDismissPopover(PopoverController* popover) {
        Q_UNUSED(popover);
    }
};

// A panel over the window that points at a rectangle of a view, as a pad shows small choosers.
// It lies on a clear layer over the whole window that takes all input outside the panel; a
// click there closes it. It owns its content and deletes itself once dismissed.
class PopoverController : public QWidget {
    Q_OBJECT
public:
    static constexpr int arrowSize = 12;
    static constexpr int windowMargin = 10;

    explicit PopoverController(QWidget* content, QSize contentSize = QSize(400, 520));

    // Not owned.
    void setDelegate(PopoverControllerDelegate* delegate) { m_delegate = delegate; }
    QWidget* content() const { return m_content; }

    // Shows the panel beside the rectangle (in `view`'s coordinates): below it when it fits,
    // else above, else beside it, whichever leaves the most of the panel on the window.
    void presentPopoverFromRect(const QRect& rect, QWidget* view, bool animated);
    void dismissPopoverAnimated(bool animated);
    // Closes the popover as a click outside it does (Escape), telling the delegate.
    void dismissByUser();
    bool isPopoverVisible() const { return isVisible() && !m_dismissed; }
    // Where the panel is, in the window's coordinates.
    QRect panelFrame() const { return m_panel; }

    // The panel for a window of the given size pointing at a rectangle of it.
    static QRect panelFrameFor(QSize window, const QRect& anchor, QSize contentSize);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void place();

    PopoverControllerDelegate* m_delegate = nullptr;
    QPointer<QWidget> m_content;
    QPointer<QWidget> m_view;
    QSize m_contentSize;
    QRect m_anchor; // in the window's coordinates
    QRect m_panel;
    bool m_dismissed = false;
};

} // namespace tolvane
