// The results grid's layout pass: the whole table of frames for 10,000 results, as a reload
// builds it, and the visible-rectangle query a scroll makes.
#include "search/CollectionViewSource.h"
#include "search/GoogleImageLayout.h"

#include <benchmark/benchmark.h>

using namespace tolvane;

namespace {

class Grid final : public CollectionViewSource {
public:
    explicit Grid(int sections)
        : m_sections(sections) {}
    QRectF bounds() const override { return {0, 0, 320, 504}; }
    int numberOfSections() const override { return m_sections; }
    int numberOfItemsInSection(int) const override { return 1; }

private:
    int m_sections;
};

void configure(GoogleImageLayout& layout, const Grid& grid) {
    layout.setCollectionView(&grid);
    layout.setNumberOfColumns(3);
    layout.setItemSize(QSizeF(105, 105));
}

void prepareLayout(benchmark::State& state) {
    const Grid grid(int(state.range(0)));
    GoogleImageLayout layout;
    configure(layout, grid);
    for (auto _ : state) {
        layout.prepareLayout();
        benchmark::DoNotOptimize(layout.layoutInfo());
    }
}
BENCHMARK(prepareLayout)->Arg(20)->Arg(2000)->Arg(10000)->Unit(benchmark::kMillisecond);

void elementsInRect(benchmark::State& state) {
    const Grid grid(int(state.range(0)));
    GoogleImageLayout layout;
    configure(layout, grid);
    layout.prepareLayout();
    const qreal height = layout.collectionViewContentSize().height();
    qreal top = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(layout.layoutAttributesForElementsInRect({0, top, 320, 504}));
        top = top + 53 > height ? 0 : top + 53;
    }
}
BENCHMARK(elementsInRect)->Arg(20)->Arg(2000)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
