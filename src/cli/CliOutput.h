#pragma once

#include <QJsonValue>
#include <QVariant>

namespace tolvane::cli {

// QVariant values as JSON: byte strings as {"base64": "..."}, dates as ISO 8601 text, maps as
// objects, lists as arrays, an invalid value as null.
QJsonValue toJson(const QVariant& value);

// How a command prints its result.
enum class Format { Json, Plist };

// Prints the value to standard output in the chosen format.
void print(const QVariant& value, Format format);

} // namespace tolvane::cli
