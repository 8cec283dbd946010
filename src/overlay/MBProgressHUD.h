#pragma once

#include "overlay/BlurredBackdrop.h"

#include <QColor>
#include <QElapsedTimer>
#include <QFont>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>

class QPropertyAnimation;
class QThreadPool;
class QTimer;

namespace tolvane {

class HUDBox;

enum class MBProgressHUDMode {
    Indeterminate = 0,        // the stock busy spinner
    Determinate,              // a pie that fills with progress()
    DeterminateHorizontalBar, // a bar that fills with progress()
    AnnularDeterminate,       // a ring that closes with progress()
    CustomView = 4,           // customView() in place of an indicator
    Text,                     // the labels alone
};

// A modal overlay laid over a view while the user waits: a rounded box in the middle with an
// indicator and two lines of text, over a clear or blurred copy of what lies beneath. While it
// shows it takes the mouse and the keyboard, so nothing beneath it can be used.
//
// The overlay is a child of its view, covers the view's whole rectangle and follows it when it
// is resized. It is created hidden; show() brings it up (fading in when animated) and hide()
// takes it down, no sooner than minShowTime() after it was shown, then deletes it when
// removeFromSuperViewOnHide() is set and finally runs completionBlock(). Everything happens on
// the main thread except the block of showAnimated().
class MBProgressHUD : public QWidget {
    Q_OBJECT
public:
    using Block = std::function<void()>;

    explicit MBProgressHUD(QWidget* view);

    // The overlay for the system's 16-frame spinner: clear box, no blur, the frames "1.png" to
    // "16.png" (isBlack) or "_1.png" to "_16.png" from the images folder, one pass every 1.75
    // seconds for ever. Frames that cannot be loaded are left out. Added to the view and shown.
    static MBProgressHUD* showHUDAddedTo(QWidget* view, bool animated, bool isBlack);
    // Hides and removes the overlay on the view that was added last; false when it has none.
    static bool hideHUDForView(QWidget* view, bool animated);
    // Hides and removes every overlay on the view; returns how many there were.
    static int hideAllHUDsForView(QWidget* view, bool animated);
    // The overlay on the view that was added last and is not on its way out, or null.
    static MBProgressHUD* HUDForView(QWidget* view);

    void show(bool animated);
    void hide(bool animated);
    // Shows the overlay and runs block on the pool (the global pool when null), never on the
    // main thread. Once the block has returned the overlay is hidden on the main thread,
    // no sooner than minShowTime() allows, and completion runs after it is gone.
    void showAnimated(bool animated, Block block, QThreadPool* queue, Block completion);

    MBProgressHUDMode mode() const { return m_mode; }
    void setMode(MBProgressHUDMode mode);
    // Shown in CustomView mode. The overlay takes ownership and deletes the view it replaces.
    QWidget* customView() const { return m_customView; }
    void setCustomView(QWidget* view);
    // For the determinate modes, 0 to 1.
    float progress() const { return m_progress; }
    void setProgress(float progress);

    // The box's colour; black at 0.8 alpha unless set.
    QColor color() const;
    void setColor(const QColor& color);
    bool blurBackground() const { return m_blurBackground; }
    // A tint laid under the box and over the blurred copy, so that light text stays readable
    // however light the content beneath is; the blur itself is left as it is. None by default.
    void setLegibilityTint(const QColor& tint);
    QColor legibilityTint() const { return m_legibilityTint; }
    void setBlurBackground(bool blur);

    QString labelText() const;
    void setLabelText(const QString& text);
    QFont labelFont() const;
    void setLabelFont(const QFont& font);
    QString detailsLabelText() const;
    void setDetailsLabelText(const QString& text);
    QFont detailsLabelFont() const;
    void setDetailsLabelFont(const QFont& font);

    // Seconds the overlay stays up at least once shown.
    double minShowTime() const { return m_minShowTime; }
    void setMinShowTime(double seconds) { m_minShowTime = seconds; }
    bool removeFromSuperViewOnHide() const { return m_removeFromSuperViewOnHide; }
    void setRemoveFromSuperViewOnHide(bool remove) { m_removeFromSuperViewOnHide = remove; }
    // Runs on the main thread each time the overlay has been hidden.
    Block completionBlock() const { return m_completionBlock; }
    void setCompletionBlock(Block block) { m_completionBlock = std::move(block); }

    static constexpr int fadeDurationMs = 300;

protected:
    // Draws the blurred copy of what lies beneath the rectangle, taking it first when the
    // overlay's size changed or it was shown again since the last one.
    void drawBlurredBackgroundInRect(QPainter& painter, const QRect& rect);

    bool eventFilter(QObject* watched, QEvent* event) override;
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    enum class State { Hidden, Shown, Hiding };

    QWidget* stockIndicator();
    void updateIndicator();
    void relayout();
    void captureBackdrop(const QRect& rect);
    void fadeTo(qreal opacity, bool animated);
    void fadeFinished(qreal opacity);
    void hideNow(bool animated);
    void finishHiding();

    HUDBox* m_box;
    QPointer<QWidget> m_view;
    QPointer<QWidget> m_customView;      // owned, a child of the box
    QPointer<QWidget> m_stockIndicator;  // owned, a child of the box
    QPointer<QWidget> m_focusBeforeShow; // given the focus back after hiding
    MBProgressHUDMode m_mode = MBProgressHUDMode::Indeterminate;
    float m_progress = 0;
    bool m_blurBackground = false;
    QColor m_legibilityTint = Qt::transparent;
    double m_minShowTime = 0;
    bool m_removeFromSuperViewOnHide = false;
    Block m_completionBlock;
    Block m_taskCompletion;

    State m_state = State::Hidden;
    bool m_leaving = false;
    bool m_capturing = false;
    bool m_deferredHideAnimated = false;
    QElapsedTimer m_shownAt;
    QTimer* m_deferredHide;
    QPointer<QPropertyAnimation> m_fade;
    BlurredBackdrop m_backdrop;
};

} // namespace tolvane
