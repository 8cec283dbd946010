// Date text, as a tag or a recorded download gives it, to the year the editor shows
// (`tolvane-cli year TEXT`), with the date finder's promises checked on the way.

#include "FuzzSupport.h"
#include "import/DateFinder.h"

using namespace tolvane;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(fuzz::bytesOf(data, size));

    const std::optional<QString> year = getYear(text);
    if (text.size() <= 4) {
        if (text.isEmpty() ? !year || year->size() != 4 : year != text)
            fuzz::fail("a short text did not give itself (or, empty, this year)");
    } else if (year) {
        bool number = false;
        const int value = year->toInt(&number);
        if (year->size() != 4 || !number || value < 1000 || value > 9999)
            fuzz::fail("the year \"%s\" is not a year of four digits", qPrintable(*year));
    }

    // In order, not overlapping, inside the text; a date is a real day of 1000 to 9999.
    qsizetype end = 0;
    for (const DetectedMatch& match : DateFinder::matches(text)) {
        if (match.start < end || match.length <= 0 || match.start + match.length > text.size())
            fuzz::fail("match at %lld (length %lld) is out of order or outside the text",
                       qlonglong(match.start), qlonglong(match.length));
        end = match.start + match.length;
        if (match.date &&
            (!match.date->isValid() || match.date->year() < 1000 || match.date->year() > 9999))
            fuzz::fail("a date outside the years 1000 to 9999 was found");
    }
    return 0;
}
