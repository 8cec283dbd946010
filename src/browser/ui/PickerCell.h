#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QStyledItemDelegate>

namespace tolvane {

// Draws one row of a folder listing: the type icon, the title (enabled or greyed) and, for a
// folder, the disclosure arrow, on the cell's light background. Rows are painted, not made of
// widgets, so that a folder of any size opens at once. Images are read once per listing.
class PickerCell : public QStyledItemDelegate {
    Q_OBJECT
public:
    struct Frames {
        QRect imgView;
        QRect accessoryImgView;
        QRect title;
    };

    explicit PickerCell(QObject* parent = nullptr);

    // Where the three parts go in a cell of this size.
    static Frames layout(QSize cell, bool pad);
    static int rowHeight(bool pad) { return pad ? 64 : 44; }
    static QFont titleFont(bool pad);
    static QColor titleColor(bool enabled);
    static QColor contentBackground() { return QColor(248, 248, 248); }
    static QColor selectedBackground() { return QColor(217, 217, 217); }
    // The ring around the keyboard's current row.
    static QColor focusColour() { return QColor(10, 100, 220); }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // Forgets the images read so far (the files may have changed).
    void clearImages() { m_images.clear(); }

private:
    QImage image(const QString& name, const QString& folder) const;

    mutable QHash<QString, QImage> m_images;
};

} // namespace tolvane
