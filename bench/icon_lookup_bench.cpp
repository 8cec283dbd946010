// Icon lookup for the rows of a 10,000-file folder by the map rule, with the table the project
// ships. The listing checks the table once per screenful it draws (a stat of the file; parsed
// again only when it changed) and looks every row of that screenful up in it; the per-row
// variant checks the file for every single row.
#include "browser/FileTypeTable.h"
#include "platform/Paths.h"

#include <QString>
#include <QStringList>

#include <benchmark/benchmark.h>

using namespace tolvane;

namespace {

QStringList rowNames(int count) {
    static const char* const extensions[] = {"mp3",  "M4A",  "mp4", "pdf",   "txt", "zip",
                                             "jpeg", "docx", "",    "weird", "MOV", "flac"};
    QStringList names;
    names.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QString extension = QString::fromLatin1(extensions[i % std::size(extensions)]);
        names.append(QStringLiteral("Download %1%2")
                         .arg(i)
                         .arg(extension.isEmpty() ? QString() : QLatin1Char('.') + extension));
    }
    return names;
}

constexpr qsizetype rowsPerScreen = 20;

bool useShippedTable(benchmark::State& state) {
    Paths::setRoots(QStringLiteral("/nonexistent/var/mobile"),
                    QStringLiteral(TOLVANE_SYSTEM_ROOT_BUILD));
    if (FileTypeTable::installed()->entries().isEmpty()) {
        state.SkipWithError("the built file-type table is missing");
        return false;
    }
    return true;
}

void BM_ListingIcons10k(benchmark::State& state) {
    if (!useShippedTable(state))
        return;
    const QStringList names = rowNames(10000);
    for (auto _ : state) {
        qsizetype known = 0;
        for (qsizetype first = 0; first < names.size(); first += rowsPerScreen) {
            const auto table = FileTypeTable::installed();
            const qsizetype last = std::min(first + rowsPerScreen, names.size());
            for (qsizetype row = first; row < last; ++row)
                known += table->listingIconFile(names.at(row), false).size();
        }
        benchmark::DoNotOptimize(known);
    }
    state.SetItemsProcessed(state.iterations() * names.size());
}
BENCHMARK(BM_ListingIcons10k)->Unit(benchmark::kMillisecond);

void BM_ListingIcons10kCheckEveryRow(benchmark::State& state) {
    if (!useShippedTable(state))
        return;
    const QStringList names = rowNames(10000);
    for (auto _ : state) {
        qsizetype known = 0;
        for (const QString& name : names)
            known += FileTypeTable::installed()->listingIconFile(name, false).size();
        benchmark::DoNotOptimize(known);
    }
    state.SetItemsProcessed(state.iterations() * names.size());
}
BENCHMARK(BM_ListingIcons10kCheckEveryRow)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
