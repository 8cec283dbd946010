#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace tolvane {

// Reads an image search's result page as plain text: the page is split at each result marker
// and every piece, the one before the first marker too, gives a record {"imgurl", "thumburl"}
// when it holds both addresses. Records come in page order, duplicates kept.
class ImageSearchScraper {
public:
    // Nothing when the page holds no marker; an empty list when it holds markers but no piece
    // gives both addresses.
    static std::optional<QList<QVariantMap>> imagesFromPage(const QString& page);

    static constexpr const char* resultMarker = "<div class=\"rg_di";
    static constexpr const char* imagePattern = "(imgurl=http)[^;]+";
    static constexpr const char* thumbnailPattern = "\"tu\":\"http[^,]+";
};

} // namespace tolvane
