#include "cli/Command.h"
#include "import/DateFinder.h"
#include "import/ImportRecord.h"
#include "import/MetadataReader.h"
#include "platform/PropertyList.h"
#include "platform/RegularFile.h"

#include <QFileInfo>

namespace tolvane::cli {

namespace {

int info(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("info takes exactly one FILE"));
    // Only an ordinary file is read: a missing one, a folder, a FIFO or a device is bad input.
    if (const Status readable = RegularFile::check(arguments.first()); !readable)
        return fail(readable.errorText());
    const Result<QVariantMap> metadata = MetadataReader::metadataForFile(arguments.first());
    if (!metadata)
        return fail(metadata.errorText());
    print(*metadata, format);
    return Success;
}

const QCommandLineOption kindOption(QStringLiteral("kind"),
                                    QStringLiteral("The media kind the download was recorded as."),
                                    QStringLiteral("KIND"));
const QCommandLineOption wholeOption(QStringLiteral("whole"),
                                     QStringLiteral("The file holds a whole import record."));

int record(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("record takes exactly one property-list file"));
    const bool whole = parser.isSet(wholeOption);
    if (whole == parser.isSet(kindOption))
        return fail(QStringLiteral("record needs either --kind KIND or --whole"));
    const Result<QVariantMap> given = PropertyListReader::readDictionary(arguments.first());
    if (!given)
        return fail(given.errorText());
    print(whole ? ImportRecord::fromWholeRecord(*given).toDictionary()
                : ImportRecord::fromHandoffRecord(*given, parser.value(kindOption)).toDictionary(),
          format);
    return Success;
}

int year(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() > 1)
        return fail(QStringLiteral("year takes one TEXT (quote it)"));
    const std::optional<QString> found = getYear(arguments.value(0));
    if (format == Format::Plist) {
        print(found ? QVariant(*found) : QVariant(), format);
        return Success;
    }
    // An empty line stands for no year.
    std::printf("%s\n", found ? qPrintable(*found) : "");
    return Success;
}

} // namespace

QList<Command> mediaCommands() {
    return {
        {QStringLiteral("info"), QStringLiteral("info FILE"),
         QStringLiteral("The metadata dictionary read from a media file's tags."), nullptr, info},
        {QStringLiteral("record"),
         QStringLiteral("record [--root DIR] (--kind KIND HANDOFF.plist | --whole RECORD.plist)"),
         QStringLiteral("The import record made from a recorded download or a whole record."),
         [](QCommandLineParser& parser) {
             parser.addOption(kindOption);
             parser.addOption(wholeOption);
         },
         record},
        {QStringLiteral("year"), QStringLiteral("year TEXT"),
         QStringLiteral("The four-digit year of a date text (an empty line for none)."), nullptr,
         year},
    };
}

} // namespace tolvane::cli
