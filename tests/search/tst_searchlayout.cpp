#include "search/CollectionViewSource.h"
#include "search/DetailViewLayout.h"
#include "search/GoogleImageLayout.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>

using namespace tolvane;

namespace {

// The grid reduced to what the layout reads: a width and the cells per section.
class FakeGrid final : public CollectionViewSource {
public:
    FakeGrid(qreal width, int sections, int itemsPerSection = 1)
        : m_bounds(0, 0, width, 500)
        , m_sections(sections)
        , m_items(itemsPerSection) {}

    QRectF bounds() const override { return m_bounds; }
    int numberOfSections() const override { return m_sections; }
    int numberOfItemsInSection(int) const override { return m_items; }

private:
    QRectF m_bounds;
    int m_sections;
    int m_items;
};

// A layout as the results screen configures it: insets and spacing 1, square cells.
void configure(GoogleImageLayout& layout, const FakeGrid& grid, int columns, qreal side) {
    layout.setCollectionView(&grid);
    layout.setNumberOfColumns(columns);
    layout.setItemSize(QSizeF(side, side));
}

QList<int> sectionsOf(const QList<LayoutAttributes>& found) {
    QList<int> sections;
    for (const LayoutAttributes& attributes : found)
        sections.append(attributes.indexPath.section);
    std::sort(sections.begin(), sections.end());
    return sections;
}

} // namespace

class TestSearchLayout : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void setupDefaults();
    void frames_data();
    void frames();
    void contentSize_data();
    void contentSize();
    void elementsInRect_data();
    void elementsInRect();
    void itemsOfOneSectionShareAFrame();
    void tenThousandSections();
    void settersInvalidateOnlyOnChange();
    void boundsChange_data();
    void boundsChange();
    void configuration_data();
    void configuration();

    void detailView_data();
    void detailView();
    void panelSize_data();
    void panelSize();
};

void TestSearchLayout::setupDefaults() {
    const GoogleImageLayout layout;
    QCOMPARE(layout.itemInsets(), (EdgeInsets{1, 1, 1, 1}));
    QCOMPARE(layout.interItemSpacingY(), 1.0);
    QCOMPARE(layout.numberOfColumns(), 2);
    QCOMPARE(layout.itemSize(), QSizeF(0, 0));
    QVERIFY(layout.layoutInfo().isEmpty());
}

void TestSearchLayout::frames_data() {
    QTest::addColumn<qreal>("width");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QSizeF>("item");
    QTest::addColumn<qreal>("spacing");
    QTest::addColumn<int>("section");
    QTest::addColumn<QRectF>("frame");

    const QSizeF phone(105, 105);
    // A 320-point phone: gaps of 1.5 points, columns at 1, 107.5 and 214, rows 106 apart.
    QTest::newRow("first cell") << 320.0 << 3 << phone << 1.0 << 0 << QRectF(1, 1, 105, 105);
    QTest::newRow("column 1 floored")
        << 320.0 << 3 << phone << 1.0 << 1 << QRectF(107, 1, 105, 105);
    QTest::newRow("column 2") << 320.0 << 3 << phone << 1.0 << 2 << QRectF(214, 1, 105, 105);
    QTest::newRow("section 3 starts row 1")
        << 320.0 << 3 << phone << 1.0 << 3 << QRectF(1, 107, 105, 105);
    QTest::newRow("section 5 ends row 1")
        << 320.0 << 3 << phone << 1.0 << 5 << QRectF(214, 107, 105, 105);
    QTest::newRow("section 6 starts row 2")
        << 320.0 << 3 << phone << 1.0 << 6 << QRectF(1, 213, 105, 105);
    QTest::newRow("landscape phone, 4 columns")
        << 568.0 << 4 << QSizeF(140, 140) << 1.0 << 7 << QRectF(427, 142, 140, 140);
    QTest::newRow("one column: always the left inset")
        << 320.0 << 1 << phone << 1.0 << 4 << QRectF(1, 425, 105, 105);
    QTest::newRow("no columns counts as one")
        << 320.0 << 0 << phone << 1.0 << 2 << QRectF(1, 213, 105, 105);
    QTest::newRow("y floored in double precision")
        << 320.0 << 3 << QSizeF(10, 10) << 0.5 << 3 << QRectF(1, 11, 10, 10);
    // 1048576.97 is 1048577 in single precision: x lands a point right of a double floor.
    QTest::newRow("x floored in single precision")
        << 1048577.97 << 2 << QSizeF(0, 0) << 1.0 << 1 << QRectF(1048577, 1, 0, 0);
}

