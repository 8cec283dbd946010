#include "TestSupport.h"
#include "search/GoogleImageLayout.h"
#include "search/ui/CollectionView.h"
#include "search/ui/CollectionViewCell.h"
#include "search/ui/CollectionViewDataSource.h"
#include "search/ui/CollectionViewDelegate.h"

#include <QScrollBar>
#include <QTest>

#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// A grid of numbered results that counts the cells it was asked for and the taps it got.
class Results final : public CollectionViewDataSource, public CollectionViewDelegate {
public:
    explicit Results(int count)
        : m_count(count) {}

    int numberOfSectionsInCollectionView(CollectionView*) override { return m_count; }
    int numberOfItemsInSection(CollectionView*, int) override { return 1; }
    CollectionViewCell* cellForItemAtIndexPath(CollectionView* view, IndexPath path) override {
        ++cellRequests;
        return view->dequeueReusableCellWithReuseIdentifier(s("Cell"), path);
    }
    void didSelectItemAtIndexPath(CollectionView*, IndexPath path) override {
        selected.append(path.section);
    }

    int cellRequests = 0;
    QList<int> selected;

private:
    int m_count;
};

struct Grid {
    std::unique_ptr<CollectionView> view;
    std::unique_ptr<Results> results;
};

// A 320 x 504 grid of three 105-point columns, as on a small phone.
Grid makeGrid(int count) {
    Grid grid{std::make_unique<CollectionView>(new GoogleImageLayout),
              std::make_unique<Results>(count)};
    grid.view->registerClass<CollectionViewCell>(s("Cell"));
    grid.view->setDataSource(grid.results.get());
    grid.view->setDelegate(grid.results.get());
    grid.view->collectionViewLayout()->setNumberOfColumns(3);
    grid.view->collectionViewLayout()->setItemSize(QSizeF(105, 105));
    grid.view->resize(320, 504);
    grid.view->show();
    grid.view->reloadData();
    grid.view->layoutIfNeeded();
    return grid;
}

QList<int> visibleSections(const CollectionView& view) {
    QList<int> sections;
    for (const CollectionViewCell* cell : view.visibleCells()) {
        if (cell->isVisible() && view.viewport()->rect().intersects(cell->geometry()))
            sections.append(cell->indexPath().section);
    }
    std::sort(sections.begin(), sections.end());
    return sections;
}

} // namespace

class TestSearchUi : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gridMakesOnlyVisibleCells_data();
    void gridMakesOnlyVisibleCells();
    void gridTaps();
    void gridFollowsLayoutChanges();
};

void TestSearchUi::gridMakesOnlyVisibleCells_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("rows");

    QTest::newRow("20 results") << 20 << 7;
    QTest::newRow("2000 results") << 2000 << 667;
}

void TestSearchUi::gridMakesOnlyVisibleCells() {
    QFETCH(int, count);
    QFETCH(int, rows);

    Grid grid = makeGrid(count);
    CollectionView& view = *grid.view;
    QCOMPARE(visibleSections(view), (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
    QCOMPARE(view.cellForItemAtIndexPath({0, 4})->geometry(), QRect(107, 107, 105, 105));
    // The content is as tall as the rows; the view scrolls over all of it.
    QCOMPARE(view.verticalScrollBar()->maximum(), 1 + rows * 106 - 1 + 1 - 504);

    // Scrolled to the end a screenful at a time: no more widgets than one screen needs.
    int widgets = 0;
    for (int top = 0; top <= view.verticalScrollBar()->maximum(); top += 250) {
        view.setContentOffset(QPointF(0, top));
        widgets = std::max(widgets, view.numberOfCellWidgets());
    }
    view.setContentOffset(QPointF(0, view.verticalScrollBar()->maximum()));
    QVERIFY2(widgets <= 21, qPrintable(QString::number(widgets)));
    QVERIFY(visibleSections(view).contains(count - 1));
    const CollectionViewCell* last = view.cellForItemAtIndexPath({0, count - 1});
    QCOMPARE(last->geometry().bottom() + 1, view.viewport()->height() - 1);
}

void TestSearchUi::gridTaps() {
    Grid grid = makeGrid(20);
    CollectionView& view = *grid.view;
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(150, 150));
    QCOMPARE(grid.results->selected, QList<int>{4});
    // Between cells there is nothing to tap.
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(106, 50));
    QCOMPARE(grid.results->selected, QList<int>{4});
    // A cell that does not accept touches is not selected.
    view.cellForItemAtIndexPath({0, 4})->setUserInteractionEnabled(false);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(150, 150));
    QCOMPARE(grid.results->selected, QList<int>{4});
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, QPoint(10, 10));
    QCOMPARE(grid.results->selected, (QList<int>{4, 0}));
}

void TestSearchUi::gridFollowsLayoutChanges() {
    Grid grid = makeGrid(20);
    CollectionView& view = *grid.view;
    const int requests = grid.results->cellRequests;

    // A scroll without a size change keeps the cells that stay in sight.
    view.setContentOffset(QPointF(0, 106));
    QCOMPARE(grid.results->cellRequests, requests + 3);

    // Several changes of the layout make one pass, with the cells in their new places.
    GoogleImageLayout* layout = view.collectionViewLayout();
    layout->setNumberOfColumns(4);
    layout->setItemSize(QSizeF(78, 78));
    QCOMPARE(view.cellForItemAtIndexPath({0, 4})->geometry(), QRect(107, 1, 105, 105));
    // Five rows of 78 fit: the grid no longer scrolls.
    QTRY_COMPARE(view.cellForItemAtIndexPath({0, 4})->geometry().topLeft(), QPoint(1, 80));

    // Wider: the layout is prepared again for the new width.
    view.setContentOffset(QPointF(0, 0));
    view.resize(400, 504);
    QCOMPARE(view.cellForItemAtIndexPath({0, 3})->geometry(), QRect(321, 1, 78, 78));
}

QTEST_MAIN(TestSearchUi)
#include "tst_searchui.moc"
