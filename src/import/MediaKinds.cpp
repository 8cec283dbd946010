#include "MediaKinds.h"

#include "platform/CurrentYear.h"
#include "platform/Localisation.h"

#include <array>

namespace tolvane {

const QString MediaKinds::song = QStringLiteral("song");
const QString MediaKinds::musicVideo = QStringLiteral("music-video");
const QString MediaKinds::featureMovie = QStringLiteral("feature-movie");
const QString MediaKinds::tvEpisode = QStringLiteral("tv-episode");
const QString MediaKinds::ringtone = QStringLiteral("ringtone");
const QString MediaKinds::podcast = QStringLiteral("podcast");
const QString MediaKinds::videoPodcast = QStringLiteral("videoPodcast");

namespace {

struct KindName {
    const QString* kind;
    const char* name;
};

const std::array<KindName, 6> kindNames{{
    {&MediaKinds::song, "Song"},
    {&MediaKinds::musicVideo, "Music Video"},
    {&MediaKinds::featureMovie, "Movie"},
    {&MediaKinds::tvEpisode, "TV Episode"},
    {&MediaKinds::ringtone, "Ringtone"},
    {&MediaKinds::podcast, "Podcast"},
}};

const std::array<ImportField, 10>& fieldTable() {
    static const std::array<ImportField, 10> fields{{
        {ImportField::Track, "Track", "Track Number", FieldInput::NumberPad, FieldStorage::Integer},
        {ImportField::Title, "Title", "Media Title", FieldInput::Default, FieldStorage::Text},
        {ImportField::Artist, "Artist", "Artist Name", FieldInput::Default, FieldStorage::Text},
        {ImportField::Album, "Album", "Album Name", FieldInput::Default, FieldStorage::Text},
        {ImportField::Genre, "Genre", "Genre", FieldInput::Default, FieldStorage::Text},
        {ImportField::Year, "Year", "", FieldInput::NumberPad, FieldStorage::TypedText},
        {ImportField::PodcastName, "Name", "Podcast Name", FieldInput::Default, FieldStorage::Text},
        {ImportField::Episode, "Episode", "1", FieldInput::NumberPad, FieldStorage::Integer},
        {ImportField::Series, "Series", "Series Name", FieldInput::Default, FieldStorage::Text},
        {ImportField::Season, "Season", "1", FieldInput::NumberPad, FieldStorage::Integer},
    }};
    return fields;
}

// The stored number as text, when the metadata holds one, as it was given.
std::optional<QString> storedNumber(const TagValue<qlonglong>& tag) {
    if (tag.given()) {
        const QVariant& given = *tag.given();
        if (!given.isValid() || given.isNull())
            return std::nullopt;
        return given.toString();
    }
    return tag ? std::optional(QString::number(*tag)) : std::nullopt;
}

} // namespace

QVariantMap MediaKinds::humanizedMediaKinds() {
    QVariantMap kinds;
    for (const KindName& entry : kindNames)
        kinds.insert(*entry.kind, localized(entry.name));
    return kinds;
}

std::optional<QString> MediaKinds::displayName(const QString& kind) {
    for (const KindName& entry : kindNames) {
        if (*entry.kind == kind)
            return localized(entry.name);
    }
    return std::nullopt;
}

std::optional<QString> MediaKinds::defaultGenre(const QString& kind) {
    if (kind == song)
        return QStringLiteral("Music");
    return displayName(kind);
}

const QList<int>& MediaKinds::fieldsForKind(const QString& kind) {
    using F = ImportField;
    static const QList<int> music{F::Track, F::Title, F::Artist, F::Album, F::Genre, F::Year};
    static const QList<int> podcasts{F::Title, F::PodcastName, F::Episode, F::Genre, F::Year};
    static const QList<int> episodes{F::Title, F::Series, F::Season, F::Episode, F::Year};
    static const QList<int> movies{F::Title, F::Year};
    static const QList<int> none;
    if (kind == song || kind == musicVideo)
        return music;
    if (kind == podcast || kind == videoPodcast)
        return podcasts;
    if (kind == tvEpisode)
        return episodes;
    if (kind == featureMovie)
        return movies;
    return none;
}

const ImportField& MediaKinds::field(int id) {
    const auto& fields = fieldTable();
    return fields.at(size_t(qBound(0, id, int(fields.size()) - 1)));
}

QString MediaKinds::placeholder(int id, const QString& kind, const Tags& metadata) {
    switch (id) {
    case ImportField::Title:
        if (kind == tvEpisode)
            return localized("Episode Name");
        if (kind == featureMovie)
            return localized("Movie Name");
        return localized("Media Title");
    case ImportField::Year:
        return QString::number(currentYear());
    case ImportField::Episode:
        if (kind == tvEpisode) {
            if (auto stored = storedNumber(metadata.episodeNumber))
                return *stored;
        }
        return localized("1");
    case ImportField::Season:
        return storedNumber(metadata.seasonNumber).value_or(localized("1"));
    default:
        return localized(field(id).placeholder);
    }
}

} // namespace tolvane