void TestSearchLayout::frames() {
    QFETCH(qreal, width);
    QFETCH(int, columns);
    QFETCH(QSizeF, item);
    QFETCH(qreal, spacing);
    QFETCH(int, section);
    QFETCH(QRectF, frame);

    FakeGrid grid(width, section + 1);
    GoogleImageLayout layout;
    layout.setCollectionView(&grid);
    layout.setNumberOfColumns(columns);
    layout.setItemSize(item);
    layout.setInterItemSpacingY(spacing);
    const IndexPath path{0, section};
    QCOMPARE(layout.frameForAlbumPhotoAtIndexPath(path), frame);

    layout.prepareLayout();
    const std::optional<LayoutAttributes> attributes =
        layout.layoutAttributesForItemAtIndexPath(path);
    QVERIFY(attributes);
    QCOMPARE(attributes->frame, frame);
    QVERIFY(!layout.layoutAttributesForItemAtIndexPath({0, section + 1}));
}

void TestSearchLayout::contentSize_data() {
    QTest::addColumn<int>("sections");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QSizeF>("size");

    QTest::newRow("10 results, 4 rows") << 10 << 3 << QSizeF(320, 1 + 420 + 3 + 1);
    QTest::newRow("9 results fill 3 rows") << 9 << 3 << QSizeF(320, 1 + 315 + 2 + 1);
    QTest::newRow("one result") << 1 << 3 << QSizeF(320, 1 + 105 + 1);
    QTest::newRow("none: insets less one spacing") << 0 << 3 << QSizeF(320, 1);
    QTest::newRow("one column") << 3 << 1 << QSizeF(320, 1 + 315 + 2 + 1);
}

void TestSearchLayout::contentSize() {
    QFETCH(int, sections);
    QFETCH(int, columns);
    QFETCH(QSizeF, size);

    FakeGrid grid(320, sections);
    GoogleImageLayout layout;
    configure(layout, grid, columns, 105);
    QCOMPARE(layout.collectionViewContentSize(), size);
}

void TestSearchLayout::elementsInRect_data() {
    QTest::addColumn<int>("sections");
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<QList<int>>("found");

    QTest::newRow("first row") << 10 << QRectF(0, 0, 320, 106) << QList<int>{0, 1, 2};
    QTest::newRow("the gap between rows") << 10 << QRectF(0, 106, 320, 1) << QList<int>{};
    QTest::newRow("left column") << 10 << QRectF(0, 0, 50, 1000) << QList<int>{0, 3, 6, 9};
    QTest::newRow("straddling rows 1 and 2") << 10 << QRectF(150, 200, 20, 20) << QList<int>{4, 7};
    QTest::newRow("below the content") << 10 << QRectF(0, 500, 320, 100) << QList<int>{};
    QTest::newRow("no results") << 0 << QRectF(0, 0, 320, 1000) << QList<int>{};
    // Rows 500 to 505 reach into y 53000 to 53568; row 499 only touches its top edge.
    QList<int> screenful;
    for (int section = 1500; section < 1518; ++section)
        screenful.append(section);
    QTest::newRow("a screenful out of 2000") << 2000 << QRectF(0, 53000, 320, 568) << screenful;
}

void TestSearchLayout::elementsInRect() {
    QFETCH(int, sections);
    QFETCH(QRectF, rect);
    QFETCH(QList<int>, found);

    FakeGrid grid(320, sections);
    GoogleImageLayout layout;
    configure(layout, grid, 3, 105);
    layout.prepareLayout();
    QCOMPARE(sectionsOf(layout.layoutAttributesForElementsInRect(rect)), found);
}

void TestSearchLayout::itemsOfOneSectionShareAFrame() {
    FakeGrid grid(320, 2, 3);
    GoogleImageLayout layout;
    configure(layout, grid, 3, 105);
    layout.prepareLayout();
    QCOMPARE(layout.layoutInfo().value(GoogleImageLayout::photoCellKind()).size(), 6);
    for (int item = 0; item < 3; ++item)
        QCOMPARE(layout.layoutAttributesForItemAtIndexPath({item, 1})->frame,
                 QRectF(107, 1, 105, 105));
    QCOMPARE(layout.layoutAttributesForElementsInRect(QRectF(110, 10, 1, 1)).size(), 3);
}

