#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include <utility>

namespace tolvane {

// A dictionary's entries in the order the file has them. QVariantMap sorts its keys; the
// file-type table is walked in file order, so its reader keeps this form.
using OrderedDictionary = QList<std::pair<QString, QVariant>>;

// Reads XML and binary property lists through libplist into QVariant values:
// dictionary -> QVariantMap, array -> QVariantList, string -> QString, integer -> qlonglong,
// real -> double, boolean -> bool, date -> QDateTime (UTC), data -> QByteArray,
// UID -> qulonglong.
//
// A file that is missing, empty, truncated, not a property list, too large or of the wrong
// type reads as "no value" (an invalid QVariant), with one warning naming the file and what
// was wrong. Nothing here throws or aborts on bad input.
class PropertyListReader {
public:
    // Files beyond this size are refused rather than read into memory.
    static constexpr qint64 maximumFileSize = 64 * 1024 * 1024;

    // With a problem to fill in, what was wrong goes there instead of into a warning.
    static QVariant read(const QString& path, QString* problem = nullptr);
    // The top-level dictionary of the file, or no value when the top level is something else.
    static QVariantMap readDictionary(const QString& path, bool* ok = nullptr,
                                      QString* problem = nullptr);
    // The top-level dictionary with its keys in file order.
    static std::optional<OrderedDictionary> readOrderedDictionary(const QString& path);

    // Parses bytes; on failure returns no value and sets *error.
    static QVariant fromData(const QByteArray& data, QString* error = nullptr);
};

// Writes QVariant values as property lists (the inverse mapping of the reader; QVariantMap and
// QVariantHash become dictionaries, QStringList an array, other numbers integers or reals).
class PropertyListWriter {
public:
    static QByteArray toXml(const QVariant& value);
    static QByteArray toBinary(const QVariant& value);
    // Writes atomically (a temporary file renamed into place). Returns false on failure.
    static bool writeXml(const QString& path, const QVariant& value);
};

} // namespace tolvane
