#include "ImportTumbnailCell.h"

#include "imaging/ImageDecoder.h"
#include "import/ImportEditorLayout.h"
#include "platform/Device.h"
#include "platform/OffScreen.h"
#include "platform/ui/ImageView.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

#include <cmath>

namespace tolvane {

namespace {

// The image at no more pixels than a square of `side` pixels needs when it is filled.
QImage decodeForSquare(const QByteArray& bytes, qreal side) {
    if (bytes.isEmpty())
        return {};
    const int pixels = qMax(1, int(std::ceil(side)));
    return ImageDecoder::decode(bytes, ImageDecoder::Request::covering(
                                           QSize(pixels, pixels), ImageDecoder::Reduction::Exact))
        .valueOr({});
}

} // namespace

ImportTumbnailCell::ImportTumbnailCell(QWidget* parent)
    : TableViewCell(Style::Default, QStringLiteral("thumbnailCell"), parent)
    , m_imgContainer(new QWidget(contentView()))
    , m_imgView(new ImageView(m_imgContainer)) {
    setSelectionStyle(SelectionStyle::None);
    m_imgView->setContentMode(ImageView::ContentMode::ScaleAspectFill);
    m_imgView->setClipsToBounds(true);
    setAcceptDrops(true);
}

void ImportTumbnailCell::dragEnterEvent(QDragEnterEvent* event) {
    const QMimeData* carried = event->mimeData();
    const bool file = carried->hasUrls() && carried->urls().constFirst().isLocalFile();
    if (carried->hasImage() || file)
        event->acceptProposedAction();
}

void ImportTumbnailCell::dropEvent(QDropEvent* event) {
    const QMimeData* carried = event->mimeData();
    event->acceptProposedAction();
    if (carried->hasImage()) {
        const QImage image = qvariant_cast<QImage>(carried->imageData());
        if (image.isNull())
            Q_EMIT dropRefused(QStringLiteral("the dropped pixels cannot be read"));
        else
            Q_EMIT imageDropped(image);
        return;
    }
    const QList<QUrl> urls = carried->urls();
    if (urls.isEmpty() || !urls.constFirst().isLocalFile()) {
        Q_EMIT dropRefused(
            QStringLiteral("only an image file on this computer can be the artwork"));
        return;
    }
    // A photograph may be large: it is read and checked away from the screen.
    const QString path = urls.constFirst().toLocalFile();
    runOffScreen(
        this, [path] { return ImageDecoder::decodeFile(path); },
        [this](const Result<QImage>& decoded) {
            if (decoded)
                Q_EMIT imageDropped(*decoded);
            else
                Q_EMIT dropRefused(decoded.errorText());
        });
}

void ImportTumbnailCell::setArtwork(const QByteArray& imageData) {
    const bool same = m_decoded && imageData.size() == m_artwork.size() &&
                      (imageData.constData() == m_artwork.constData() || imageData == m_artwork);
    if (same)
        return;
    m_artwork = imageData;
    m_decoded = true;
    const quint64 generation = ++m_generation;
    m_imgView->setImage(QImage());
    if (imageData.isEmpty()) {
        m_loading = false;
        Q_EMIT artworkShown();
        return;
    }
    m_loading = true;
    const DeviceTraits& device = Device::current();
    const qreal scale = device.scale() > 0 ? device.scale() : devicePixelRatioF();
    const qreal side = ImportEditorLayout::artworkSide(device.screenBounds()) * scale;

    // A decode for artwork set before is no longer wanted; one that arrives after the cell has
    // gone is dropped with it.
    m_decoding.cancel();
    m_decoding = runOffScreen(
        this, [imageData, side] { return decodeForSquare(imageData, side); },
        [this, generation](const QImage& image) {
            if (generation != m_generation)
                return;
            m_imgView->setImage(image);
            m_loading = false;
            Q_EMIT artworkShown();
        });
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
