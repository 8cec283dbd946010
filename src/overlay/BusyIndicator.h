#pragma once

#include <QColor>
#include <QWidget>

class QTimer;

namespace tolvane {

// The overlay's stock activity indicator: a ring of spokes whose brightness runs round once a
// second while the indicator is shown.
class BusyIndicator : public QWidget {
    Q_OBJECT
public:
    explicit BusyIndicator(QWidget* parent = nullptr);

    QColor color() const { return m_color; }
    void setColor(const QColor& color);

    QSize sizeHint() const override { return {37, 37}; }

    static constexpr int spokeCount = 12;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QColor m_color = Qt::white;
    int m_leadingSpoke = 0;
    QTimer* m_timer;
};

} // namespace tolvane
