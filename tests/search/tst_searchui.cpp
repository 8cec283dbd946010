#include "HttpTestServer.h"
#include "TestSupport.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "search/GoogleImageLayout.h"
#include "search/ui/CollectionView.h"
#include "search/ui/CollectionViewCell.h"
#include "search/ui/CollectionViewDataSource.h"
#include "search/ui/CollectionViewDelegate.h"
#include "search/ui/CoverButton.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImageCell.h"
#include "search/ui/GoogleImagesCollectionVC.h"
#include "search/ui/GoogleImagesSearchDelegate.h"
#include "search/ui/SearchBar.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTemporaryDir>
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

QColor thumbnailColour(int index) {
    return QColor::fromHsv((index * 37) % 360, 160, 200);
}

// A result page as the service writes it: a piece per result after each marker, the link's
// ampersands as entities and the thumbnail's address in script text.
QByteArray resultPage(const QString& base, int count) {
    QByteArray page = "<html><head><title>results</title></head><body>";
    for (int i = 0; i < count; ++i) {
        page += "<div class=\"rg_di rg_bx\"><a href=\"/imgres?imgurl=" + base.toUtf8() + "/full/" +
                QByteArray::number(i) + ".png&amp;imgrefurl=" + base.toUtf8() +
                "/page&amp;h=500\"></a><div class=\"rg_meta\">{\"id\":\"r" + QByteArray::number(i) +
                "\",\"tu\":\"" + base.toUtf8() + "/thumb/" + QByteArray::number(i) +
                ".png\",\"th\":100}</div></div>";
    }
    return page + "</body></html>";
}

// The service on 127.0.0.1: a page of results, a thumbnail each, and full images of 60 x 40
// except those listed as missing.
struct SearchService {
    HttpTestServer server;

    bool start(int count, const QList<int>& missingFullImages = {}) {
        if (!server.listen())
            return false;
        qputenv("TOLVANE_SEARCH_URL", server.base().toUtf8());
        server.route("/search", HttpTestServer::ok(resultPage(server.base(), count)));
        for (int i = 0; i < count; ++i) {
            const QByteArray name = QByteArray::number(i) + ".png";
            server.route(
                "/thumb/" + name,
                HttpTestServer::ok(pngBytes(QSize(100, 100), thumbnailColour(i)), "image/png"));
            if (!missingFullImages.contains(i))
                server.route(
                    "/full/" + name,
                    HttpTestServer::ok(pngBytes(QSize(60, 40), Qt::darkBlue), "image/png"));
        }
        return true;
    }
    QByteArray lastSearch() const {
        for (qsizetype i = server.requests().size() - 1; i >= 0; --i) {
            if (server.requests().at(i).path == "/search")
                return server.requests().at(i).head;
        }
        return {};
    }
};

class PickRecorder final : public GoogleImagesSearchDelegate {
public:
    void googleImagesDidFinishPickingImage(const QImage& image) override { picks.append(image); }
    QList<QImage> picks;
};

// The opener's window: a screen in a navigation controller that presents the search screen,
// itself wrapped in a navigation controller, as the editor does.
struct SearchWindow {
    std::unique_ptr<ScopedDevice> device;
    std::unique_ptr<MainWindow> window;
    QPointer<Screen> opener;
    QPointer<GoogleImagesCollectionVC> search;
    PickRecorder recorder;

    explicit SearchWindow(QSize size, Idiom idiom = Idiom::Phone)
        : device(std::make_unique<ScopedDevice>(idiom, QSizeF(size), 1))
        , window(std::make_unique<MainWindow>())
        , opener(new Screen) {
        window->setRootViewController(new NavigationController(opener));
        window->resize(size);
        window->show();
    }
    bool present(const QString& term) {
        search = new GoogleImagesCollectionVC(term, new GoogleImageLayout);
        search->setDelegate(&recorder);
        return opener->presentViewController(new NavigationController(search), false);
    }
    QString shownTitle() const {
        return search->navigationController()->navigationBar()->titleText();
    }
    // Shows the window, opens a search for "Harbour" and waits until its results are counted
    // in the title.
    bool showResults(int count) {
        return QTest::qWaitForWindowExposed(window.get()) && present(QStringLiteral("Harbour")) &&
               QTest::qWaitFor([this, count] {
                   return shownTitle() == QStringLiteral("%1 Images").arg(count);
               });
    }
    AlertController* alert() const { return window->findChild<AlertController*>(); }
};

