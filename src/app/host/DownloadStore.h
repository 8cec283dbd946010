#pragma once

#include "platform/Result.h"

#include <QString>
#include <QVariantMap>

namespace tolvane {

// The entry store "downloads" inside the preferences file, where the browser add-on records a
// finished download for the hand-off to read. Each record becomes a new entry; the rest of the
// file is kept as it was, and two writers at once both land (the preferences file's lock).
class DownloadStore {
public:
    static const QString storeKey;

    explicit DownloadStore(QString preferencesFile);

    // Adds the record and returns its entry key. Refused, with the file untouched, when the
    // file is not a dictionary or its "downloads" is something other than a dictionary.
    Result<QString> add(const QVariantMap& record) const;

    // The key for a file name: the name itself, or "name (2)", "name (3)"… when the store
    // already holds it; "download" for a name with nothing usable in it.
    static QString entryKeyFor(const QString& fileName, const QVariantMap& store);

private:
    QString m_preferencesFile;
};

} // namespace tolvane
