#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

// The record the import editor keeps and submits: {"mediaKind", "metadata", "path"} and, for
// a recorded download, "isNotOpenIn" = 1. Built in one of two ways.
class ImportRecord {
public:
    // Reads the tags of the file at a path (the tag library by default).
    using MetadataSource = std::function<std::optional<QVariantMap>(const QString& path)>;

    // From a recorded download and the kind it was recorded as. Genre, year, title and artist
    // come from the hand-off; the artwork from its "iconData" image file (JPEG) for a video,
    // else from its "icon" in the icons folder (PNG); for a hand-off that is not a video the
    // file's own tags then win.
    static QVariantMap fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                         const MetadataSource& readMetadata = {});

    // A record given whole: kept as it is, the file's tags merged over its "metadata" only
    // when it has one, a missing genre defaulted by kind; "isNotOpenIn" is never added.
    static QVariantMap fromWholeRecord(const QVariantMap& record,
                                       const MetadataSource& readMetadata = {});

    // The hand-off name split into artist and title at " - ": the first piece is the artist,
    // the rest joined again is the title; without " - " the artist is empty.
    static std::pair<QString, QString> splitArtistAndTitle(const QString& name);
};

} // namespace tolvane