void tap(QWidget* widget, QPoint at = {}) {
    QTest::mouseClick(widget, Qt::LeftButton, {}, at.isNull() ? widget->rect().center() : at);
}

void tapCell(CollectionView* view, int section) {
    // Cells are made when the grid next lays out, which a busy machine may not have done yet.
    QTRY_VERIFY(view->cellForItemAtIndexPath({0, section}));
    CollectionViewCell* cell = view->cellForItemAtIndexPath({0, section});
    tap(view->viewport(), cell->geometry().center());
}

} // namespace

class TestSearchUi : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gridMakesOnlyVisibleCells_data();
    void gridMakesOnlyVisibleCells();
    void gridTaps();
    void gridFollowsLayoutChanges();

    void initTestCase();
    void searchShowsResults();
    void pickImage_data();
    void pickImage();
    void closePanel();
    void cancel();
    void laterSearchFails_data();
    void laterSearchFails();
    void rotation();
    void artworkServicesJoinThePageSearch();

private:
    QTemporaryDir m_device;
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

// --- the results screen ---------------------------------------------------------------------

void TestSearchUi::initTestCase() {
    // Nothing here may touch the real device folders (the image loader caches under them).
    QVERIFY(m_device.isValid());
    Paths::setDeviceRoot(m_device.path());
}

void TestSearchUi::searchShowsResults() {
    SearchService service;
    QVERIFY(service.start(12));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));
    QVERIFY(screen.present(s("Evening Tide+Harbour Lights.mp4")));
    GoogleImagesCollectionVC* search = screen.search;

    QTRY_COMPARE(screen.shownTitle(), s("12 Images"));
    const QByteArray head = service.lastSearch();
    QVERIFY2(head.contains("&q=Evening+Tide+Harbour+Lights+albums HTTP/1.1"), head.constData());
    QVERIFY(head.contains("User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:10.0) Gecko/20100101 "
                          "Firefox/10.0"));
    QCOMPARE(search->imagesArray()->size(), 12);
    QCOMPARE(search->imagesArray()->at(5).value(s("imgurl")).toString(),
             service.server.base() + s("/full/5.png"));

    // Three columns on a 320-point phone, one result per section.
    QCOMPARE(search->numberOfColumns(), 3);
    QCOMPARE(search->collectionViewLayout()->itemSize(), QSizeF(105, 105));
    QTRY_COMPARE(search->collectionView()->numberOfSections(), 12);
    QCOMPARE(search->randomArray(), (QList<float>{0.5f, 0.6f, 0.7f, 0.8f, 0.9f, 1.0f, 1.1f}));
    auto* cell =
        static_cast<GoogleImageCell*>(search->collectionView()->cellForItemAtIndexPath({0, 5}));
    QVERIFY(cell);
    QCOMPARE(cell->geometry(), QRect(214, 107, 105, 105));
    QCOMPARE(cell->imageView()->geometry(), QRect(0, 0, 105, 105));

    // The thumbnail replaces the placeholder and pops in within 1.1 seconds.
    QTRY_COMPARE(cell->imageView()->image().pixelColor(50, 50).rgb(), thumbnailColour(5).rgb());
    QTRY_COMPARE_WITH_TIMEOUT(cell->imageView()->alpha(), 1.0, 2000);
    QCOMPARE(cell->imageView()->scale(), 1.0);
    QVERIFY(cell->isUserInteractionEnabled());
}

