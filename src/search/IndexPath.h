#pragma once

#include <QHashFunctions>
#include <QMetaType>

#include <compare>

namespace tolvane {

// The place of one cell in a grid: its section and its item inside the section. Ordered by
// section, then item.
struct IndexPath {
    int item = 0;
    int section = 0;

    static IndexPath forItem(int item, int section) { return {item, section}; }

    friend bool operator==(IndexPath a, IndexPath b) = default;
    friend std::strong_ordering operator<=>(IndexPath a, IndexPath b) {
        if (auto order = a.section <=> b.section; order != 0)
            return order;
        return a.item <=> b.item;
    }
};

inline size_t qHash(IndexPath path, size_t seed = 0) noexcept {
    return qHashMulti(seed, path.section, path.item);
}

} // namespace tolvane

Q_DECLARE_METATYPE(tolvane::IndexPath)
