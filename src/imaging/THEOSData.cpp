#include "THEOSData.h"

#include "imaging/ImageDensity.h"
#include "platform/Device.h"

#include <QFile>

namespace tolvane::THEOSData {

namespace {
// Images of the system are small; a larger file is not one of them.
constexpr qint64 maximumImageFileSize = 32 * 1024 * 1024;
} // namespace

std::optional<QByteArray> DataFromFileAtPath(const QString& path) {
    QFile file(ImageDensity::resolve(path, Device::current().scale()).name);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumImageFileSize)
        return std::nullopt;
    return file.readAll();
}

} // namespace tolvane::THEOSData