void TestSearchUi::pickImage_data() {
    QTest::addColumn<int>("section");
    QTest::addColumn<QList<int>>("missing");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QColor>("colour");

    QTest::newRow("the full image") << 1 << QList<int>{} << QSize(60, 40) << QColor(Qt::darkBlue);
    QTest::newRow("no full image: the thumbnail")
        << 2 << QList<int>{2} << QSize(100, 100) << thumbnailColour(2);
}

void TestSearchUi::pickImage() {
    QFETCH(int, section);
    QFETCH(QList<int>, missing);
    QFETCH(QSize, size);
    QFETCH(QColor, colour);

    SearchService service;
    QVERIFY(service.start(6, missing));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(screen.showResults(6));
    GoogleImagesCollectionVC* search = screen.search;

    tapCell(search->collectionView(), section);
    DetailView* panel = search->detailView();
    QVERIFY(panel);
    QVERIFY(!search->collectionView()
                 ->cellForItemAtIndexPath({0, section})
                 ->isUserInteractionEnabled());
    QVERIFY(MBProgressHUD::HUDForView(panel->imageView()));
    QVERIFY(!panel->selectButton()->isVisible());

    const QString title = s("Size %1x%2").arg(size.width()).arg(size.height());
    QTRY_COMPARE(screen.shownTitle(), title);
    QVERIFY(panel->selectButton()->isVisible());
    QTRY_COMPARE(panel->geometry(), QRect(0, 0, 320, 504));
    QCOMPARE(panel->mainView()->geometry(), QRect(5, 80, 310, 345));
    QCOMPARE(panel->selectButton()->geometry(), QRect(88, 310, 135, 35));
    QTRY_VERIFY(!MBProgressHUD::HUDForView(panel->imageView()));

    if (missing.isEmpty()) {
        // How the screen looks with the panel open, for a person to check.
        QTest::qWait(1200);
        const QString path = QCoreApplication::applicationDirPath() + s("/search-panel-look.png");
        QFile::remove(path);
        QVERIFY(screen.window->grab().save(path, "PNG"));
    }

    tap(panel->selectButton());
    QCOMPARE(screen.shownTitle(), s("Please wait..."));
    QTRY_COMPARE(screen.recorder.picks.size(), 1);
    const QImage picked = screen.recorder.picks.constFirst();
    QCOMPARE(picked.size(), size);
    QCOMPARE(picked.pixelColor(10, 10).rgb(), colour.rgb());
    QTRY_VERIFY(!screen.search);
    QCOMPARE(screen.opener->navigationController()->presentedViewController(), nullptr);
    QCOMPARE(screen.recorder.picks.size(), 1);
}

void TestSearchUi::closePanel() {
    SearchService service;
    QVERIFY(service.start(6));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(screen.showResults(6));
    GoogleImagesCollectionVC* search = screen.search;

    tapCell(search->collectionView(), 0);
    QPointer<DetailView> panel = search->detailView();
    QVERIFY(panel);
    QTRY_VERIFY(panel->selectButton()->isVisible());
    // A new search's results arrive behind the open panel, which stays.
    search->fetchImagesData(s("other"), QString());
    QTRY_COMPARE(screen.shownTitle(), s("6 Images"));
    QCOMPARE(service.server.requestCount("/search"), 2);
    QVERIFY(panel && panel->isVisible());

    tap(panel->closeButton());
    QCOMPARE(screen.shownTitle(), s("6 Images"));
    QVERIFY(search->collectionView()->cellForItemAtIndexPath({0, 0})->isUserInteractionEnabled());
    QTRY_VERIFY(panel.isNull());
    QCOMPARE(search->detailView(), nullptr);

    // The same result opens again.
    tapCell(search->collectionView(), 0);
    QVERIFY(search->detailView());
    QVERIFY(screen.recorder.picks.isEmpty());
}

void TestSearchUi::cancel() {
    SearchService service;
    QVERIFY(service.start(3));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(screen.showResults(3));

    tap(screen.search->navigationItem()->leftBarButton());
    QTRY_VERIFY(!screen.search);
    QCOMPARE(screen.opener->navigationController()->presentedViewController(), nullptr);
    QVERIFY(screen.recorder.picks.isEmpty());
}

