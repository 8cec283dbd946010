// Reading the store's search answer: 2 MB of results, each with the fields the service sends.

#include "search/ItunesArtworkProvider.h"

#include <QByteArray>

#include <benchmark/benchmark.h>

using namespace tolvane;

namespace {

// An answer of at least `bytes`, its results shaped as the service writes albums.
QByteArray storeAnswer(qsizetype bytes) {
    QByteArray results;
    int count = 0;
    while (results.size() < bytes) {
        const QByteArray n = QByteArray::number(count);
        if (count > 0)
            results += ',';
        results +=
            "{\"wrapperType\":\"collection\",\"collectionType\":\"Album\",\"artistId\":" + n +
            ",\"collectionId\":10" + n +
            ",\"artistName\":\"Harbour Lights\",\"collectionName\":\"Evening Tide " + n +
            "\",\"collectionCensoredName\":\"Evening Tide " + n +
            "\",\"artistViewUrl\":\"https://music.example/artist/harbour-lights/" + n +
            "?uo=4\",\"collectionViewUrl\":\"https://music.example/album/evening-tide/" + n +
            "?uo=4\",\"artworkUrl60\":\"https://is1-ssl.example/image/thumb/Music/v4/" + n +
            "/source/60x60bb.jpg\",\"artworkUrl100\":\"https://is1-ssl.example/image/"
            "thumb/Music/v4/" +
            n +
            "/source/100x100bb.jpg\",\"collectionPrice\":9.99,\"collectionExplicitness\":"
            "\"notExplicit\",\"trackCount\":12,\"copyright\":\"\\u2117 2031 Harbour "
            "Records\",\"country\":\"USA\",\"currency\":\"USD\",\"releaseDate\":\"2031-05-"
            "01T07:00:00Z\",\"primaryGenreName\":\"Alternative\"}";
        ++count;
    }
    return "{\"resultCount\":" + QByteArray::number(count) + ",\"results\":[" + results + "]}";
}

void BM_ReadStoreAnswer2Mb(benchmark::State& state) {
    const QByteArray answer = storeAnswer(2 * 1024 * 1024);
    qsizetype records = 0;
    for (auto _ : state) {
        const Result<QList<QVariantMap>> read = ItunesArtworkProvider::recordsFromAnswer(answer);
        records = read ? read->size() : -1;
        benchmark::DoNotOptimize(records);
    }
    if (records <= 0)
        state.SkipWithError("the answer gave no records");
    state.counters["records"] = double(records);
    state.SetBytesProcessed(state.iterations() * answer.size());
}
BENCHMARK(BM_ReadStoreAnswer2Mb)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