void TestSearchLayout::tenThousandSections() {
    FakeGrid grid(320, 10000);
    GoogleImageLayout layout;
    configure(layout, grid, 3, 105);
    layout.prepareLayout();
    QCOMPARE(layout.layoutInfo().keys(), QList<QString>{QStringLiteral("PhotoCell")});
    QCOMPARE(layout.layoutInfo().value(QStringLiteral("PhotoCell")).size(), 10000);
    // Section 9999 opens row 3333.
    QCOMPARE(layout.layoutAttributesForItemAtIndexPath({0, 9999})->frame,
             QRectF(1, 1 + 3333 * 106, 105, 105));
    QCOMPARE(sectionsOf(layout.layoutAttributesForElementsInRect(QRectF(0, 353300, 320, 50))),
             QList<int>{9999});

    // Each pass replaces the table whole.
    FakeGrid fewer(320, 0);
    layout.setCollectionView(&fewer);
    layout.prepareLayout();
    QVERIFY(layout.layoutInfo().value(QStringLiteral("PhotoCell")).isEmpty());
    QVERIFY(layout.layoutAttributesForElementsInRect(QRectF(0, 0, 320, 1e6)).isEmpty());
}

void TestSearchLayout::settersInvalidateOnlyOnChange() {
    GoogleImageLayout layout;
    QSignalSpy invalidations(&layout, &GoogleImageLayout::layoutInvalidated);

    layout.setup();
    layout.setItemInsets({1, 1, 1, 1});
    layout.setInterItemSpacingY(1);
    layout.setNumberOfColumns(2);
    layout.setItemSize(QSizeF(0, 0));
    QCOMPARE(invalidations.count(), 0);

    layout.setItemInsets({1, 1, 1, 2});
    layout.setItemSize(QSizeF(0, 105));
    layout.setItemSize(QSizeF(105, 105));
    layout.setInterItemSpacingY(2);
    layout.setNumberOfColumns(3);
    QCOMPARE(invalidations.count(), 5);
    // A change far below any fuzzy tolerance still counts.
    layout.setItemSize(QSizeF(105, 105.000000000001));
    QCOMPARE(invalidations.count(), 6);

    // Storing a table invalidates nothing.
    layout.setLayoutInfo({});
    QCOMPARE(invalidations.count(), 6);
}

void TestSearchLayout::boundsChange_data() {
    QTest::addColumn<QRectF>("next");
    QTest::addColumn<bool>("invalidates");

    QTest::newRow("unchanged") << QRectF(0, 0, 320, 500) << false;
    QTest::newRow("scrolled") << QRectF(0, 900, 320, 500) << false;
    QTest::newRow("wider") << QRectF(0, 0, 568, 500) << true;
    QTest::newRow("taller") << QRectF(0, 900, 320, 504) << true;
}

void TestSearchLayout::boundsChange() {
    QFETCH(QRectF, next);
    QFETCH(bool, invalidates);

    FakeGrid grid(320, 10);
    GoogleImageLayout layout;
    layout.setCollectionView(&grid);
    QCOMPARE(layout.shouldInvalidateLayoutForBoundsChange(next), invalidates);
}

void TestSearchLayout::configuration_data() {
    QTest::addColumn<int>("orientation");
    QTest::addColumn<int>("idiom");
    QTest::addColumn<QSizeF>("screen");
    QTest::addColumn<int>("columns");
    QTest::addColumn<qreal>("side");

    const auto row = [](const char* tag, InterfaceOrientation orientation, Idiom idiom,
                        QSizeF screen, int columns, qreal side) {
        QTest::newRow(tag) << int(orientation) << int(idiom) << screen << columns << side;
    };
    using O = InterfaceOrientation;
    row("phone portrait", O::Portrait, Idiom::Phone, {320, 568}, 3, 105);
    row("phone upside down", O::PortraitUpsideDown, Idiom::Phone, {320, 568}, 3, 105);
    row("phone landscape", O::LandscapeLeft, Idiom::Phone, {568, 320}, 4, 140);
    row("landscape takes the longer side", O::LandscapeRight, Idiom::Phone, {320, 568}, 4, 140);
    row("portrait takes the shorter side", O::Portrait, Idiom::Phone, {568, 320}, 3, 105);
    row("unknown orientation is portrait", O::Unknown, Idiom::Phone, {375, 667}, 3, 123);
    row("idiom unknown is a phone", O::Portrait, Idiom::Unspecified, {768, 1024}, 3, 254);
    row("pad portrait", O::Portrait, Idiom::Pad, {768, 1024}, 4, 190);
    row("pad landscape", O::LandscapeLeft, Idiom::Pad, {1024, 768}, 4, 254);
}

void TestSearchLayout::configuration() {
    QFETCH(int, orientation);
    QFETCH(int, idiom);
    QFETCH(QSizeF, screen);
    QFETCH(int, columns);
    QFETCH(qreal, side);

    const GoogleImageLayout::Configuration configuration =
        GoogleImageLayout::configurationForOrientation(InterfaceOrientation(orientation),
                                                       Idiom(idiom), screen);
    QCOMPARE(configuration.numberOfColumns, columns);
    QCOMPARE(configuration.side, side);
}

