#pragma once

#include "import/Tags.h"
#include "platform/Result.h"

#include <QVariantMap>

#include <optional>

namespace tolvane {

class MediaAsset;

// Reads the tags of an opened media file: the common ones, the artwork, the track number and
// count, the duration and a title that falls back to the file name.
class MetadataReader {
public:
    // Nothing only for a null asset.
    static std::optional<Tags> _metadataForAsset(const MediaAsset* asset);
    // Opens the file with the tag library and reads it. A file that cannot be parsed, or is
    // missing, has no tags and only the title its name gives; a path that names something other
    // than an ordinary file (a folder, a FIFO, a device, a /proc file) is a failure.
    static Result<Tags> tagsForFile(const QString& path);
    // The same as a metadata dictionary, for those who pass it on as one.
    static Result<QVariantMap> metadataForFile(const QString& path);

    // The text of an item key: a string as it is; a number as its four bytes, most
    // significant first, up to the first zero byte; anything else nothing.
    static std::optional<QString> keyText(const QVariant& key);
};

} // namespace tolvane
