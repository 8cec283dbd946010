#include "CollectionView.h"

#include "search/GoogleImageLayout.h"
#include "search/ui/CollectionViewCell.h"
#include "search/ui/CollectionViewDataSource.h"
#include "search/ui/CollectionViewDelegate.h"

#include <QMouseEvent>
#include <QScrollBar>

#include <cmath>

namespace tolvane {

CollectionView::CollectionView(GoogleImageLayout* layout, QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_layout(layout ? layout : new GoogleImageLayout) {
    setFrameShape(QFrame::NoFrame);
    // The layout spreads the cells over the whole width, so no scroll bar may take from it;
    // the wheel still scrolls.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(20);
    viewport()->setAutoFillBackground(true);
    m_layout->setParent(this);
    m_layout->setCollectionView(this);
    connect(m_layout, &GoogleImageLayout::layoutInvalidated, this, &CollectionView::invalidated);
    m_bounds = currentBounds();
}

CollectionView::~CollectionView() {
    disconnect(m_layout, nullptr, this, nullptr);
    m_layout->setCollectionView(nullptr);
}

void CollectionView::registerCellClass(const QString& identifier, CellFactory factory) {
    m_factories.insert(identifier, std::move(factory));
}

CollectionViewCell*
CollectionView::dequeueReusableCellWithReuseIdentifier(const QString& identifier, IndexPath path) {
    CollectionViewCell* cell = nullptr;
    QList<CollectionViewCell*>& kept = m_reusable[identifier];
    if (!kept.isEmpty()) {
        cell = kept.takeLast();
        cell->prepareForReuse();
    } else {
        const CellFactory factory = m_factories.value(identifier);
        if (!factory)
            return nullptr;
        cell = factory(viewport());
        if (!cell)
            return nullptr;
        cell->setParent(viewport());
        cell->m_reuseIdentifier = identifier;
    }
    cell->m_indexPath = path;
    return cell;
}

int CollectionView::numberOfItemsInSection(int section) const {
    return section >= 0 && section < m_itemCounts.size() ? m_itemCounts.at(section) : 0;
}

void CollectionView::reloadData() {
    m_needsReload = true;
    setNeedsLayout();
}

void CollectionView::invalidated() {
    m_needsPrepare = true;
    setNeedsLayout();
}

void CollectionView::setNeedsLayout() {
    if (m_layoutPending)
        return;
    // Several invalidations in a row make one pass.
    m_layoutPending = true;
    QMetaObject::invokeMethod(this, &CollectionView::layoutIfNeeded, Qt::QueuedConnection);
}

void CollectionView::layoutIfNeeded() {
    m_layoutPending = false;
    if (m_needsReload) {
        m_needsReload = false;
        m_needsPrepare = true;
        const QList<CollectionViewCell*> shown = m_visible.values();
        m_visible.clear();
        for (CollectionViewCell* cell : shown)
            enqueue(cell);
        m_itemCounts.clear();
        const int sections =
            m_dataSource ? m_dataSource->numberOfSectionsInCollectionView(this) : 0;
        m_itemCounts.reserve(qMax(0, sections));
        for (int section = 0; section < sections; ++section)
            m_itemCounts.append(qMax(0, m_dataSource->numberOfItemsInSection(this, section)));
    }
    if (m_needsPrepare) {
        m_needsPrepare = false;
        m_layout->prepareLayout();
        updateScrollRange();
    }
    updateVisibleCells();
    Q_EMIT didLayout();
}

QRectF CollectionView::currentBounds() const {
    return QRectF(QPointF(0, verticalScrollBar()->value()), QSizeF(viewport()->size()));
}

void CollectionView::updateScrollRange() {
    const qreal contentHeight = m_layout->collectionViewContentSize().height();
    const int range = qMax(0, int(std::ceil(contentHeight)) - viewport()->height());
    QScrollBar* bar = verticalScrollBar();
    bar->setPageStep(viewport()->height());
    bar->setRange(0, range);
}

void CollectionView::updateVisibleCells() {
    m_bounds = currentBounds();
    const QList<LayoutAttributes> wanted = m_layout->layoutAttributesForElementsInRect(m_bounds);
    QHash<IndexPath, QRectF> frames;
    frames.reserve(wanted.size());
    for (const LayoutAttributes& attributes : wanted)
        frames.insert(attributes.indexPath, attributes.frame);

    for (auto it = m_visible.begin(); it != m_visible.end();) {
        if (frames.contains(it.key())) {
            ++it;
            continue;
        }
        enqueue(it.value());
        it = m_visible.erase(it);
    }
    const QPointF origin = m_bounds.topLeft();
    for (const LayoutAttributes& attributes : wanted) {
        CollectionViewCell* cell = m_visible.value(attributes.indexPath);
        if (!cell) {
            if (!m_dataSource)
                break;
            cell = m_dataSource->cellForItemAtIndexPath(this, attributes.indexPath);
            if (!cell)
                continue;
            cell->m_indexPath = attributes.indexPath;
            m_visible.insert(attributes.indexPath, cell);
        }
        cell->setGeometry(attributes.frame.translated(-origin).toRect());
        cell->show();
    }
}

void CollectionView::enqueue(CollectionViewCell* cell) {
    cell->hide();
    m_reusable[cell->m_reuseIdentifier].append(cell);
}

CollectionViewCell* CollectionView::cellForItemAtIndexPath(IndexPath path) const {
    return m_visible.value(path);
}

QList<CollectionViewCell*> CollectionView::visibleCells() const {
    return m_visible.values();
}

std::optional<IndexPath>
CollectionView::indexPathForItemAtPoint(const QPoint& viewportPoint) const {
    for (auto it = m_visible.cbegin(); it != m_visible.cend(); ++it) {
        if (it.value()->geometry().contains(viewportPoint))
            return it.key();
    }
    return std::nullopt;
}

int CollectionView::numberOfCellWidgets() const {
    return int(viewport()->findChildren<CollectionViewCell*>(Qt::FindDirectChildrenOnly).size());
}

void CollectionView::setContentOffset(const QPointF& offset) {
    verticalScrollBar()->setValue(int(std::lround(offset.y())));
}

QPointF CollectionView::contentOffset() const {
    return m_bounds.topLeft();
}

void CollectionView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    const QRectF next = currentBounds();
    if (m_layout->shouldInvalidateLayoutForBoundsChange(next))
        m_needsPrepare = true;
    m_bounds = next;
    layoutIfNeeded();
}

void CollectionView::scrollContentsBy(int, int) {
    updateVisibleCells();
}

void CollectionView::mousePressEvent(QMouseEvent* event) {
    m_pressed = indexPathForItemAtPoint(event->position().toPoint());
    event->accept();
}

void CollectionView::mouseReleaseEvent(QMouseEvent* event) {
    const std::optional<IndexPath> released = indexPathForItemAtPoint(event->position().toPoint());
    const std::optional<IndexPath> pressed = std::exchange(m_pressed, std::nullopt);
    event->accept();
    if (!released || released != pressed)
        return;
    const CollectionViewCell* cell = m_visible.value(*released);
    if (cell && cell->isUserInteractionEnabled() && m_delegate)
        m_delegate->didSelectItemAtIndexPath(this, *released);
}

} // namespace tolvane
