#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <optional>
#include <utility>
#include <variant>

namespace tolvane {

// One tag of a record: a typed value or none. When it was read from a record dictionary, the
// dictionary's own value is kept beside it and written back as it was (a number given as text,
// a date given as a number) until the tag is given a new value.
template <typename T>
class TagValue {
public:
    TagValue() = default;
    TagValue(std::nullopt_t) {}
    TagValue(T value)
        : m_value(std::move(value)) {}
    TagValue(std::optional<T> value)
        : m_value(std::move(value)) {}

    bool has_value() const { return m_value.has_value(); }
    explicit operator bool() const { return m_value.has_value(); }
    const T& operator*() const { return *m_value; }
    const T* operator->() const { return &*m_value; }
    const std::optional<T>& optional() const { return m_value; }
    T value_or(T fallback) const { return m_value.value_or(std::move(fallback)); }
    void reset() { *this = TagValue(); }

    // The dictionary value this tag was read from, if any.
    const std::optional<QVariant>& given() const { return m_given; }
    static TagValue read(std::optional<T> value, QVariant given) {
        TagValue tag(std::move(value));
        tag.m_given = std::move(given);
        return tag;
    }

    bool operator==(const TagValue&) const = default;

private:
    std::optional<T> m_value;
    std::optional<QVariant> m_given;
};

// The tags of one media file as the import works with them: what the tag reader finds, what
// the editor shows and changes, what the tag writer writes. Values under keys that have no
// field of their own (other common keys, values set from the command line) travel in others.
class Tags {
public:
    // A year as the record holds it: a number as it was made, the text as the user typed it.
    using Year = std::variant<qlonglong, QString>;

    TagValue<QString> title;
    TagValue<QString> artist;
    TagValue<QString> albumName;
    TagValue<QString> genre;
    TagValue<QString> creationDate;
    TagValue<Year> year;
    TagValue<qlonglong> trackNumber;
    TagValue<qlonglong> trackCount;
    TagValue<qulonglong> duration; // milliseconds
    TagValue<QString> podcastName;
    TagValue<qlonglong> episodeNumber;
    TagValue<QString> seriesName;
    TagValue<qlonglong> seasonNumber;
    TagValue<QByteArray> artwork; // "imageData": bytes, an image or not
    QVariantMap others;

    // The metadata dictionary and back; a dictionary read and written again is the same.
    static Tags fromDictionary(const QVariantMap& metadata);
    QVariantMap toDictionary() const;

    // Stores a value under a dictionary key (a common key of the media framework, "imageData",
    // ...), as the dictionary would hold it; a later value replaces an earlier one.
    void setValue(const QString& key, const QVariant& value);
    // Stores a value typed as text (on a command line): a number where the key holds one and the
    // text is a whole number, the text itself otherwise (the year stays text, as typed).
    void setTypedText(const QString& key, const QString& text);
    // Every tag that other holds replaces this one's.
    void mergeOver(const Tags& other);

    // The year as a number: a text by its leading digits.
    std::optional<qlonglong> yearNumber() const;
    // The year as text, as a format's "%@" prints it.
    std::optional<QString> yearText() const;

    // The same tags: the same dictionary.
    bool operator==(const Tags& other) const { return toDictionary() == other.toDictionary(); }
};

} // namespace tolvane
