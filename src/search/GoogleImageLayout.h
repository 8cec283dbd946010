#pragma once

#include "platform/Device.h"
#include "search/EdgeInsets.h"
#include "search/InterfaceOrientation.h"
#include "search/LayoutAttributes.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSizeF>
#include <QString>

#include <optional>

namespace tolvane {

class CollectionViewSource;

// The results grid's layout: square cells in a fixed number of columns, placed by their
// section number (one result per section), with the horizontal gap being whatever the width
// leaves over. Each pass builds the whole table of frames from scratch; the view's questions
// are answered from that table.
class GoogleImageLayout : public QObject {
    Q_OBJECT
public:
    using CellTable = QHash<IndexPath, LayoutAttributes>;
    // Cell kind -> (index path -> attributes); the only kind is photoCellKind().
    using LayoutInfo = QHash<QString, CellTable>;

    // Columns and the side of the square cells for one orientation and device.
    struct Configuration {
        int numberOfColumns = 0;
        qreal side = 0;
        friend bool operator==(const Configuration&, const Configuration&) = default;
    };

    explicit GoogleImageLayout(QObject* parent = nullptr);

    static QString photoCellKind() { return QStringLiteral("PhotoCell"); }

    // Insets 1, 1, 1, 1, row spacing 1 and two columns, each through its setter.
    void setup();

    // The view being laid out; not owned. Without one the width and the section count are 0.
    const CollectionViewSource* collectionView() const { return m_view; }
    void setCollectionView(const CollectionViewSource* view);

    // The setters invalidate the layout only when the value really changes.
    EdgeInsets itemInsets() const { return m_itemInsets; }
    void setItemInsets(const EdgeInsets& insets);
    QSizeF itemSize() const { return m_itemSize; }
    void setItemSize(const QSizeF& size);
    qreal interItemSpacingY() const { return m_interItemSpacingY; }
    void setInterItemSpacingY(qreal spacing);
    int numberOfColumns() const { return m_numberOfColumns; }
    void setNumberOfColumns(int columns);
    const LayoutInfo& layoutInfo() const { return m_layoutInfo; }
    // Only stores the table; nothing is invalidated.
    void setLayoutInfo(const LayoutInfo& info);

    // Tells the view that the next pass must call prepareLayout() again.
    void invalidateLayout();

    void prepareLayout();
    QRectF frameForAlbumPhotoAtIndexPath(IndexPath indexPath) const;
    QSizeF collectionViewContentSize() const;
    // The attributes of the table whose frames intersect the rectangle, in no set order.
    QList<LayoutAttributes> layoutAttributesForElementsInRect(const QRectF& rect) const;
    std::optional<LayoutAttributes> layoutAttributesForItemAtIndexPath(IndexPath indexPath) const;
    // True when the size changes; scrolling (a new origin only) keeps the layout.
    bool shouldInvalidateLayoutForBoundsChange(const QRectF& newBounds) const;

    // Landscape: 4 columns across the longer screen side; portrait, upside down or unknown:
    // 4 columns on a pad, else 3, across the shorter side. The side of a cell is
    // floor((L - (C + 1)) / C), leaving room for the outer insets and one-point gaps.
    static Configuration configurationForOrientation(InterfaceOrientation orientation, Idiom idiom,
                                                     QSizeF screen);

Q_SIGNALS:
    void layoutInvalidated();

private:
    int columnsForArithmetic() const;
    void indexTable();

    const CollectionViewSource* m_view = nullptr;
    EdgeInsets m_itemInsets;
    QSizeF m_itemSize{0, 0};
    qreal m_interItemSpacingY = 0;
    int m_numberOfColumns = 0;
    LayoutInfo m_layoutInfo;
    // The table's attributes sorted by their top edge, so that a rectangle query only looks
    // at the rows it can touch, however many results there are.
    QList<LayoutAttributes> m_byTop;
    qreal m_tallest = 0;
};

} // namespace tolvane
