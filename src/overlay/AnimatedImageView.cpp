#include "AnimatedImageView.h"

#include <QPainter>
#include <QTimer>

#include <cmath>

namespace tolvane {

namespace {

constexpr double defaultFrameSeconds = 1.0 / 30.0;

} // namespace

AnimatedImageView::AnimatedImageView(QWidget* parent)
    : QWidget(parent)
    , m_timer(new QTimer(this)) {
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, &AnimatedImageView::advance);
}

void AnimatedImageView::setAnimationImages(const QList<QImage>& frames) {
    stopAnimating();
    m_frames = frames;
    update();
}

void AnimatedImageView::setAnimationDuration(double seconds) {
    m_duration = std::max(seconds, 0.0);
    updateTimer();
}

void AnimatedImageView::setAnimationRepeatCount(int count) {
    m_repeatCount = std::max(count, 0);
}

void AnimatedImageView::startAnimating() {
    if (m_frames.isEmpty())
        return;
    m_animating = true;
    m_frame = 0;
    m_clock.start();
    updateTimer();
    update();
}

void AnimatedImageView::stopAnimating() {
    m_animating = false;
    m_frame = 0;
    updateTimer();
    update();
}

QSize AnimatedImageView::sizeHint() const {
    if (m_frames.isEmpty())
        return {0, 0};
    return (QSizeF(m_frames.first().size()) / m_frames.first().devicePixelRatio()).toSize();
}

double AnimatedImageView::frameSeconds() const {
    if (m_frames.isEmpty() || m_duration <= 0)
        return defaultFrameSeconds;
    return m_duration / double(m_frames.size());
}

void AnimatedImageView::advance() {
    if (!m_animating || m_frames.isEmpty())
        return;
    const auto step = qint64(std::floor(double(m_clock.elapsed()) / 1000.0 / frameSeconds()));
    if (m_repeatCount > 0 && step >= qint64(m_repeatCount) * m_frames.size()) {
        stopAnimating();
        return;
    }
    const int frame = int(step % m_frames.size());
    if (frame != m_frame) {
        m_frame = frame;
        update();
    }
}

void AnimatedImageView::updateTimer() {
    if (m_animating && isVisible()) {
        // Half a frame keeps the frames within half a frame of the clock.
        m_timer->start(std::max(1, int(std::lround(frameSeconds() * 500.0))));
    } else {
        m_timer->stop();
    }
}

void AnimatedImageView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    advance();
    updateTimer();
}

void AnimatedImageView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    updateTimer();
}

void AnimatedImageView::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    if (m_frames.isEmpty())
        return;
    const QImage& frame = m_frames.at(m_frame);
    if (frame.isNull())
        return;
    const QSizeF points = QSizeF(frame.size()) / frame.devicePixelRatio();
    const QSizeF fitted = points.scaled(QSizeF(size()), Qt::KeepAspectRatio);
    const QRectF target(QPointF((width() - fitted.width()) / 2, (height() - fitted.height()) / 2),
                        fitted);
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, frame);
}

} // namespace tolvane
