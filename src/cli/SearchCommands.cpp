#include "cli/Command.h"
#include "import/MediaKinds.h"
#include "net/HttpClient.h"
#include "search/ArtworkSearch.h"
#include "search/ImageSearchRequest.h"
#include "search/ImageSearchScraper.h"

#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>

#include <cstdio>

namespace tolvane::cli {

namespace {

const QCommandLineOption keywordOption(QStringLiteral("keyword"),
                                       QStringLiteral("The word added to the text (default none)."),
                                       QStringLiteral("K"));

const QCommandLineOption providerOption(
    QStringLiteral("provider"),
    QStringLiteral("Ask this provider (folder, itunes, deezer, musicbrainz, web; all: every one); "
                   "may be given more than once."),
    QStringLiteral("NAME"));
const QCommandLineOption kindOption(QStringLiteral("kind"),
                                    QStringLiteral("The media kind (default song)."),
                                    QStringLiteral("KIND"));
const QCommandLineOption pathOption(QStringLiteral("path"),
                                    QStringLiteral("The media file, whose folder may hold its "
                                                   "cover (for the folder provider)."),
                                    QStringLiteral("FILE"));

// The records as a list, or null when the page held no result marker.
QVariant records(const std::optional<QList<QVariantMap>>& images) {
    if (!images)
        return {};
    QVariantList list;
    for (const QVariantMap& record : *images)
        list.append(record);
    return list;
}

int rejected(const QString& cause) {
    std::fprintf(stderr, "tolvane-cli: Failed to retrieve images: %s\n", qPrintable(cause));
    return Rejected;
}

int query(const QCommandLineParser& parser, Format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return fail(QStringLiteral("query takes TEXT and KEYWORD (quote them; \"\" for none)"));
    const ImageSearchRequest request =
        ImageSearchRequest::forSearch(arguments.at(0), arguments.at(1));
    std::printf("%s\n", request.url.toEncoded().constData());
    return Success;
}

int scrape(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("scrape takes one saved result page"));
    QFile file(arguments.at(0));
    if (!file.open(QIODevice::ReadOnly))
        return fail(
            QStringLiteral("%1: cannot be read: %2").arg(file.fileName(), file.errorString()));
    print(records(ImageSearchScraper::imagesFromPage(HttpClient::decodedBody(file.readAll(), {}))),
          format);
    return Success;
}

// The providers' records merged as the results screen merges them.
int providerSearch(const QCommandLineParser& parser, Format format, const QString& text) {
    QStringList names;
    for (const QString& value : parser.values(providerOption)) {
        if (value == QLatin1String("all")) {
            names += ArtworkSearch::allProviders();
        } else if (ArtworkSearch::allProviders().contains(value)) {
            names.append(value);
        } else {
            return fail(QStringLiteral("unknown provider \"%1\" (folder, itunes, deezer, "
                                       "musicbrainz, web or all)")
                            .arg(value));
        }
    }
    const QString kind =
        parser.isSet(kindOption) ? parser.value(kindOption) : QStringLiteral("song");
    if (!MediaKinds::displayName(kind))
        return fail(QStringLiteral("unknown media kind \"%1\"").arg(kind));
    const QString path = parser.value(pathOption);
    if (names.contains(QLatin1String("folder")) && path.isEmpty() &&
        parser.values(providerOption).contains(QLatin1String("folder")))
        return fail(QStringLiteral("the folder provider needs --path FILE"));

    // Every failure is told below, once: the providers' own log lines stay out of the way.
    QLoggingCategory::setFilterRules(QStringLiteral("tolvane.artwork=false"));
    const ArtworkQuery query{text, parser.value(keywordOption), text, kind, path};
    ArtworkSearch search(names);
    QEventLoop loop;
    search.start(query, nullptr, [&loop] { loop.quit(); });
    loop.exec();
    if (search.asked().isEmpty())
        return fail(QStringLiteral("no provider asked serves the kind \"%1\"").arg(kind));
    if (!search.anyRecords())
        return rejected(search.failures().join(QStringLiteral("; ")));
    for (const QString& failure : search.failures())
        std::fprintf(stderr, "tolvane-cli: %s\n", qPrintable(failure));
    QVariantList list;
    for (const QVariantMap& record : search.records())
        list.append(record);
    print(list, format);
    return Success;
}

int search(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("search takes one TEXT (quote it)"));
    if (parser.isSet(providerOption))
        return providerSearch(parser, format, arguments.at(0));
    if (parser.isSet(kindOption) || parser.isSet(pathOption))
        return fail(QStringLiteral("--kind and --path go with --provider"));
    const ImageSearchRequest request =
        ImageSearchRequest::forSearch(arguments.at(0), parser.value(keywordOption));

    QEventLoop loop;
    std::optional<Result<HttpReply>> answer;
    HttpClient::shared().get(request.url, request.headers, &loop,
                             [&](const Result<HttpReply>& reply) {
                                 answer = reply;
                                 loop.quit();
                             });
    loop.exec();
    if (!answer->ok())
        return rejected(answer->failure().message());

    const std::optional<QList<QVariantMap>> images =
        ImageSearchScraper::imagesFromPage(answer->value().text());
    print(records(images), format);
    return images ? Success : rejected(QStringLiteral("the page holds no results"));
}

} // namespace

QList<Command> searchCommands() {
    return {
        {QStringLiteral("query"), QStringLiteral("query TEXT KEYWORD"),
         QStringLiteral("The address of the image search for a text and a keyword."), nullptr,
         query},
        {QStringLiteral("scrape"), QStringLiteral("scrape FILE"),
         QStringLiteral("The image records scraped from a saved result page (null: none)."),
         nullptr, scrape},
        {QStringLiteral("search"),
         QStringLiteral("search TEXT [--keyword K] [--provider NAME|all]... [--kind KIND] "
                        "[--path FILE]"),
         QStringLiteral("Runs an image search (TOLVANE_SEARCH_URL: another service) and prints "
                        "its records; with providers, their records merged."),
         [](QCommandLineParser& parser) {
             parser.addOption(keywordOption);
             parser.addOption(providerOption);
             parser.addOption(kindOption);
             parser.addOption(pathOption);
         },
         search},
    };
}

} // namespace tolvane::cli
