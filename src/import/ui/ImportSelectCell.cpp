#include "ImportSelectCell.h"

#include "import/ImportEditorLayout.h"
#include "platform/Device.h"
#include "platform/ui/ImageView.h"

#include <QLabel>
#include <QPixmap>

namespace tolvane {

ImportSelectCell::ImportSelectCell(QWidget* parent)
    : TableViewCell(Style::Default, QStringLiteral("SelectCell"), parent)
    , m_imgView(new ImageView(contentView()))
    , m_title(new QLabel(contentView())) {
    setSelectionStyle(SelectionStyle::Gray);
    setAccessoryType(AccessoryType::DisclosureIndicator);
    textLabel()->hide();
    m_imgView->setContentMode(ImageView::ContentMode::ScaleAspectFit);
    m_title->setFont(titleFont());
    m_title->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    QPalette palette = m_title->palette();
    palette.setColor(QPalette::WindowText, titleColour());
    m_title->setPalette(palette);
}

QFont ImportSelectCell::titleFont() {
    QFont font;
    font.setPixelSize(int(ImportEditorLayout::selectFontSize(Device::current().isPad())));
    font.setBold(true);
    return font;
}

QColor ImportSelectCell::titleColour() {
    return QColor::fromRgbF(0, 0, 0, 0.8f);
}

void ImportSelectCell::setImage(const QPixmap& image) {
    m_imgView->setImage(image.toImage());
}

void ImportSelectCell::setTitle(const QString& text) {
    m_title->setText(text);
}

void ImportSelectCell::layoutSubviews() {
    TableViewCell::layoutSubviews();
    // Measured against the whole cell, as the rows are laid out on the device.
    const QSizeF cell = size();
    m_imgView->setGeometry(ImportEditorLayout::selectImageFrame(cell).toRect());
    QRect title = ImportEditorLayout::selectTitleFrame(cell).toRect();
    title.setRight(qMin(title.right(), contentView()->width() - 1));
    m_title->setGeometry(title);
}

} // namespace tolvane
