#pragma once

#include "platform/Result.h"

#include <QVariantMap>

#include <optional>

namespace tolvane {

class MediaAsset;

// Turns the tags of an opened media file into a flat metadata dictionary: the common keys,
// "imageData", "trackNumber", "trackCount", "duration" (milliseconds) and a title that falls
// back to the file name.
class MetadataReader {
public:
    // Nothing only for a null asset.
    static std::optional<QVariantMap> _metadataForAsset(const MediaAsset* asset);
    // Opens the file with the tag library and reads it. A file that cannot be parsed, or is
    // missing, has no tags and only the title its name gives; a path that names something other
    // than an ordinary file (a folder, a FIFO, a device, a /proc file) is a failure.
    static Result<QVariantMap> metadataForFile(const QString& path);

    // The text of an item key: a string as it is; a number as its four bytes, most
    // significant first, up to the first zero byte; anything else nothing.
    static std::optional<QString> keyText(const QVariant& key);
};

} // namespace tolvane
