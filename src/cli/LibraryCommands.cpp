#include "cli/Command.h"
#include "import/ImportRecord.h"
#include "import/ImportSubmission.h"
#include "import/library/MediaLibrary.h"
#include "platform/Device.h"
#include "platform/PropertyList.h"
#include "platform/RegularFile.h"

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

// Artwork files are read whole; a larger one is refused.
constexpr qint64 artworkFileLimit = 256 * 1024 * 1024;

// The record a media file is imported with: as a whole record would be made, with the values
// given on top (counts and numbers as numbers, the year as typed text, as the editor keeps it,
// everything else as text).
Result<ImportRecord> recordForFile(const QCommandLineParser& parser, const QString& file) {
    const QFileInfo info(file);
    // Only an ordinary file is imported: never a folder, a FIFO, a device or a /proc file.
    if (const Status readable = RegularFile::check(file); !readable)
        return readable.failure();
    ImportRecord given;
    given.path = info.absoluteFilePath();
    given.mediaKind = parser.value(kindOption);
    ImportRecord record = ImportRecord::fromWholeRecord(given.toDictionary());
    for (const QString& assignment : parser.values(setOption)) {
        const qsizetype equals = assignment.indexOf(QLatin1Char('='));
        if (equals <= 0)
            return Failure(QStringLiteral("--set takes KEY=VALUE, not \"%1\"").arg(assignment));
        record.metadata.setTypedText(assignment.left(equals), assignment.mid(equals + 1));
    }
    if (parser.isSet(artworkOption)) {
        const Result<QByteArray> image =
            RegularFile::readAll(parser.value(artworkOption), artworkFileLimit);
        if (!image)
            return image.failure();
        record.metadata.artwork = *image;
    }
    return record;
}

int import(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("import takes exactly one RECORD.plist or FILE"));
    ImportRecord record;
    if (parser.isSet(kindOption)) {
        const Result<ImportRecord> made = recordForFile(parser, arguments.first());
        if (!made) {
            std::fprintf(stderr, "tolvane-cli: import failed: %s\n", qPrintable(made.errorText()));
            return Rejected;
        }
        record = *made;
    } else {
        if (parser.isSet(setOption) || parser.isSet(artworkOption))
            return fail(QStringLiteral("--set and --artwork need FILE --kind KIND"));
        const Result<QVariantMap> read = PropertyListReader::readDictionary(arguments.first());
        if (!read)
            return fail(read.errorText());
        record = ImportRecord::fromDictionary(*read);
    }

    const Result<LibraryItem> imported =
        ImportSubmission::submit(record, std::nullopt, Device::current().scale());
    if (!imported) {
        std::fprintf(stderr, "tolvane-cli: import failed: %s\n", qPrintable(imported.errorText()));
        return Rejected;
    }
    print(
        QVariantMap{{QStringLiteral("path"), imported->path}, {QStringLiteral("id"), imported->id}},
        format);
    return Success;
}

int library(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments != QStringList{QStringLiteral("list")})
        return fail(QStringLiteral("library takes one action: list"));
    MediaLibrary mediaLibrary(MediaLibrary::defaultFolder());
    Status read = mediaLibrary.recover();
    const Result<QList<QVariantMap>> items =
        read ? mediaLibrary.items() : Result<QList<QVariantMap>>(read.failure());
    if (!items) {
        std::fprintf(stderr, "tolvane-cli: %s\n", qPrintable(items.errorText()));
        return Rejected;
    }
    QVariantList list;
    for (const QVariantMap& item : *items)
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
