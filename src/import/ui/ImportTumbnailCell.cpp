#include "ImportTumbnailCell.h"

#include "import/ImportEditorLayout.h"
#include "platform/Device.h"
#include "platform/ui/ImageView.h"

#include <QBuffer>
#include <QImageReader>

#include <cmath>

namespace tolvane {

namespace {

// The image at no more pixels than a square of `side` pixels needs when it is filled.
QImage decodeForSquare(const QByteArray& bytes, qreal side) {
    if (bytes.isEmpty())
        return {};
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid() && side > 0) {
        const qreal factor = qMax(side / full.width(), side / full.height());
        if (factor < 1)
            reader.setScaledSize(QSize(qMax(1, int(std::ceil(full.width() * factor))),
                                       qMax(1, int(std::ceil(full.height() * factor)))));
    }
    return reader.read();
}

} // namespace

ImportTumbnailCell::ImportTumbnailCell(QWidget* parent)
    : TableViewCell(Style::Default, QStringLiteral("thumbnailCell"), parent)
    , m_imgContainer(new QWidget(contentView()))
    , m_imgView(new ImageView(m_imgContainer)) {
    setSelectionStyle(SelectionStyle::None);
    m_imgView->setContentMode(ImageView::ContentMode::ScaleAspectFill);
    m_imgView->setClipsToBounds(true);
}

void ImportTumbnailCell::setArtwork(const QByteArray& imageData) {
    if (m_decoded && imageData == m_artwork)
        return;
    m_artwork = imageData;
    m_decoded = true;
    const DeviceTraits& device = Device::current();
    const qreal scale = device.scale() > 0 ? device.scale() : devicePixelRatioF();
    QImage image =
        decodeForSquare(imageData, ImportEditorLayout::artworkSide(device.screenBounds()) * scale);
    m_imgView->setImage(image);
}

void ImportTumbnailCell::layoutSubviews() {
    TableViewCell::layoutSubviews();
    const QRect frame =
        ImportEditorLayout::artworkFrame(contentView()->width(), Device::current().screenBounds())
            .toRect();
    m_imgContainer->setGeometry(frame);
    m_imgView->setGeometry(QRect(QPoint(0, 0), frame.size()));
}

} // namespace tolvane
