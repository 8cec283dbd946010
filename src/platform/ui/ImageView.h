#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QWidget>

namespace tolvane {

// Shows one image inside its rectangle: stretched to fill it, fitted inside it with its
// proportions kept (letter-boxed in the background colour), or filling it with its proportions
// kept and cut at the edges. The scaled picture is made once per image, size and mode and kept,
// so repaints only copy it. Alpha and scale are painted properties that screens animate.
class ImageView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qreal alpha READ alpha WRITE setAlpha)
    Q_PROPERTY(qreal scale READ scale WRITE setScale)
public:
    enum class ContentMode { ScaleToFill, ScaleAspectFit, ScaleAspectFill };
    Q_ENUM(ContentMode)

    explicit ImageView(QWidget* parent = nullptr);
    explicit ImageView(const QImage& image, QWidget* parent = nullptr);

    QImage image() const { return m_image; }
    // A null image shows only the background.
    void setImage(const QImage& image);

    ContentMode contentMode() const { return m_contentMode; }
    void setContentMode(ContentMode mode);

    // Whether the picture is cut at the view's edges. A widget never paints outside its own
    // rectangle, so it is cut there either way; the setting is kept for screens that state it.
    bool clipsToBounds() const { return m_clipsToBounds; }
    void setClipsToBounds(bool clips);

    // Clear (the default) paints nothing behind the picture.
    QColor backgroundColor() const { return m_background; }
    void setBackgroundColor(const QColor& colour);

    // Opacity of the whole view, 0 to 1.
    qreal alpha() const { return m_alpha; }
    void setAlpha(qreal alpha);
    // A uniform scale about the view's centre, as a transform would give; 1 is the identity.
    qreal scale() const { return m_scale; }
    void setScale(qreal scale);

    // Where the picture lands in the view's coordinates for the current size and mode, before
    // the scale; empty without an image.
    QRectF imageRect() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The part of the image that is shown and the rectangle it is drawn into.
    struct Placement {
        QRectF source;
        QRectF target;
    };
    Placement placement() const;
    const QPixmap& scaledPixmap(const Placement& placement);

    QImage m_image;
    ContentMode m_contentMode = ContentMode::ScaleToFill;
    bool m_clipsToBounds = false;
    QColor m_background = Qt::transparent;
    qreal m_alpha = 1;
    qreal m_scale = 1;

    QPixmap m_scaled;
    QSize m_scaledFor;
    QRectF m_scaledSource;
};

} // namespace tolvane
