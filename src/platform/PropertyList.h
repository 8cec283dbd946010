#pragma once

#include "platform/Result.h"

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
// A file that is missing, not an ordinary file, empty, truncated, not a property list, too large
// or of the wrong type is a Failure saying which. Nothing here throws or aborts on bad input.
class PropertyListReader {
public:
    // Files beyond this size are refused rather than read into memory.
    static constexpr qint64 maximumFileSize = 64 * 1024 * 1024;

    static Result<QVariant> read(const QString& path);
    // The top-level dictionary of the file; a Failure when the top level is something else.
    static Result<QVariantMap> readDictionary(const QString& path);
    // The top-level dictionary with its keys in file order.
    static Result<OrderedDictionary> readOrderedDictionary(const QString& path);

    static Result<QVariant> fromData(const QByteArray& data);
};

// Writes QVariant values as property lists (the inverse mapping of the reader; QVariantMap and
// QVariantHash become dictionaries, QStringList an array, other numbers integers or reals).
class PropertyListWriter {
public:
    static QByteArray toXml(const QVariant& value);
    static QByteArray toBinary(const QVariant& value);
    // Writes atomically: a temporary file beside it, flushed, then renamed into place.
    static Status writeXml(const QString& path, const QVariant& value);
};

} // namespace tolvane
