#include "import/Tags.h"

#include "import/IntegerValue.h"
#include "platform/MetadataKeys.h"

namespace tolvane {

namespace {

bool isNothing(const QVariant& value) {
    return !value.isValid() || value.isNull();
}

bool isContainer(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantList:
    case QMetaType::QVariantHash:
    case QMetaType::QByteArray:
        return true;
    default:
        return false;
    }
}

// How a dictionary value becomes a typed one and back.
template <typename T>
struct Codec;

template <>
struct Codec<QString> {
    // Anything scalar by its text; a dictionary, list or bytes where text belongs as no text.
    static std::optional<QString> read(const QVariant& value) {
        if (isNothing(value))
            return std::nullopt;
        return isContainer(value) ? QString() : value.toString();
    }
    static QVariant write(const QString& text) { return text; }
};

template <>
struct Codec<qlonglong> {
    // A number as it is, a text by its leading integer.
    static std::optional<qlonglong> read(const QVariant& value) {
        if (isNothing(value) || isContainer(value))
            return std::nullopt;
        return integerValue(value);
    }
    static QVariant write(qlonglong number) { return number; }
};

template <>
struct Codec<qulonglong> {
    static std::optional<qulonglong> read(const QVariant& value) {
        if (isNothing(value) || isContainer(value))
            return std::nullopt;
        return value.typeId() == QMetaType::QString ? qulonglong(integerValue(value))
                                                    : value.toULongLong();
    }
    static QVariant write(qulonglong number) { return number; }
};

template <>
struct Codec<QByteArray> {
    static std::optional<QByteArray> read(const QVariant& value) {
        if (value.typeId() != QMetaType::QByteArray)
            return std::nullopt;
        return value.toByteArray();
    }
    static QVariant write(const QByteArray& bytes) { return bytes; }
};

template <>
struct Codec<Tags::Year> {
    static std::optional<Tags::Year> read(const QVariant& value) {
        if (isNothing(value) || isContainer(value))
            return std::nullopt;
        if (value.typeId() == QMetaType::QString)
            return Tags::Year(value.toString());
        return Tags::Year(value.toLongLong());
    }
    static QVariant write(const Tags::Year& year) {
        return std::visit([](const auto& held) { return QVariant(held); }, year);
    }
};

// The metadata dictionary's keys beside the framework's common ones.
const QString imageDataKey = QStringLiteral("imageData");
const QString yearKey = QStringLiteral("year");
const QString trackNumberKey = QStringLiteral("trackNumber");
const QString trackCountKey = QStringLiteral("trackCount");
const QString durationKey = QStringLiteral("duration");
const QString podcastNameKey = QStringLiteral("podcastName");
const QString episodeNumberKey = QStringLiteral("episodeNumber");
const QString seriesNameKey = QStringLiteral("seriesName");
const QString seasonNumberKey = QStringLiteral("seasonNumber");

// Every field with its key, in the dictionary's vocabulary.
template <typename TagsRef, typename Visit>
void forEachField(TagsRef& tags, Visit&& visit) {
    visit(AVMetadataCommonKeyTitle, tags.title);
    visit(AVMetadataCommonKeyArtist, tags.artist);
    visit(AVMetadataCommonKeyAlbumName, tags.albumName);
    visit(AVMetadataCommonKeyType, tags.genre);
    visit(AVMetadataCommonKeyCreationDate, tags.creationDate);
    visit(yearKey, tags.year);
    visit(trackNumberKey, tags.trackNumber);
    visit(trackCountKey, tags.trackCount);
    visit(durationKey, tags.duration);
    visit(podcastNameKey, tags.podcastName);
    visit(episodeNumberKey, tags.episodeNumber);
    visit(seriesNameKey, tags.seriesName);
    visit(seasonNumberKey, tags.seasonNumber);
    visit(imageDataKey, tags.artwork);
}

template <typename T>
QVariant dictionaryValue(const TagValue<T>& tag) {
    if (tag.given())
        return *tag.given();
    return tag ? Codec<T>::write(*tag) : QVariant();
}

} // namespace

Tags Tags::fromDictionary(const QVariantMap& metadata) {
    Tags tags;
    for (auto it = metadata.cbegin(); it != metadata.cend(); ++it)
        tags.setValue(it.key(), it.value());
    return tags;
}

void Tags::setValue(const QString& key, const QVariant& value) {
    bool known = false;
    forEachField(*this, [&](const QString& fieldKey, auto& tag) {
        if (known || fieldKey != key)
            return;
        using T = std::decay_t<decltype(*tag)>;
        tag = TagValue<T>::read(Codec<T>::read(value), value);
        known = true;
    });
    if (!known)
        others.insert(key, value);
}

void Tags::setTypedText(const QString& key, const QString& text) {
    bool ok = false;
    const qlonglong number = text.toLongLong(&ok);
    bool numeric = false;
    forEachField(*this, [&](const QString& fieldKey, auto& tag) {
        using T = std::decay_t<decltype(*tag)>;
        if constexpr (std::is_same_v<T, qlonglong> || std::is_same_v<T, qulonglong>) {
            if (ok && fieldKey == key) {
                tag = TagValue<T>(T(number));
                numeric = true;
            }
        }
    });
    if (!numeric)
        setValue(key, text);
}

QVariantMap Tags::toDictionary() const {
    QVariantMap metadata = others;
    forEachField(*this, [&metadata](const QString& key, const auto& tag) {
        if (tag || tag.given())
            metadata.insert(key, dictionaryValue(tag));
    });
    return metadata;
}

void Tags::mergeOver(const Tags& other) {
    QVariantMap merged = toDictionary();
    const QVariantMap theirs = other.toDictionary();
    for (auto it = theirs.cbegin(); it != theirs.cend(); ++it) {
        if (!isNothing(*it))
            merged.insert(it.key(), *it);
    }
    *this = fromDictionary(merged);
}

std::optional<qlonglong> Tags::yearNumber() const {
    if (!year)
        return std::nullopt;
    if (const auto* text = std::get_if<QString>(&*year))
        return leadingInteger(*text);
    return std::get<qlonglong>(*year);
}

std::optional<QString> Tags::yearText() const {
    if (!year)
        return std::nullopt;
    if (const auto* text = std::get_if<QString>(&*year))
        return *text;
    return QString::number(std::get<qlonglong>(*year));
}

} // namespace tolvane
