#include "ListingOrder.h"

#include "platform/Localisation.h"
#include "platform/Paths.h"
#include "platform/PreferencesFile.h"
#include "platform/PropertyList.h"

#include <QCollator>
#include <QFile>
#include <QLocale>

#include <algorithm>
#include <fcntl.h>
#include <numeric>
#include <sys/stat.h>
#include <vector>

namespace tolvane {

namespace {

qint64 addedTime(const QByteArray& nativePath) {
    struct statx info {};
    if (::statx(AT_FDCWD, nativePath.constData(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_CTIME,
                &info) != 0)
        return 0;
    const statx_timestamp& when = (info.stx_mask & STATX_BTIME) ? info.stx_btime : info.stx_ctime;
    return qint64(when.tv_sec) * 1'000'000'000 + when.tv_nsec;
}

// Sorts by a key computed once per entry, folders first, and keeps the entries that compare
// equal in the file system's order.
template <typename Key, typename Less>
void sortByKey(QList<PSDirectoryPickerEntry>& entries, const std::vector<Key>& keys, Less less) {
    std::vector<qsizetype> order(size_t(entries.size()));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) {
        const bool aDir = entries.at(a).isDir();
        if (aDir != entries.at(b).isDir())
            return aDir;
        return less(keys[size_t(a)], keys[size_t(b)]);
    });
    QList<PSDirectoryPickerEntry> sorted;
    sorted.reserve(entries.size());
    for (qsizetype index : order)
        sorted.append(entries.at(index));
    entries = std::move(sorted);
}

} // namespace

QString ListingOrder::keyFor(Kind kind) {
    switch (kind) {
    case DateAdded:
        return QStringLiteral("dateAdded");
    case FileSystem:
        return QStringLiteral("fileSystem");
    case Name:
        break;
    }
    return QStringLiteral("name");
}

ListingOrder::Kind ListingOrder::fromKey(const QString& key) {
    for (Kind kind : {Name, DateAdded, FileSystem}) {
        if (key == keyFor(kind))
            return kind;
    }
    return layoutDefault();
}

ListingOrder::Kind ListingOrder::layoutDefault() {
    return Paths::isDesktopLayout() ? Name : FileSystem;
}

ListingOrder::Kind ListingOrder::current() {
    // An unreadable preferences file is one without the key: the default order holds.
    const QVariantMap preferences =
        PropertyListReader::readDictionary(Paths::preferencesFile()).valueOr({});
    return fromKey(preferences.value(QLatin1String(preferencesKey)).toString());
}

Status ListingOrder::setCurrent(Kind kind) {
    return PreferencesFile(Paths::preferencesFile())
        .setValue(QLatin1String(preferencesKey), keyFor(kind));
}

QString ListingOrder::title(Kind kind) {
    switch (kind) {
    case DateAdded:
        return localized("Date Added");
    case FileSystem:
        return localized("File System Order");
    case Name:
        break;
    }
    return localized("Name");
}

void ListingOrder::sort(QList<PSDirectoryPickerEntry>& entries, Kind kind) {
    if (kind == FileSystem || entries.size() < 2)
        return;
    if (kind == DateAdded) {
        std::vector<qint64> added;
        added.reserve(size_t(entries.size()));
        for (const PSDirectoryPickerEntry& entry : entries)
            added.push_back(addedTime(entry.nativePath()));
        sortByKey(entries, added, std::greater<qint64>());
        return;
    }
    // Sort keys are made once per name: comparing through the collator for every pair would
    // redo the same work many times over in a large folder.
    // The "C" locale collates by code point alone, numbers and case included; names are still
    // read as people read them there, by the common (English) rules.
    QCollator collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale());
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setIgnorePunctuation(false);
    std::vector<QCollatorSortKey> keys;
    keys.reserve(size_t(entries.size()));
    for (const PSDirectoryPickerEntry& entry : entries)
        keys.push_back(collator.sortKey(entry.name()));
    sortByKey(entries, keys, [](const QCollatorSortKey& a, const QCollatorSortKey& b) {
        return a.compare(b) < 0;
    });
}

} // namespace tolvane
