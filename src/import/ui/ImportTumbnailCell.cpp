#include "ImportTumbnailCell.h"

#include "imaging/ImageDecoder.h"
#include "import/ImportEditorLayout.h"
#include "platform/Device.h"
#include "platform/ui/ImageView.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFutureWatcher>
#include <QImageReader>
#include <QMimeData>
#include <QPointer>
#include <QPromise>
#include <QThreadPool>
#include <QUrl>

#include <cmath>
#include <memory>

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
    QPointer<ImportTumbnailCell> self(this);
    QThreadPool::globalInstance()->start([self, path] {
        Result<QImage> decoded = ImageDecoder::decodeFile(path);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, decoded = std::move(decoded)] {
                if (!self)
                    return;
                if (decoded)
                    Q_EMIT self->imageDropped(*decoded);
                else
                    Q_EMIT self->dropRefused(decoded.errorText());
            },
            Qt::QueuedConnection);
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

    // The watcher belongs to the cell, so a result that arrives after the cell has gone is
    // dropped with it.
    auto promise = std::make_shared<QPromise<QImage>>();
    auto* watcher = new QFutureWatcher<QImage>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation != m_generation)
            return;
        const QFuture<QImage> future = watcher->future();
        m_imgView->setImage(future.resultCount() > 0 ? future.result() : QImage());
        m_loading = false;
        Q_EMIT artworkShown();
    });
    watcher->setFuture(promise->future());
    promise->start();
    QThreadPool::globalInstance()->start([promise, imageData, side] {
        promise->addResult(decodeForSquare(imageData, side));
        promise->finish();
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
