#pragma once

#include "import/Tags.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

// The record the import editor keeps and submits: the media kind, the file, its tags and
// whether it came from a recorded download. As a dictionary it is {"mediaKind", "metadata",
// "path"} and, for a recorded download, "isNotOpenIn" = 1; further keys of a record given whole
// travel unchanged. Built in one of two ways.
class ImportRecord {
public:
    TagValue<QString> mediaKind;
    TagValue<QString> path;
    Tags metadata;
    // False only for a record read from a dictionary without "metadata".
    bool hasMetadata = true;
    // Only its presence is ever asked: it decides what Cancel and Import tell the delegate.
    bool isNotOpenIn = false;
    QVariantMap others;

    // The dictionary form, for property lists, JSON and the screens that pass records on; a
    // dictionary read and written again is the same.
    static ImportRecord fromDictionary(const QVariantMap& record);
    QVariantMap toDictionary() const;

    // The kind, "song" when the record names none.
    QString kind() const;

    // Reads the tags of the file at a path (the tag library by default).
    using MetadataSource = std::function<std::optional<Tags>(const QString& path)>;

    // From a recorded download and the kind it was recorded as. Genre, year, title and artist
    // come from the hand-off; the artwork from its "iconData" image file (JPEG) for a video,
    // else from its "icon" in the icons folder (PNG); for a hand-off that is not a video the
    // file's own tags then win.
    static ImportRecord fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                          const MetadataSource& readMetadata = {});
    // The same away from the screen: the images are read for a screen scale read on the
    // screen's thread beforehand. Without a scale neither image is read (and, with a source
    // that gives nothing, nor are the tags): the values the hand-off itself holds, for a
    // screen to show while the rest is read.
    static ImportRecord fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                          std::optional<qreal> imageScale,
                                          const MetadataSource& readMetadata = {});
    // A source that reads nothing.
    static std::optional<Tags> noTags(const QString& path);

    // A record given whole: kept as it is, the file's tags merged over its "metadata" only
    // when it has one, a missing genre defaulted by kind; "isNotOpenIn" is never added.
    static ImportRecord fromWholeRecord(const QVariantMap& record,
                                        const MetadataSource& readMetadata = {});

    // The hand-off name split into artist and title at " - ": the first piece is the artist,
    // the rest joined again is the title; without " - " the artist is empty.
    static std::pair<QString, QString> splitArtistAndTitle(const QString& name);

    // The same record: the same dictionary.
    bool operator==(const ImportRecord& other) const {
        return toDictionary() == other.toDictionary();
    }

private:
    // The dictionary's own "isNotOpenIn" value, written back while the record still has one.
    std::optional<QVariant> m_isNotOpenInGiven;
};

} // namespace tolvane
