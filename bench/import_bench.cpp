// Importing into the media library: a 200 MB video beside `cp` of the same file on the same
// file system (and `cp` followed by a flush, since an import flushes its copy before naming
// it), and 100 small songs in a row with their catalogue rows. Argument 1: the movie box comes
// before the media data.
#include "import/ImportSubmission.h"
#include "import/library/MediaLibrary.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace tolvane;

namespace {

constexpr qint64 videoBytes = 200LL * 1024 * 1024;

QByteArray box(const char* type, const QByteArray& payload) {
    QByteArray header(8, '\0');
    const quint32 size = quint32(payload.size() + 8);
    header[0] = char(size >> 24);
    header[1] = char(size >> 16);
    header[2] = char(size >> 8);
    header[3] = char(size);
    std::memcpy(header.data() + 4, type, 4);
    return header + payload;
}

// An MPEG-4 video of 200 MB: the movie box before the media data ("fast start", as files made
// for the web are) or after it.
QString makeVideo(const QString& folder, bool movieFirst) {
    const QString path = folder + (movieFirst ? QStringLiteral("/faststart.m4v")
                                              : QStringLiteral("/moov-at-end.m4v"));
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray mvhd(100, '\0');
    mvhd[15] = char(0x03); // time scale 1000
    mvhd[12 + 7] = char(0x10);
    const QByteArray moov = box("moov", box("mvhd", mvhd));
    file.write(box("ftyp", QByteArray("M4V \0\0\0\0M4V mp42isom", 20)));
    if (movieFirst)
        file.write(moov);
    const qint64 payload = videoBytes - 8;
    QByteArray header(8, '\0');
    header[0] = char(quint32(payload + 8) >> 24);
    header[1] = char(quint32(payload + 8) >> 16);
    header[2] = char(quint32(payload + 8) >> 8);
    header[3] = char(quint32(payload + 8));
    std::memcpy(header.data() + 4, "mdat", 4);
    file.write(header);
    QByteArray chunk(1 << 20, '\0');
    QRandomGenerator generator(3);
    generator.fillRange(reinterpret_cast<quint32*>(chunk.data()), chunk.size() / 4);
    for (qint64 written = 0; written < payload; written += chunk.size())
        file.write(chunk.constData(), qMin<qint64>(chunk.size(), payload - written));
    if (!movieFirst)
        file.write(moov);
    file.close();
    ::sync();
    return path;
}

void runCp(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    char* arguments[] = {const_cast<char*>("cp"), const_cast<char*>(source.constData()),
                         const_cast<char*>(target.constData()), nullptr};
    pid_t pid = 0;
    if (posix_spawnp(&pid, "cp", nullptr, nullptr, arguments, environ) == 0)
        waitpid(pid, nullptr, 0);
}

ImportRecord videoRecord(const QString& path) {
    ImportRecord record;
    record.mediaKind = QStringLiteral("music-video");
    record.path = path;
    record.metadata.title = QStringLiteral("Harbour");
    record.metadata.artist = QStringLiteral("Pilots");
    return record;
}

void BM_CpVideo(benchmark::State& state) {
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-XXXXXX"));
    const QString source = makeVideo(dir.path(), state.range(0) != 0);
    const QString target = dir.path() + QStringLiteral("/copy.m4v");
    for (auto _ : state) {
        runCp(source, target);
        state.PauseTiming();
        QFile::remove(target);
        ::sync();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_CpVideo)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// `cp` and then a flush of the copy to the disk, which an import has to wait for as well.
void BM_CpVideoAndFlush(benchmark::State& state) {
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-XXXXXX"));
    const QString source = makeVideo(dir.path(), state.range(0) != 0);
    const QString target = dir.path() + QStringLiteral("/copy.m4v");
    for (auto _ : state) {
        runCp(source, target);
        QFile copy(target);
        if (copy.open(QIODevice::ReadOnly))
            ::fsync(copy.handle());
        state.PauseTiming();
        copy.close();
        QFile::remove(target);
        ::sync();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_CpVideoAndFlush)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ImportVideo(benchmark::State& state) {
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-XXXXXX"));
    const QString source = makeVideo(dir.path(), state.range(0) != 0);
    MediaLibrary library(dir.path() + QStringLiteral("/Library"));
    for (auto _ : state) {
        const Result<LibraryItem> outcome = library.importFile(videoRecord(source));
        state.PauseTiming();
        if (!outcome.ok())
            state.SkipWithError(qPrintable(outcome.errorText()));
        else
            QFile::remove(outcome->path);
        ::sync();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ImportVideo)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// 100 imports of a small song in a row into a fresh library, catalogue included.
void BM_HundredSongs(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-XXXXXX"));
        MediaLibrary library(dir.path());
        ImportRecord song;
        song.mediaKind = QStringLiteral("song");
        song.path = QStringLiteral(TOLVANE_DEMO_MEDIA "/Evening Tide.mp3");
        song.metadata.title = QStringLiteral("Evening Tide");
        state.ResumeTiming();
        for (int i = 0; i < 100; ++i) {
            if (!library.importFile(song).ok())
                state.SkipWithError("import failed");
        }
    }
}
BENCHMARK(BM_HundredSongs)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

} // namespace

BENCHMARK_MAIN();
