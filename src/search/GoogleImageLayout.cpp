#include "GoogleImageLayout.h"

#include "search/CollectionViewSource.h"

#include <algorithm>
#include <cmath>

namespace tolvane {

GoogleImageLayout::GoogleImageLayout(QObject* parent)
    : QObject(parent) {
    setup();
}

void GoogleImageLayout::setup() {
    setItemInsets({1, 1, 1, 1});
    setInterItemSpacingY(1);
    setNumberOfColumns(2);
}

void GoogleImageLayout::setCollectionView(const CollectionViewSource* view) {
    m_view = view;
}

void GoogleImageLayout::setItemInsets(const EdgeInsets& insets) {
    if (insets == m_itemInsets)
        return;
    m_itemInsets = insets;
    invalidateLayout();
}

void GoogleImageLayout::setItemSize(const QSizeF& size) {
    // Exact comparison: QSizeF's own operator is fuzzy.
    if (size.width() == m_itemSize.width() && size.height() == m_itemSize.height())
        return;
    m_itemSize = size;
    invalidateLayout();
}

void GoogleImageLayout::setInterItemSpacingY(qreal spacing) {
    if (spacing == m_interItemSpacingY)
        return;
    m_interItemSpacingY = spacing;
    invalidateLayout();
}

void GoogleImageLayout::setNumberOfColumns(int columns) {
    if (columns == m_numberOfColumns)
        return;
    m_numberOfColumns = columns;
    invalidateLayout();
}

void GoogleImageLayout::setLayoutInfo(const LayoutInfo& info) {
    m_layoutInfo = info;
    indexTable();
}

void GoogleImageLayout::invalidateLayout() {
    Q_EMIT layoutInvalidated();
}

int GoogleImageLayout::columnsForArithmetic() const {
    // A grid has at least one column; a smaller count would divide by zero.
    return std::max(1, m_numberOfColumns);
}

void GoogleImageLayout::prepareLayout() {
    CellTable cells;
    const int sections = m_view ? m_view->numberOfSections() : 0;
    cells.reserve(sections);
    for (int section = 0; section < sections; ++section) {
        const int items = m_view->numberOfItemsInSection(section);
        for (int item = 0; item < items; ++item) {
            const IndexPath path{item, section};
            cells.insert(path, LayoutAttributes{path, frameForAlbumPhotoAtIndexPath(path)});
        }
    }
    LayoutInfo info;
    info.insert(photoCellKind(), std::move(cells));
    setLayoutInfo(info);
}

QRectF GoogleImageLayout::frameForAlbumPhotoAtIndexPath(IndexPath indexPath) const {
    const int columns = columnsForArithmetic();
    const qreal width = m_view ? m_view->bounds().width() : 0;
    const int row = indexPath.section / columns;
    const int column = indexPath.section - row * columns;

    qreal gapX = width - m_itemInsets.left - m_itemInsets.right - columns * m_itemSize.width();
    if (columns >= 2)
        gapX /= columns - 1;

    // x is floored in single precision and y in double precision, as the grid always was;
    // for large offsets the two can differ by a point.
    const float xSingle =
        static_cast<float>(m_itemInsets.left + column * (m_itemSize.width() + gapX));
    const qreal x = static_cast<qreal>(std::floor(xSingle));
    const qreal y =
        std::floor(m_itemInsets.top + row * (m_itemSize.height() + m_interItemSpacingY));
    return {x, y, m_itemSize.width(), m_itemSize.height()};
}

QSizeF GoogleImageLayout::collectionViewContentSize() const {
    const int columns = columnsForArithmetic();
    const int sections = m_view ? m_view->numberOfSections() : 0;
    const int rows = sections / columns + (sections % columns ? 1 : 0);
    const qreal height = m_itemInsets.top + rows * m_itemSize.height() +
                         (rows - 1) * m_interItemSpacingY + m_itemInsets.bottom;
    return {m_view ? m_view->bounds().width() : 0, height};
}

void GoogleImageLayout::indexTable() {
    m_byTop.clear();
    m_tallest = 0;
    for (const CellTable& cells : std::as_const(m_layoutInfo)) {
        m_byTop.reserve(m_byTop.size() + cells.size());
        for (const LayoutAttributes& attributes : cells) {
            m_byTop.append(attributes);
            m_tallest = std::max(m_tallest, attributes.frame.height());
        }
    }
    const auto byTop = [](const LayoutAttributes& a, const LayoutAttributes& b) {
        return a.frame.y() < b.frame.y() ||
               (a.frame.y() == b.frame.y() && a.indexPath < b.indexPath);
    };
    std::sort(m_byTop.begin(), m_byTop.end(), byTop);
}

QList<LayoutAttributes>
GoogleImageLayout::layoutAttributesForElementsInRect(const QRectF& rect) const {
    QList<LayoutAttributes> found;
    if (m_byTop.isEmpty())
        return found;
    // A frame whose top lies a full cell height above the rectangle cannot reach into it.
    const qreal lowestTop = rect.top() - m_tallest;
    auto it = std::upper_bound(
        m_byTop.cbegin(), m_byTop.cend(), lowestTop,
        [](qreal top, const LayoutAttributes& attributes) { return top < attributes.frame.y(); });
    for (; it != m_byTop.cend() && it->frame.y() < rect.bottom(); ++it) {
        if (it->frame.intersects(rect))
            found.append(*it);
    }
    return found;
}

std::optional<LayoutAttributes>
GoogleImageLayout::layoutAttributesForItemAtIndexPath(IndexPath indexPath) const {
    const auto kind = m_layoutInfo.constFind(photoCellKind());
    if (kind == m_layoutInfo.cend())
        return std::nullopt;
    const auto cell = kind->constFind(indexPath);
    if (cell == kind->cend())
        return std::nullopt;
    return *cell;
}

bool GoogleImageLayout::shouldInvalidateLayoutForBoundsChange(const QRectF& newBounds) const {
    const QRectF current = m_view ? m_view->bounds() : QRectF();
    return newBounds.width() != current.width() || newBounds.height() != current.height();
}

GoogleImageLayout::Configuration
GoogleImageLayout::configurationForOrientation(InterfaceOrientation orientation, Idiom idiom,
                                               QSizeF screen) {
    const qreal longer = std::max(screen.width(), screen.height());
    const qreal shorter = std::min(screen.width(), screen.height());
    int columns = 3;
    qreal span = shorter;
    if (isLandscape(orientation)) {
        columns = 4;
        span = longer;
    } else if (idiom == Idiom::Pad) {
        columns = 4;
    }
    const qreal reserved = static_cast<qreal>(static_cast<float>(columns + 1));
    return {columns, std::floor((span - reserved) / columns)};
}

} // namespace tolvane
