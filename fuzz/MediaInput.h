#pragma once

#include "FuzzSupport.h"

#include <QString>

// How the media targets read their input: the first byte picks the file's extension (its low
// four bits), the media kind (the next three) and, for an import, whether the user gave new
// artwork (the top bit); the rest is the file.
namespace tolvane::fuzz {

inline constexpr const char* mediaExtensions[] = {"mp3",  "m4a", "mp4",  "m4v", "mov",
                                                  "flac", "ogg", "opus", "wav", "aiff"};
inline constexpr size_t mediaExtensionCount = sizeof(mediaExtensions) / sizeof(mediaExtensions[0]);

struct MediaInput {
    QString extension;
    QString kind;
    bool newArtwork = false;
    QByteArray file;
};

inline MediaInput mediaInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return {
            QString::fromLatin1(mediaExtensions[0]), QString::fromLatin1(mediaKinds[0]), false, {}};
    const uint8_t choice = data[0];
    return {QString::fromLatin1(mediaExtensions[(choice & 0x0f) % mediaExtensionCount]),
            QString::fromLatin1(mediaKinds[((choice >> 4) & 0x07) % mediaKindCount]),
            (choice & 0x80) != 0, bytesOf(data + 1, size - 1)};
}

} // namespace tolvane::fuzz
