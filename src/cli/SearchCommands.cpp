#include "cli/Command.h"
#include "net/HttpClient.h"
#include "search/ImageSearchRequest.h"
#include "search/ImageSearchScraper.h"

#include <QEventLoop>
#include <QFile>

#include <cstdio>

namespace tolvane::cli {

namespace {

const QCommandLineOption keywordOption(QStringLiteral("keyword"),
                                       QStringLiteral("The word added to the text (default none)."),
                                       QStringLiteral("K"));

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

int search(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("search takes one TEXT (quote it)"));
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
        {QStringLiteral("search"), QStringLiteral("search TEXT [--keyword K]"),
         QStringLiteral("Runs an image search (TOLVANE_SEARCH_URL: another service) and prints "
                        "its records."),
         [](QCommandLineParser& parser) { parser.addOption(keywordOption); }, search},
    };
}

} // namespace tolvane::cli
