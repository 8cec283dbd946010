// A folder listing as the browser opens it: a folder of 10,000 files shown with its first
// screen of rows drawn, in each order a listing can have (by name, as people read names, is
// the desktop's); 100,000 entries read into a listing (time and heap); and the
// exportability answers for the rows of one screen, from a cold cache.
#include "browser/DirectoryListModel.h"
#include "browser/DirectoryListing.h"
#include "browser/ExportabilityCache.h"
#include "browser/ListingOrder.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PickerListView.h"
#include "platform/Device.h"
#include "platform/Paths.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

using namespace tolvane;

namespace {

QTemporaryDir& scratch() {
    static QTemporaryDir dir;
    return dir;
}

// A folder of empty files with a mix of extensions, made once per run.
QString folderOf(int count) {
    const QString folder = scratch().filePath(QStringLiteral("files-%1").arg(count));
    if (QFileInfo::exists(folder))
        return folder;
    QDir().mkpath(folder);
    static const char* const extensions[] = {".mp3", ".M4A", ".mp4", ".pdf", ".txt", ".zip", ""};
    const QByteArray base = QFile::encodeName(folder);
    for (int i = 0; i < count; ++i) {
        const QByteArray path =
            base + "/Download " + QByteArray::number(i) + extensions[i % std::size(extensions)];
        const int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0644);
        if (fd >= 0)
            ::close(fd);
    }
    return folder;
}

void BM_OpenFolderOf10000(benchmark::State& state) {
    const QString folder = folderOf(10000);
    const auto order = ListingOrder::Kind(state.range(0));
    QDir().mkpath(Paths::preferencesFolder());
    if (const Status chosen = ListingOrder::setCurrent(order); !chosen) {
        state.SkipWithError(qPrintable(chosen.errorText()));
        return;
    }
    state.SetLabel(qPrintable(ListingOrder::keyFor(order)));
    for (auto _ : state) {
        auto* listing = new PSDirectoryListViewController(folder);
        listing->resize(375, 667);
        listing->show();
        // The first screen of rows, painted.
        const QPixmap drawn = listing->tableView()->viewport()->grab();
        benchmark::DoNotOptimize(drawn);
        state.PauseTiming();
        delete listing;
        ExportabilityCache::shared()->clear();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["rows"] = 10000;
}

void BM_List100000(benchmark::State& state) {
    const QString folder = folderOf(100000);
    double heapMB = 0;
    for (auto _ : state) {
        const size_t before = mallinfo2().uordblks;
        DirectoryListModel model(folder);
        heapMB = double(mallinfo2().uordblks - before) / (1024.0 * 1024.0);
        benchmark::DoNotOptimize(model.rowCount());
    }
    state.counters["heap_MB"] = heapMB;
}

void BM_ExportabilityOfOneScreen(benchmark::State& state) {
    // One phone screen of media rows (15), each a real file of the fixtures.
    const QString folder = scratch().filePath(QStringLiteral("media"));
    QDir().mkpath(folder);
    static const char* const fixtures[] = {"id3v24.mp3", "track3of10.m4a", "video.m4v", "tags.flac",
                                           "not-media.mp3"};
    for (int i = 0; i < 15; ++i) {
        const char* fixture = fixtures[i % std::size(fixtures)];
        QFile::copy(QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + QString::fromLatin1(fixture),
                    folder + QStringLiteral("/%1-%2").arg(i).arg(QString::fromLatin1(fixture)));
    }
    for (auto _ : state) {
        ExportabilityCache cache;
        DirectoryListModel model(folder, &cache);
        int answered = 0;
        QObject::connect(&model, &QAbstractItemModel::dataChanged, [&answered] { ++answered; });
        QElapsedTimer timer;
        timer.start();
        for (int row = 0; row < model.rowCount(); ++row)
            model.index(row).data(DirectoryListModel::EnabledRole);
        while (answered < model.rowCount() && timer.elapsed() < 10000) {
            QCoreApplication::processEvents();
            QThread::usleep(100);
        }
        state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);
        if (answered < model.rowCount())
            state.SkipWithError("answers missing after 10 s");
    }
}

} // namespace

BENCHMARK(BM_OpenFolderOf10000)
    ->Unit(benchmark::kMillisecond)
    ->Arg(ListingOrder::Name)
    ->Arg(ListingOrder::DateAdded)
    ->Arg(ListingOrder::FileSystem);
BENCHMARK(BM_List100000)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ExportabilityOfOneScreen)->Unit(benchmark::kMillisecond)->UseManualTime();

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Paths::setRoots(scratch().filePath(QStringLiteral("var/mobile")),
                    QStringLiteral(TOLVANE_SYSTEM_ROOT_BUILD));
    ScopedDevice phone(Idiom::Phone, QSizeF(375, 667), 2.0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
