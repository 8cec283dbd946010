// Opening the import editor for a downloaded song whose tags carry a 3000 x 3000 JPEG cover
// (about 4 MB, noisy, so a worst case for decoding). Two figures per opening, as counters:
// window_ms, until the editor is presented in its navigation controller and painted once (the
// tags are still being read away from the screen), and artwork_ms, until the tags have arrived
// and the cover, decoded off the main thread at the size of the artwork square, is shown and
// painted too. The iteration time is the latter.
#include "import/ui/ImportTumbnailCell.h"
#include "import/ui/ImportViewController.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/GroupedTableView.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"

#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>

#include <benchmark/benchmark.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>

using namespace tolvane;

namespace {

// A photograph-like cover: gradients and noise, so that it does not compress to nothing.
QByteArray bigCover() {
    QImage image(3000, 3000, QImage::Format_RGB32);
    QRandomGenerator generator(11);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int noise = int(generator.bounded(40));
            line[x] = qRgb((x / 12 + noise) % 256, (y / 12 + noise) % 256, (x + y) / 24 % 256);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    return bytes;
}

bool writeCover(const QString& path, const QByteArray& jpeg) {
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    if (!file.isValid())
        return false;
    TagLib::ID3v2::Tag* tag = file.ID3v2Tag(true);
    tag->removeFrames("APIC");
    auto* picture = new TagLib::ID3v2::AttachedPictureFrame;
    picture->setMimeType("image/jpeg");
    picture->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    picture->setPicture(TagLib::ByteVector(jpeg.constData(), uint(jpeg.size())));
    tag->addFrame(picture);
    return file.save(TagLib::MPEG::File::ID3v2);
}

void BM_OpenEditorWithLargeCover(benchmark::State& state) {
    QTemporaryDir device;
    Paths::setDeviceRoot(device.path());
    const QString song = device.filePath(QStringLiteral("Big Cover.mp3"));
    if (!QFile::copy(QStringLiteral(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), song) ||
        !QFile::setPermissions(song, QFile::ReadOwner | QFile::WriteOwner) ||
        !writeCover(song, bigCover())) {
        state.SkipWithError("could not make the song");
        return;
    }
    const QSize screen = state.range(0) ? QSize(1024, 768) : QSize(375, 667);
    ScopedDevice traits(state.range(0) ? Idiom::Pad : Idiom::Phone, QSizeF(screen), 2);
    const QVariantMap handoff{{QStringLiteral("name"), QStringLiteral("Big Cover.mp3")},
                              {QStringLiteral("filePath"), song}};

    MainWindow window;
    auto* root = new Screen;
    window.setRootViewController(root);
    window.resize(screen);
    window.show();
    QCoreApplication::processEvents();

    double windowMs = 0;
    double artworkMs = 0;
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        auto* editor = new ImportViewController(handoff, QStringLiteral("song"));
        root->presentViewController(new NavigationController(editor), false);
        QCoreApplication::processEvents();
        window.repaint();
        windowMs += clock.nsecsElapsed() / 1e6;
        const auto* thumbnail =
            static_cast<ImportTumbnailCell*>(editor->tableView()->cellForRowAtIndexPath({0, 0}));
        while (editor->isReadingRecord() || thumbnail->isLoadingArtwork()) {
            QCoreApplication::processEvents();
            QThread::usleep(100);
        }
        window.repaint();
        artworkMs += clock.nsecsElapsed() / 1e6;
        state.PauseTiming();
        // Decodes still under way belong to this round, not to the next one.
        QThreadPool::globalInstance()->waitForDone();
        root->dismissViewControllerAnimated(false);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["window_ms"] = benchmark::Counter(windowMs, benchmark::Counter::kAvgIterations);
    state.counters["artwork_ms"] =
        benchmark::Counter(artworkMs, benchmark::Counter::kAvgIterations);
}
// Argument: phone (0) or pad (1).
BENCHMARK(BM_OpenEditorWithLargeCover)
    ->Arg(0)
    ->Arg(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