void TestSearchUi::laterSearchFails_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<int>("results");
    QTest::addColumn<bool>("listKept");

    QTest::newRow("server error: the old results stay") << 500 << QByteArray("busy") << 3 << true;
    QTest::newRow("a page without results empties the grid")
        << 200 << QByteArray("<html>nothing here</html>") << 0 << false;
}

void TestSearchUi::laterSearchFails() {
    QFETCH(int, status);
    QFETCH(QByteArray, page);
    QFETCH(int, results);
    QFETCH(bool, listKept);

    SearchService service;
    QVERIFY(service.start(3));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(screen.showResults(3));
    GoogleImagesCollectionVC* search = screen.search;
    QVERIFY(!screen.alert());

    // The search bar slides down under the dimmed grid...
    tap(search->navigationItem()->rightBarButton());
    QCOMPARE(search->hideKeyboardButton()->alpha(), 0.5);
    QTRY_COMPARE(search->searchBar()->geometry(), QRect(0, 0, 320, 44));

    // ...and its search has no keyword.
    service.server.route("/search",
                         {status, "Status", {{"Content-Type", "text/html"}}, page, false});
    QTest::keyClicks(search->searchBar()->textField(), s("new term"));
    QTest::keyClick(search->searchBar()->textField(), Qt::Key_Return);
    QCOMPARE(search->hideKeyboardButton()->alpha(), 0.0);
    QTRY_VERIFY(screen.alert());
    QVERIFY(service.lastSearch().contains("&q=new+term+ HTTP/1.1"));
    QCOMPARE(screen.alert()->title(), s("Error Occurred"));
    QCOMPARE(screen.alert()->message(), s("Failed to retrieve images"));
    QCOMPARE(screen.alert()->buttonTitleAtIndex(0), s("OK"));
    QCOMPARE(screen.shownTitle(), s("%1 Images").arg(results));
    QCOMPARE(search->imagesArray().has_value(), listKept);
    QTRY_COMPARE(search->collectionView()->visibleCells().size(), results);
    QTRY_COMPARE(search->searchBar()->geometry().top(), -44);
}

void TestSearchUi::rotation() {
    SearchService service;
    QVERIFY(service.start(6));
    SearchWindow screen(QSize(320, 568));
    QVERIFY(screen.showResults(6));
    GoogleImagesCollectionVC* search = screen.search;
    tapCell(search->collectionView(), 0);
    DetailView* panel = search->detailView();
    QVERIFY(panel);
    QTRY_COMPARE(panel->geometry(), QRect(0, 0, 320, 504));

    // Turned on its side: four columns across the longer side, a square card.
    screen.device.reset();
    screen.device = std::make_unique<ScopedDevice>(Idiom::Phone, QSizeF(568, 320), 1);
    screen.window->resize(568, 320);
    QTRY_COMPARE(search->numberOfColumns(), 4);
    QCOMPARE(search->collectionViewLayout()->itemSize(), QSizeF(140, 140));
    QTRY_COMPARE(panel->mainView()->geometry(), QRect(166, 5, 246, 246));
    QCOMPARE(panel->geometry(), QRect(0, 0, 568, 256));
    QTRY_COMPARE(search->collectionView()->cellForItemAtIndexPath({0, 3})->geometry(),
                 QRect(427, 1, 140, 140));
}

