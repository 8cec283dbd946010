#include "import/library/LibraryFiling.h"

#include "import/MediaKinds.h"

#include <QFileInfo>

namespace tolvane {

namespace {

QString text(const TagValue<QString>& tag) {
    return tag.value_or(QString()).trimmed();
}

QString twoDigits(qlonglong number) {
    return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
}

// Cuts a text to at most `bytes` bytes of UTF-8 without splitting a character.
QString cutToBytes(const QString& text, int bytes) {
    QString cut;
    int used = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool pair =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        const int length = pair                           ? 4
                           : text.at(i).unicode() < 0x80  ? 1
                           : text.at(i).unicode() < 0x800 ? 2
                                                          : 3;
        if (used + length > bytes)
            break;
        used += length;
        cut += text.at(i);
        if (pair)
            cut += text.at(++i);
    }
    return cut;
}

} // namespace

QString LibraryFiling::safeComponent(const QString& input, const QString& fallback) {
    QString cleaned;
    cleaned.reserve(qMin<qsizetype>(input.size(), maximumComponentBytes));
    for (qsizetype i = 0; i < input.size(); ++i) {
        const QChar c = input.at(i);
        if (c.isHighSurrogate() && i + 1 < input.size() && input.at(i + 1).isLowSurrogate()) {
            cleaned += c;
            cleaned += input.at(++i);
        } else if (c.isSurrogate()) {
            cleaned += QChar::ReplacementCharacter; // a lone half is not valid UTF-8
        } else if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c == QLatin1Char(':')) {
            cleaned += QLatin1Char('-');
        } else if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
                   c == QChar::ParagraphSeparator) {
            cleaned += QLatin1Char(' ');
        } else {
            cleaned += c;
        }
        if (cleaned.size() > 4 * maximumComponentBytes)
            break; // enough to fill a component; the rest would be cut anyway
    }
    cleaned = cleaned.simplified();
    while (cleaned.startsWith(QLatin1Char('.')))
        cleaned.remove(0, 1);
    cleaned = cutToBytes(cleaned, maximumComponentBytes).trimmed();
    return cleaned.isEmpty() ? fallback : cleaned;
}

QString LibraryFiling::relativePath(const ImportRecord& record) {
    const Tags& metadata = record.metadata;
    const QString kind = record.mediaKind.value_or(QString());
    const QFileInfo source(record.path.value_or(QString()));

    QString extension = source.suffix().toLower();
    if (extension.isEmpty())
        extension = QStringLiteral("media");
    // Room for the extension and a " (nnn)" within one component.
    const int titleBytes = maximumComponentBytes - int(extension.toUtf8().size()) - 8;
    const auto named = [&](const QString& base) {
        return cutToBytes(base, titleBytes).trimmed() + QLatin1Char('.') +
               safeComponent(extension, QStringLiteral("media"));
    };

    const QString title =
        safeComponent(text(metadata.title),
                      safeComponent(source.completeBaseName(), QStringLiteral("Unknown Title")));
    const QString artist = safeComponent(text(metadata.artist), QStringLiteral("Unknown Artist"));

    if (kind == MediaKinds::musicVideo)
        return QStringLiteral("Music Videos/") +
               named(QStringLiteral("%1 - %2").arg(artist, title));

    if (kind == MediaKinds::featureMovie) {
        const qlonglong year = metadata.yearNumber().value_or(0);
        const QString name = year > 0 ? QStringLiteral("%1 (%2)").arg(title).arg(year) : title;
        const QString folder = safeComponent(name, QStringLiteral("Unknown Movie"));
        return QStringLiteral("Movies/%1/").arg(folder) + named(folder);
    }

    if (kind == MediaKinds::tvEpisode) {
        const QString series =
            safeComponent(text(metadata.seriesName), QStringLiteral("Unknown Series"));
        const qlonglong season = qMax<qlonglong>(1, metadata.seasonNumber.value_or(0));
        const qlonglong episode = qMax<qlonglong>(1, metadata.episodeNumber.value_or(0));
        return QStringLiteral("TV Shows/%1/Season %2/").arg(series, twoDigits(season)) +
               named(QStringLiteral("%1 - S%2E%3 - %4")
                         .arg(series, twoDigits(season), twoDigits(episode), title));
    }

    if (kind == MediaKinds::podcast || kind == MediaKinds::videoPodcast) {
        const QString show =
            safeComponent(text(metadata.podcastName), QStringLiteral("Unknown Podcast"));
        return QStringLiteral("Podcasts/%1/").arg(show) + named(title);
    }

    if (kind == MediaKinds::ringtone)
        return QStringLiteral("Ringtones/") + named(title);

    const QString album = safeComponent(text(metadata.albumName), QStringLiteral("Unknown Album"));
    const qlonglong track = metadata.trackNumber.value_or(0);
    const QString base = track > 0 ? twoDigits(track) + QLatin1Char(' ') + title : title;
    return QStringLiteral("Music/%1/%2/").arg(artist, album) + named(base);
}

QString LibraryFiling::numbered(const QString& relativePath, int n) {
    const qsizetype slash = relativePath.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = relativePath.lastIndexOf(QLatin1Char('.'));
    const qsizetype at = dot > slash ? dot : relativePath.size();
    return relativePath.left(at) + QStringLiteral(" (%1)").arg(n) + relativePath.mid(at);
}

} // namespace tolvane
