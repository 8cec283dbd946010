#pragma once

#include <QString>

namespace tolvane {

// The media framework's common metadata keys, with their published string values: records
// carry these as dictionary keys.
inline const QString AVMetadataCommonKeyTitle = QStringLiteral("title");
inline const QString AVMetadataCommonKeyArtist = QStringLiteral("artist");
inline const QString AVMetadataCommonKeyAlbumName = QStringLiteral("albumName");
inline const QString AVMetadataCommonKeyType = QStringLiteral("type");
inline const QString AVMetadataCommonKeyCreationDate = QStringLiteral("creationDate");
inline const QString AVMetadataCommonKeyArtwork = QStringLiteral("artwork");

} // namespace tolvane
