#pragma once

#include "platform/Result.h"

#include <QString>

namespace tolvane {

// The bundled demo device: a device folder with downloads (songs, a video with its thumbnail,
// a podcast episode, a document, a text, a hidden file, a link to a stored copy with its
// artwork), a picture, and preferences that record two downloads and a "tracks" store, all
// pointing into the folder itself. Made from the demo media installed with the system's data.
class DemoDevice {
public:
    // The installed (or built) share/tolvane folder holding "Application Support" and "demo".
    static QString systemDataFolder();
    // Makes a device at `folder`, which must be missing or empty.
    static Status create(const QString& folder, const QString& systemData);
};

} // namespace tolvane