void TestSearchLayout::detailView_data() {
    QTest::addColumn<int>("orientation");
    QTest::addColumn<bool>("pad");
    QTest::addColumn<QSizeF>("screen");
    QTest::addColumn<qreal>("barHeight");
    QTest::addColumn<QRectF>("view");
    QTest::addColumn<QRectF>("card");
    QTest::addColumn<QRectF>("image");
    QTest::addColumn<QRectF>("close");
    QTest::addColumn<QRectF>("select");

    using O = InterfaceOrientation;
    QTest::newRow("phone portrait")
        << int(O::Portrait) << false << QSizeF(320, 568) << 44.0 << QRectF(0, 0, 320, 504)
        << QRectF(5, 79.5, 310, 345) << QRectF(5, 5, 300, 300) << QRectF(5, 310, 30, 30)
        << QRectF(87.5, 310, 135, 35);
    QTest::newRow("phone upside down")
        << int(O::PortraitUpsideDown) << false << QSizeF(568, 320) << 44.0 << QRectF(0, 0, 320, 504)
        << QRectF(5, 79.5, 310, 345) << QRectF(5, 5, 300, 300) << QRectF(5, 310, 30, 30)
        << QRectF(87.5, 310, 135, 35);
    QTest::newRow("no navigation bar")
        << int(O::Portrait) << false << QSizeF(320, 568) << 0.0 << QRectF(0, 0, 320, 548)
        << QRectF(5, 101.5, 310, 345) << QRectF(5, 5, 300, 300) << QRectF(5, 310, 30, 30)
        << QRectF(87.5, 310, 135, 35);
    QTest::newRow("phone landscape: square card, close flush in the corner")
        << int(O::LandscapeLeft) << false << QSizeF(568, 320) << 44.0 << QRectF(0, 0, 568, 256)
        << QRectF(166, 5, 246, 246) << QRectF(5, 5, 236, 236) << QRectF(0, 216, 30, 30)
        << QRectF(55.5, 211, 135, 35);
    QTest::newRow("unknown orientation lays out as landscape")
        << int(O::Unknown) << false << QSizeF(320, 568) << 44.0 << QRectF(0, 0, 568, 256)
        << QRectF(166, 5, 246, 246) << QRectF(5, 5, 236, 236) << QRectF(0, 216, 30, 30)
        << QRectF(55.5, 211, 135, 35);
    QTest::newRow("pad portrait: narrower by t, shifted by t/2")
        << int(O::Portrait) << true << QSizeF(768, 1024) << 44.0 << QRectF(0, 0, 768, 960)
        << QRectF(42, 120.5, 684, 719) << QRectF(5, 5, 674, 674) << QRectF(5, 684, 30, 30)
        << QRectF(274.5, 684, 135, 35);
    QTest::newRow("pad landscape")
        << int(O::LandscapeRight) << true << QSizeF(1024, 768) << 44.0 << QRectF(0, 0, 1024, 704)
        << QRectF(180, 10, 684, 684) << QRectF(5, 5, 674, 674) << QRectF(0, 654, 30, 30)
        << QRectF(274.5, 649, 135, 35);
}

void TestSearchLayout::detailView() {
    QFETCH(int, orientation);
    QFETCH(bool, pad);
    QFETCH(QSizeF, screen);
    QFETCH(qreal, barHeight);

    const DetailViewLayout layout =
        DetailViewLayout::compute(screen, barHeight, InterfaceOrientation(orientation), pad);
    QTEST(layout.view, "view");
    QTEST(layout.card, "card");
    QTEST(layout.imageView, "image");
    QTEST(layout.closeButton, "close");
    QTEST(layout.selectButton, "select");
}

void TestSearchLayout::panelSize_data() {
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QSizeF>("screen");
    QTest::addColumn<QSizeF>("size");

    using O = InterfaceOrientation;
    QTest::newRow("portrait") << int(O::Portrait) << QSizeF(320, 568) << QSizeF(320, 504);
    QTest::newRow("upside down") << int(O::PortraitUpsideDown) << QSizeF(320, 568)
                                 << QSizeF(320, 504);
    QTest::newRow("landscape: the longer side")
        << int(O::LandscapeLeft) << QSizeF(320, 568) << QSizeF(568, 256);
    QTest::newRow("unknown") << int(O::Unknown) << QSizeF(1024, 768) << QSizeF(1024, 704);
}

void TestSearchLayout::panelSize() {
    QFETCH(int, orientation);
    QFETCH(QSizeF, screen);
    QFETCH(QSizeF, size);
    QCOMPARE(DetailViewLayout::panelSize(screen, 44, InterfaceOrientation(orientation)), size);
}

QTEST_GUILESS_MAIN(TestSearchLayout)
#include "tst_searchlayout.moc"
