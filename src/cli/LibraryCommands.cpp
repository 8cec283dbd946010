#include "cli/Command.h"
#include "import/ImportRecord.h"
#include "import/ImportSubmission.h"
#include "import/library/MediaLibrary.h"
#include "platform/PropertyList.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace tolvane::cli {

namespace {

const QCommandLineOption kindOption(QStringLiteral("kind"),
                                    QStringLiteral("Import FILE as this media kind."),
                                    QStringLiteral("KIND"));
const QCommandLineOption setOption(QStringLiteral("set"),
                                   QStringLiteral("Set a metadata value (repeatable)."),
                                   QStringLiteral("KEY=VALUE"));
const QCommandLineOption artworkOption(QStringLiteral("artwork"),
                                       QStringLiteral("Use this image as the artwork."),
                                       QStringLiteral("IMAGE"));

// Values typed on the command line: counts and numbers as numbers, the year as typed text
// (as the editor keeps it), everything else as text.
QVariant typedValue(const QString& key, const QString& text) {
    static const QStringList numbers = {QStringLiteral("trackNumber"), QStringLiteral("trackCount"),
                                        QStringLiteral("episodeNumber"),
                                        QStringLiteral("seasonNumber"), QStringLiteral("duration")};
    bool ok = false;
    const qlonglong number = text.toLongLong(&ok);
    return numbers.contains(key) && ok ? QVariant(number) : QVariant(text);
}

// The record a media file is imported with: as a whole record would be made, with the values
// given on top.
std::optional<QVariantMap> recordForFile(const QCommandLineParser& parser, const QString& file,
                                         QString* problem) {
    const QFileInfo info(file);
    if (!info.exists() || info.isDir()) {
        *problem = QStringLiteral("%1: %2").arg(
            file, info.isDir() ? QStringLiteral("is a folder") : QStringLiteral("no such file"));
        return std::nullopt;
    }
    QVariantMap record =
        ImportRecord::fromWholeRecord({{QStringLiteral("path"), info.absoluteFilePath()},
                                       {QStringLiteral("mediaKind"), parser.value(kindOption)},
                                       {QStringLiteral("metadata"), QVariantMap()}});
    QVariantMap metadata = record.value(QStringLiteral("metadata")).toMap();
    for (const QString& assignment : parser.values(setOption)) {
        const qsizetype equals = assignment.indexOf(QLatin1Char('='));
        if (equals <= 0) {
            *problem = QStringLiteral("--set takes KEY=VALUE, not \"%1\"").arg(assignment);
            return std::nullopt;
        }
        const QString key = assignment.left(equals);
        metadata.insert(key, typedValue(key, assignment.mid(equals + 1)));
    }
    if (parser.isSet(artworkOption)) {
        QFile image(parser.value(artworkOption));
        if (!image.open(QIODevice::ReadOnly)) {
            *problem = QStringLiteral("%1: %2").arg(image.fileName(), image.errorString());
            return std::nullopt;
        }
        metadata.insert(QStringLiteral("imageData"), image.readAll());
    }
    record.insert(QStringLiteral("metadata"), metadata);
    return record;
}

int import(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("import takes exactly one RECORD.plist or FILE"));
    QVariantMap record;
    if (parser.isSet(kindOption)) {
        QString problem;
        const std::optional<QVariantMap> made = recordForFile(parser, arguments.first(), &problem);
        if (!made) {
            std::fprintf(stderr, "tolvane-cli: import failed: %s\n", qPrintable(problem));
            return Rejected;
        }
        record = *made;
    } else {
        if (parser.isSet(setOption) || parser.isSet(artworkOption))
            return fail(QStringLiteral("--set and --artwork need FILE --kind KIND"));
        const Result<QVariantMap> read = PropertyListReader::readDictionary(arguments.first());
        if (!read)
            return fail(read.errorText());
        record = *read;
    }

    const ImportOutcome outcome = ImportSubmission::submit(record, std::nullopt);
    if (!outcome.ok()) {
        std::fprintf(stderr, "tolvane-cli: import failed: %s\n", qPrintable(outcome.message));
        return Rejected;
    }
    print(QVariantMap{{QStringLiteral("path"), outcome.path}, {QStringLiteral("id"), outcome.id}},
          format);
    return Success;
}

int library(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments != QStringList{QStringLiteral("list")})
        return fail(QStringLiteral("library takes one action: list"));
    MediaLibrary mediaLibrary(MediaLibrary::defaultFolder());
    QString problem = mediaLibrary.recover();
    const QList<QVariantMap> items = mediaLibrary.items(&problem);
    if (!problem.isEmpty()) {
        std::fprintf(stderr, "tolvane-cli: %s\n", qPrintable(problem));
        return Rejected;
    }
    QVariantList list;
    for (const QVariantMap& item : items)
        list.append(item);
    print(list, format);
    return Success;
}

} // namespace

QList<Command> libraryCommands() {
    return {
        {QStringLiteral("import"),
         QStringLiteral("import [--root DIR] (RECORD.plist | FILE --kind KIND [--set KEY=VALUE]... "
                        "[--artwork IMAGE])"),
         QStringLiteral("Imports into the media library; prints the item's path and id."),
         [](QCommandLineParser& parser) {
             parser.addOption(kindOption);
             parser.addOption(setOption);
             parser.addOption(artworkOption);
         },
         import},
        {QStringLiteral("library"), QStringLiteral("library [--root DIR] list"),
         QStringLiteral("The media library's catalogue."), nullptr, library},
    };
}

} // namespace tolvane::cli
