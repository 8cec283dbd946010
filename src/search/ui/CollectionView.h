#pragma once

#include "search/CollectionViewSource.h"
#include "search/IndexPath.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QList>
#include <QPointer>

#include <functional>
#include <optional>

namespace tolvane {

class CollectionViewCell;
class CollectionViewDataSource;
class CollectionViewDelegate;
class GoogleImageLayout;

// A vertically scrolling grid of cells placed where its layout says. Only the cells that
// intersect the visible rectangle exist as widgets; cells that scroll out are kept for reuse,
// so a grid of thousands of results costs no more to scroll than one screenful.
//
// The view owns its layout and its cells. The data source and the delegate are not owned;
// they must outlive the view or be cleared first.
class CollectionView : public QAbstractScrollArea, public CollectionViewSource {
    Q_OBJECT
public:
    using CellFactory = std::function<CollectionViewCell*(QWidget* parent)>;

    // Takes ownership of the layout.
    explicit CollectionView(GoogleImageLayout* layout, QWidget* parent = nullptr);
    ~CollectionView() override;

    GoogleImageLayout* collectionViewLayout() const { return m_layout; }
    void setDataSource(CollectionViewDataSource* dataSource) { m_dataSource = dataSource; }
    void setDelegate(CollectionViewDelegate* delegate) { m_delegate = delegate; }

    // The factory that makes new cells for an identifier.
    void registerCellClass(const QString& identifier, CellFactory factory);
    template <typename Cell>
    void registerClass(const QString& identifier) {
        registerCellClass(identifier, [](QWidget* parent) { return new Cell(parent); });
    }
    // A cell kept for reuse under the identifier, or a new one; null for an unknown identifier.
    CollectionViewCell* dequeueReusableCellWithReuseIdentifier(const QString& identifier,
                                                               IndexPath path);

    // Asks the data source again for everything and lays the grid out anew.
    void reloadData();
    // Runs a pending layout pass now: prepares the layout if it was invalidated, then brings
    // the visible cells up to date.
    void layoutIfNeeded();

    // The cell shown for the path, or null when it is not on screen.
    CollectionViewCell* cellForItemAtIndexPath(IndexPath path) const;
    QList<CollectionViewCell*> visibleCells() const;
    std::optional<IndexPath> indexPathForItemAtPoint(const QPoint& viewportPoint) const;
    // Every cell widget the view holds, shown or kept for reuse.
    int numberOfCellWidgets() const;

    // Scrolls so that the content point is at the top left of the view.
    void setContentOffset(const QPointF& offset);
    QPointF contentOffset() const;

    // CollectionViewSource: the visible rectangle and the data source's counts as last read.
    QRectF bounds() const override { return m_bounds; }
    int numberOfSections() const override { return int(m_itemCounts.size()); }
    int numberOfItemsInSection(int section) const override;

Q_SIGNALS:
    // After a layout pass has placed the cells.
    void didLayout();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void setNeedsLayout();
    void invalidated();
    void updateScrollRange();
    void updateVisibleCells();
    void enqueue(CollectionViewCell* cell);
    QRectF currentBounds() const;

    GoogleImageLayout* m_layout;
    CollectionViewDataSource* m_dataSource = nullptr;
    CollectionViewDelegate* m_delegate = nullptr;
    QHash<QString, CellFactory> m_factories;
    QHash<QString, QList<CollectionViewCell*>> m_reusable;
    QHash<IndexPath, CollectionViewCell*> m_visible;
    QList<int> m_itemCounts;
    QRectF m_bounds;
    bool m_needsPrepare = true;
    bool m_needsReload = true;
    bool m_layoutPending = false;
    std::optional<IndexPath> m_pressed;
};

} // namespace tolvane
