#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tolvane::THEOSData {

// The bytes of the file a ".png" path stands for at the main screen's density (see
// ImageDensity), or nothing when that file cannot be read. No fall-back to the plain file.
std::optional<QByteArray> DataFromFileAtPath(const QString& path);

} // namespace tolvane::THEOSData
