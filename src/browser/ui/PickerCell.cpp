#include "PickerCell.h"

#include "browser/DirectoryListModel.h"
#include "imaging/THEOSImage.h"
#include "platform/Device.h"
#include "platform/Paths.h"

#include <QPainter>

namespace tolvane {

namespace {

const QString accessoryImage = QStringLiteral("accessory.png");

// The image scaled to fit the frame, centred in it.
void drawAspectFit(QPainter* painter, const QRect& frame, const QImage& image) {
    if (image.isNull() || frame.isEmpty())
        return;
    const QSizeF points = image.deviceIndependentSize();
    const QSizeF fitted = points.scaled(frame.size(), Qt::KeepAspectRatio);
    const QRectF target(frame.x() + (frame.width() - fitted.width()) / 2,
                        frame.y() + (frame.height() - fitted.height()) / 2, fitted.width(),
                        fitted.height());
    painter->drawImage(target, image);
}

} // namespace

PickerCell::PickerCell(QObject* parent)
    : QStyledItemDelegate(parent) {}

PickerCell::Frames PickerCell::layout(QSize cell, bool pad) {
    const int w = cell.width();
    const int h = cell.height();
    Frames frames;
    frames.imgView = QRect(pad ? 15 : 5, 5, h - 10, h - 10);
    frames.accessoryImgView = QRect(w - 20, (h - 17) / 2, 20, 17);
    const int titleX = frames.imgView.x() + frames.imgView.width() + (pad ? 15 : 10);
    frames.title = QRect(titleX, (h - 20) / 2, w - titleX - 25, 20);
    return frames;
}

QFont PickerCell::titleFont(bool pad) {
    QFont font;
    font.setPixelSize(pad ? 18 : 16);
    return font;
}

QColor PickerCell::titleColor(bool enabled) {
    return enabled ? QColor::fromRgbF(0, 0, 0, 0.8f) : QColor::fromRgbF(0, 0, 0, 0.3f);
}

QImage PickerCell::image(const QString& name, const QString& folder) const {
    const QString key = folder + QLatin1Char('/') + name;
    const auto found = m_images.constFind(key);
    if (found != m_images.cend())
        return *found;
    const QImage loaded = THEOSImage::imageWithName(name, folder);
    m_images.insert(key, loaded);
    return loaded;
}

void PickerCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                       const QModelIndex& index) const {
    const bool pad = Device::current().isPad();
    const QRect cell = option.rect;
    painter->save();
    const bool selected = option.state & (QStyle::State_Selected | QStyle::State_Sunken);
    painter->fillRect(cell, selected ? selectedBackground() : contentBackground());
    painter->translate(cell.topLeft());

    const Frames frames = layout(cell.size(), pad);
    const bool isDir = index.data(DirectoryListModel::IsDirRole).toBool();
    drawAspectFit(
        painter, frames.imgView,
        image(index.data(DirectoryListModel::IconFileRole).toString(), Paths::iconsFolder()));
    if (isDir)
        drawAspectFit(painter, frames.accessoryImgView,
                      image(accessoryImage, Paths::imagesFolder()));

    const QVariant enabled = index.data(DirectoryListModel::EnabledRole);
    painter->setFont(titleFont(pad));
    painter->setPen(titleColor(enabled.toBool()));
    // A name may hold line breaks; the row shows it on one line.
    QString title = index.data(Qt::DisplayRole).toString();
    title.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
    painter->drawText(
        frames.title, Qt::AlignLeft | Qt::AlignVCenter,
        painter->fontMetrics().elidedText(title, Qt::ElideMiddle, frames.title.width()));
    // The hairline between rows, from under the title to the edge.
    painter->fillRect(
        QRect(frames.title.x(), cell.height() - 1, cell.width() - frames.title.x(), 1),
        QColor(200, 199, 204));
    // The keyboard's current row is always marked, selected or not.
    if (option.state & QStyle::State_HasFocus) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(focusColour(), 2));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(2, 2, cell.width() - 4, cell.height() - 4), 4, 4);
    }
    painter->restore();
}

QSize PickerCell::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return QSize(option.rect.width(), rowHeight(Device::current().isPad()));
}

} // namespace tolvane
