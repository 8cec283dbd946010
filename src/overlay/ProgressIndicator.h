#pragma once

#include <QColor>
#include <QWidget>

namespace tolvane {

// The overlay's indicators for a known amount of progress: a filling pie, a ring that closes,
// or a horizontal bar.
class ProgressIndicator : public QWidget {
    Q_OBJECT
public:
    enum class Style { Pie, Annular, Bar };

    explicit ProgressIndicator(Style style, QWidget* parent = nullptr);

    Style style() const { return m_style; }
    // 0 to 1; values outside are clamped.
    float progress() const { return m_progress; }
    void setProgress(float progress);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintRound(QPainter& painter) const;
    void paintBar(QPainter& painter) const;

    Style m_style;
    float m_progress = 0;
    QColor m_color = Qt::white;
};

} // namespace tolvane
