// Scraping a large result page, and the loader's memory cache while many thumbnails pass.

#include "HttpTestServer.h"
#include "net/RemoteImageLoader.h"
#include "search/ImageSearchScraper.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QTest>

#include <benchmark/benchmark.h>

using namespace tolvane;

namespace {

// A result page of about 5 MB: 2,000 results, each a link, a metadata object and markup that
// pads it to the size real pages have.
QString resultPage(int results, qsizetype bytes) {
    const QString padding = QStringLiteral("<span class=\"x\">lorem, ipsum; dolor</span>")
                                .repeated((bytes / results - 300) / 42);
    QString page = QStringLiteral("<html><head><title>results</title></head><body>");
    for (int i = 0; i < results; ++i) {
        const QString n = QString::number(i);
        page += QStringLiteral("<div class=\"rg_di rg_el\"><a href=\"/imgres?imgurl=http://img") +
                n +
                QStringLiteral(".example/cover.jpg&amp;imgrefurl=http://site.example/&amp;h=500"
                               "&amp;w=500\"></a>") +
                padding + QStringLiteral("<div class=\"rg_meta\">{\"id\":\"r") + n +
                QStringLiteral("\",\"tu\":\"https://thumbs.example/images?q\\u003dtbn:") + n +
                QStringLiteral("\",\"ity\":\"jpg\"}</div></div>");
    }
    return page + QStringLiteral("</body></html>");
}

void BM_Scrape5MbPage2000Results(benchmark::State& state) {
    const QString page = resultPage(2000, 5 * 1024 * 1024);
    qsizetype count = 0;
    for (auto _ : state) {
        const auto records = ImageSearchScraper::imagesFromPage(page);
        count = records ? records->size() : -1;
        benchmark::DoNotOptimize(count);
    }
    state.counters["records"] = double(count);
    state.counters["page_MB"] = double(page.toUtf8().size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_Scrape5MbPage2000Results)->Unit(benchmark::kMillisecond);

QByteArray thumbnailPng(int seed) {
    QImage image(120, 120, QImage::Format_ARGB32);
    image.fill(QColor::fromRgb(seed * 7 % 256, seed * 13 % 256, seed % 256));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// 2,000 distinct thumbnails through a 16 MB memory cache (each decoded thumbnail costs
// 57,600 bytes, so the whole set is seven times the bound). The cost is sampled after every
// arrival; peak_cost must stay at or below bound.
void BM_MemoryCacheBound2000Thumbnails(benchmark::State& state) {
    constexpr int count = 2000;
    test::HttpTestServer server;
    server.listen();
    for (int i = 0; i < count; ++i)
        server.route("/t" + QByteArray::number(i) + ".png",
                     test::HttpTestServer::ok(thumbnailPng(i), "image/png"));
    qint64 peak = 0;
    qint64 bound = 0;
    for (auto _ : state) {
        RemoteImageLoader loader({});
        loader.setMemoryCacheLimit(16 * 1024 * 1024);
        bound = loader.memoryCacheLimit();
        int arrived = 0;
        for (int i = 0; i < count; ++i)
            loader.loadImage(server.url(("/t" + QByteArray::number(i) + ".png").constData()),
                             nullptr, [&](const Result<QImage>&) {
                                 ++arrived;
                                 peak = std::max(peak, loader.memoryCacheCost());
                             });
        if (!QTest::qWaitFor([&arrived] { return arrived == count; }, 120000))
            state.SkipWithError("not every thumbnail arrived");
    }
    state.counters["peak_cost"] = double(peak);
    state.counters["bound"] = double(bound);
}
BENCHMARK(BM_MemoryCacheBound2000Thumbnails)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
