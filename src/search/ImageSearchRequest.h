#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <utility>

namespace tolvane {

// The one GET request of an image search: the result page's address for a search text and a
// keyword, and the header sent with it.
struct ImageSearchRequest {
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers;

    static ImageSearchRequest forSearch(const QString& searchText, const QString& keyword);

    // The text joined with the keyword by "+", spaces as "+", every ".mp4" dropped.
    static QString queryText(const QString& searchText, const QString& keyword);
    // UTF-8 with every byte that may not stand in a URL as %XX; the URL's reserved characters
    // (";/?:@&=+$,#") and the unreserved ones stay as they are.
    static QByteArray legacyPercentEscaped(const QString& text);
    // Scheme, host and port of the search service: TOLVANE_SEARCH_URL when it holds an
    // absolute URL, else https://www.google.com.
    static QUrl serviceUrl();

    static constexpr const char* path = "/search";
    static constexpr const char* fixedQuery = "espv=2&biw=1050&bih=757&tbs=imgo:1,islt:vga,"
                                              "isz:ex,iszw:500,iszh:500&tbm=isch&source=lnt&q=";
    static constexpr const char* userAgent =
        "Mozilla/5.0 (X11; Linux x86_64; rv:10.0) Gecko/20100101 Firefox/10.0";
};

} // namespace tolvane
