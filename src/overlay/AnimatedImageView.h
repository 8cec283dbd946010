#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QWidget>

class QTimer;

namespace tolvane {

// Plays a list of images as a flip-book: the whole list once per animation duration, a given
// number of times or for ever. The current frame is drawn scaled to fit the view, centred,
// keeping its proportions. Frames only advance while the view is shown.
class AnimatedImageView : public QWidget {
    Q_OBJECT
public:
    explicit AnimatedImageView(QWidget* parent = nullptr);

    QList<QImage> animationImages() const { return m_frames; }
    // Stops the animation when it runs.
    void setAnimationImages(const QList<QImage>& frames);
    // Seconds for one pass through all frames; 0 plays thirty frames a second.
    double animationDuration() const { return m_duration; }
    void setAnimationDuration(double seconds);
    // Passes to play; 0 repeats for ever.
    int animationRepeatCount() const { return m_repeatCount; }
    void setAnimationRepeatCount(int count);

    void startAnimating();
    void stopAnimating();
    bool isAnimating() const { return m_animating; }
    // Index into animationImages() of the frame on show; 0 when stopped.
    int currentFrame() const { return m_frame; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    double frameSeconds() const;
    void advance();
    void updateTimer();

    QList<QImage> m_frames;
    double m_duration = 0;
    int m_repeatCount = 0;
    bool m_animating = false;
    int m_frame = 0;
    QElapsedTimer m_clock;
    QTimer* m_timer;
};

} // namespace tolvane
