#pragma once

#include <QAbstractButton>
#include <QPixmap>

namespace tolvane {

// A button drawn entirely by its two images: one at rest, one while held down.
class ImageButton : public QAbstractButton {
    Q_OBJECT
public:
    explicit ImageButton(QWidget* parent = nullptr);

    void setNormalImage(const QPixmap& image);
    void setHighlightedImage(const QPixmap& image);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_normal;
    QPixmap m_highlighted;
};

} // namespace tolvane
