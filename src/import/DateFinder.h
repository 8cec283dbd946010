#pragma once

#include <QDate>
#include <QList>
#include <QString>

#include <optional>

namespace tolvane {

// One thing found in free text: a date, or something else a reader would notice (a link or an
// e-mail address), which carries no date.
struct DetectedMatch {
    qsizetype start = 0;
    qsizetype length = 0;
    std::optional<QDate> date; // none for matches that are not dates
};

// Finds dates in free text the way a reader would: ISO dates and times, mail-header dates
// ("Sat, 05 Mar 2011 10:20:30 +0000"), written-out dates in English ("March 5th, 2011",
// "5 Mar 2011", "March 2011"), numeric dates ("2011/03/05", "05/03/2011") and compact
// "20110305" standing on its own. Only real calendar days of the years 1000 to 9999 count; a
// bare year or a time on its own is no date. Links and e-mail addresses are found too, so that
// a date inside one is not taken for the file's date.
class DateFinder {
public:
    // Every match in the text, in order of position, not overlapping (earliest start wins; at
    // equal start the longest).
    static QList<DetectedMatch> matches(const QString& text);
};

// The year of a stored date value, as four-digit text:
//  - empty text: the current year;
//  - one to four characters: the text itself, unchanged (taken to be a year already);
//  - longer: every "T" replaced by a blank, then the year of the LAST match; a last match that
//    carries no date gives nothing (std::nullopt); no match at all: the current year.
std::optional<QString> getYear(const QString& text);

} // namespace tolvane
