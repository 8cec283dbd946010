// A saved result page of the image search, scraped into records as `tolvane-cli scrape FILE`
// does (UTF-8), and as `tolvane-cli search` does for a server that declares UTF-16.

#include "FuzzSupport.h"
#include "net/HttpClient.h"
#include "search/ImageSearchScraper.h"

using namespace tolvane;

namespace {

void scrape(const QString& page) {
    const std::optional<QList<QVariantMap>> records = ImageSearchScraper::imagesFromPage(page);
    if (!records)
        return;
    for (const QVariantMap& record : *records) {
        if (record.value(QStringLiteral("imgurl")).toString().isEmpty() ||
            record.value(QStringLiteral("thumburl")).toString().isEmpty())
            fuzz::fail("a scraped record lacks an address");
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    scrape(HttpClient::decodedBody(bytes, {}));
    scrape(HttpClient::decodedBody(bytes, "text/html; charset=UTF-16"));
    return 0;
}
