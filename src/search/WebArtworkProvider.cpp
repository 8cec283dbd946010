#include "WebArtworkProvider.h"

#include "net/HttpClient.h"
#include "search/ImageSearchRequest.h"
#include "search/ImageSearchScraper.h"

namespace tolvane {

WebArtworkProvider::WebArtworkProvider(QObject* parent)
    : ArtworkProvider(parent) {}

void WebArtworkProvider::start(const ArtworkQuery& query, Delivery delivery) {
    QObject* search = beginSearch();
    const ImageSearchRequest request = ImageSearchRequest::forSearch(query.text, query.keyword);
    HttpClient::shared().get(request.url, request.headers, search,
                             [delivery](const Result<HttpReply>& reply) {
                                 if (!reply) {
                                     delivery(reply.failure());
                                     return;
                                 }
                                 delivery(ImageSearchScraper::imagesFromPage(reply->text()));
                             });
}

} // namespace tolvane
