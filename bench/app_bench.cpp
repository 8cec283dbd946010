// The running application: from a hand-off URL of a recorded download to the import editor
// on screen, and the memory the application holds after browsing a folder of 10,000 files and
// a search of 500 results, both closed again (it should come back to where it started).
#include "HttpTestServer.h"
#include "app/DemoDevice.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "browser/DirectoryListModel.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "import/ui/ImportViewController.h"
#include "platform/Inbox.h"
#include "platform/Paths.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"
#include "search/ui/CollectionView.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImagesCollectionVC.h"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <benchmark/benchmark.h>
#include <malloc.h>

using namespace tolvane;

namespace {

Screen* presentedOverMain() {
    return TolvaneApplication::instance()
        ->viewController()
        ->navigationController()
        ->presentedViewController();
}

bool waitFor(const std::function<bool()>& done, int ms = 10000) {
    return QTest::qWaitFor(done, ms);
}

void closeWhatIsShown() {
    if (Screen* shown = presentedOverMain())
        shown->dismissViewControllerAnimated(false, nullptr);
    waitFor([] { return !presentedOverMain(); });
    QThreadPool::globalInstance()->waitForDone();
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

// Resident memory in bytes, after handing freed memory back to the system.
qint64 residentBytes() {
    malloc_trim(0);
    QFile status(QStringLiteral("/proc/self/statm"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = status.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toLongLong() * 4096 : 0;
}

QByteArray png(int side, QRgb colour) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

bool handOver(const QString& url) {
    TolvaneApplication* app = TolvaneApplication::instance();
    return app->application(app, url, QString(), QVariant());
}

void BM_HandoffToEditorShown(benchmark::State& state) {
    for (auto _ : state) {
        handOver(QStringLiteral("tolvane://x?a=song&b=downloads&c=evening-tide"));
        const bool shown = waitFor([] {
            auto* navigation = qobject_cast<NavigationController*>(presentedOverMain());
            return navigation && navigation->topViewController() &&
                   navigation->topViewController()->isVisible();
        });
        state.PauseTiming();
        if (!shown)
            state.SkipWithError("the editor did not appear");
        closeWhatIsShown();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_HandoffToEditorShown)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

void BM_EnterVideoIntoInbox(benchmark::State& state) {
    // "Open With" of a 2 GB video from the user's folder, on the Inbox's file system: the
    // entry is a link, so its time does not grow with the file.
    QTemporaryDir home;
    const QString video = home.filePath(QStringLiteral("Concert.mp4"));
    {
        QFile file(video);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(qint64(2) << 30)) {
            state.SkipWithError("cannot make the video");
            return;
        }
    }
    const Inbox inbox(home.filePath(QStringLiteral("Inbox")));
    for (auto _ : state) {
        const Result<QString> entry = inbox.enter(video);
        state.PauseTiming();
        if (!entry || !inbox.remove(*entry))
            state.SkipWithError("the video was not entered and removed");
        state.ResumeTiming();
    }
}
BENCHMARK(BM_EnterVideoIntoInbox)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_MemoryAfterBrowsingAndSearching(benchmark::State& state) {
    // A folder of 10,000 files and a search service of 500 results with their thumbnails.
    QTemporaryDir folder;
    for (int i = 0; i < 10000; ++i)
        QFile(folder.filePath(QStringLiteral("file %1.mp3").arg(i))).open(QIODevice::WriteOnly);
    test::HttpTestServer server;
    server.listen();
    qputenv("TOLVANE_SEARCH_URL", server.base().toUtf8());
    // The artwork services are asked at a closed local port: the page search alone is measured.
    for (const char* service : {"TOLVANE_ITUNES_URL", "TOLVANE_DEEZER_URL",
                                "TOLVANE_MUSICBRAINZ_URL", "TOLVANE_COVERART_URL"})
        qputenv(service, "http://127.0.0.1:9");
    QByteArray page;
    for (int i = 0; i < 500; ++i) {
        page += "<div class=\"rg_di\"><a href=\"/imgres?imgurl=" + server.base().toUtf8() +
                "/full/" + QByteArray::number(i) +
                ".png&amp;h=1\"></a><div class=\"rg_meta\">"
                "{\"tu\":\"" +
                server.base().toUtf8() + "/thumb/" + QByteArray::number(i) +
                ".png\",\"th\":1}</div></div>";
        server.route("/thumb/" + QByteArray::number(i) + ".png",
                     test::HttpTestServer::ok(png(100, qRgb(i % 256, 80, 160)), "image/png"));
    }
    server.route("/search", test::HttpTestServer::ok(page));

    ViewController* main = TolvaneApplication::instance()->viewController();
    for (auto _ : state) {
        closeWhatIsShown();
        const qint64 before = residentBytes();

        main->browseToFileWithPath(folder.path());
        waitFor([] { return qobject_cast<PSDirectoryPickerController*>(presentedOverMain()); });
        auto* picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain());
        auto* listing =
            picker ? qobject_cast<PSDirectoryListViewController*>(picker->topViewController())
                   : nullptr;
        waitFor([listing] { return listing && listing->model()->rowCount() == 10000; });
        QTest::qWait(1500); // rows shown, their answers arriving
        const double rows = listing ? double(listing->model()->rowCount()) : 0;
        closeWhatIsShown();

        auto* search = new GoogleImagesCollectionVC(QStringLiteral("harbour"));
        main->navigationController()->presentViewController(new NavigationController(search),
                                                            false);
        waitFor([search] { return search->imagesArray() && search->imagesArray()->size() == 500; });
        QTest::qWait(2000); // the first screenful of thumbnails arrives
        state.counters["results"] =
            search->imagesArray() ? double(search->imagesArray()->size()) : 0;
        state.counters["rows"] = rows;
        closeWhatIsShown();

        const qint64 after = residentBytes();
        state.counters["before_MB"] = double(before) / (1 << 20);
        state.counters["after_MB"] = double(after) / (1 << 20);
        state.counters["growth_MB"] = double(after - before) / (1 << 20);
    }
    qunsetenv("TOLVANE_SEARCH_URL");
}
BENCHMARK(BM_MemoryAfterBrowsingAndSearching)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    TolvaneApplication app(argc, argv);
    QTemporaryDir device;
    const QString root = device.filePath(QStringLiteral("device"));
    if (!DemoDevice::create(root, QStringLiteral(TOLVANE_BUILD_SYSTEM_DATA)).ok())
        return 1;
    Paths::setDeviceRoot(root);
    app.setLaunchPauseEnabled(false);
    app.application(&app, QVariantMap());
    if (!QTest::qWaitForWindowExposed(app.window()))
        return 1;

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
