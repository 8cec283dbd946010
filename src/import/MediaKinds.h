#pragma once

#include "import/Tags.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace tolvane {

// How an editable field takes its text and how its value is kept.
enum class FieldInput { Default, NumberPad };
enum class FieldStorage { Text, Integer, TypedText };

// One editable tag of the import editor. The id is the tag the editor puts on the field; the
// tag it edits is the one of Tags the id names.
struct ImportField {
    enum Id {
        Track = 0,
        Title = 1,
        Artist = 2,
        Album = 3,
        Genre = 4,
        Year = 5,
        PodcastName = 6,
        Episode = 7,
        Series = 8,
        Season = 9,
    };

    int id;
    const char* label;
    const char* placeholder;
    FieldInput input;
    FieldStorage storage;
};

// The media kinds an import can be filed as, their display names and their fields.
class MediaKinds {
public:
    // The six kinds the picker offers, identifier to localised display name; built anew on
    // every call. "videoPodcast" is accepted in records but is not among them.
    static QVariantMap humanizedMediaKinds();
    // The localised display name, or nothing for a kind without one ("videoPodcast", unknown).
    static std::optional<QString> displayName(const QString& kind);
    // "Music" for a song, the display name for the other kinds, nothing without a name.
    static std::optional<QString> defaultGenre(const QString& kind);

    // The field ids of a kind in row order; empty for "ringtone" and unknown kinds. Kinds that
    // share a list get the very same list.
    static const QList<int>& fieldsForKind(const QString& kind);
    static const ImportField& field(int id);
    // The placeholder as the kind shows it, localised: the title's depends on the kind, the
    // year's is the current year; Episode and Season show the stored number when there is one.
    static QString placeholder(int id, const QString& kind, const Tags& metadata);

    static const QString song;
    static const QString musicVideo;
    static const QString featureMovie;
    static const QString tvEpisode;
    static const QString ringtone;
    static const QString podcast;
    static const QString videoPodcast;
};

} // namespace tolvane