// The store's search answering after 50 ms, the album service failing after 100 ms and the
// page search answering after 400 ms: the store's covers are in the grid before the page
// search has answered, the page search's join them, and no alert is shown.
void TestSearchUi::artworkServicesJoinThePageSearch() {
    SearchService service;
    QVERIFY(service.start(2));
    auto page = HttpTestServer::ok(resultPage(service.server.base(), 2));
    page.delayMs = 400;
    service.server.route("/search", page);

    HttpTestServer store, albums;
    QVERIFY(store.listen() && albums.listen());
    QByteArray results;
    for (int i = 0; i < 3; ++i) {
        const QByteArray name = "/art/" + QByteArray::number(i);
        results += (i ? "," : "") + QByteArray("{\"collectionName\":\"Tide ") +
                   QByteArray::number(i) + "\",\"artistName\":\"Harbour\",\"artworkUrl100\":\"" +
                   store.base().toUtf8() + name + "/100x100bb.png\"}";
        store.route(
            name + "/100x100bb.png",
            HttpTestServer::ok(pngBytes(QSize(100, 100), thumbnailColour(10 + i)), "image/png"));
        store.route(
            name + "/600x600bb.png",
            HttpTestServer::ok(pngBytes(QSize(600, 600), thumbnailColour(10 + i)), "image/png"));
    }
    auto answer =
        HttpTestServer::ok("{\"resultCount\":3,\"results\":[" + results + "]}", "application/json");
    answer.delayMs = 50;
    store.route("/search", answer);
    albums.route("/search/album", {500, "Internal Server Error", {}, "down", false, 100});
    qputenv("TOLVANE_ITUNES_URL", store.base().toUtf8());
    qputenv("TOLVANE_DEEZER_URL", albums.base().toUtf8());
    const auto restore = qScopeGuard([] {
        qputenv("TOLVANE_ITUNES_URL", "http://127.0.0.1:9");
        qputenv("TOLVANE_DEEZER_URL", "http://127.0.0.1:9");
    });

    SearchWindow screen(QSize(320, 568));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(screen.present(s("Harbour+Evening Tide")));
    QTRY_COMPARE(screen.shownTitle(), s("3 Images"));
    const qint64 firstRecords = clock.elapsed();
    qInfo("first records in the grid after %lld ms", firstRecords);
    QVERIFY2(firstRecords < 400, qPrintable(QString::number(firstRecords)));
    QCOMPARE(service.server.requestCount("/search"), 1);
    QVERIFY(store.requests().constFirst().head.startsWith(
        "GET /search?term=Harbour%20Evening%20Tide&media=music&entity=album&limit=50 "));

    QTRY_COMPARE(screen.shownTitle(), s("5 Images"));
    GoogleImagesCollectionVC* search = screen.search;
    QCOMPARE(search->imagesArray()->at(0).value(s("provider")).toString(), s("itunes"));
    QCOMPARE(search->imagesArray()->at(3).keys(), (QStringList{s("imgurl"), s("thumburl")}));
    QCOMPARE(albums.requests().size(), 1);
    QTest::qWait(200);
    QVERIFY(!screen.alert());

    auto* cell =
        static_cast<GoogleImageCell*>(search->collectionView()->cellForItemAtIndexPath({0, 1}));
    QVERIFY(cell);
    QTRY_COMPARE(cell->imageView()->image().pixelColor(50, 50).rgb(), thumbnailColour(11).rgb());
    QTest::qWait(1200);
    const QString grid = QCoreApplication::applicationDirPath() + s("/search-services-grid.png");
    QFile::remove(grid);
    QVERIFY(screen.window->grab().save(grid, "PNG"));

    // The panel says where the picked image comes from: the store for the first, the page
    // search for the last.
    tapCell(search->collectionView(), 1);
    QVERIFY(search->detailView());
    QCOMPARE(search->detailView()->sourceText(), s("From iTunes \u00b7 Tide 1 \u2013 Harbour"));
    QCOMPARE(search->detailView()->sourceLabel()->text(), search->detailView()->sourceText());
    QVERIFY(search->detailView()->sourceLabel()->isVisible());
    QTRY_COMPARE(screen.shownTitle(), s("Size 600x600"));
    QTest::qWait(1200);
    const QString look = QCoreApplication::applicationDirPath() + s("/search-services-look.png");
    QFile::remove(look);
    QVERIFY(screen.window->grab().save(look, "PNG"));
    tap(search->detailView()->closeButton());
    QTRY_VERIFY(!search->detailView());
    tapCell(search->collectionView(), 4);
    QCOMPARE(search->detailView()->sourceText(), s("From the web image search"));
}

QTEST_MAIN(TestSearchUi)
#include "tst_searchui.moc"
