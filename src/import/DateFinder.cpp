#include "DateFinder.h"

#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

namespace tolvane {

namespace {

// What a pattern's match stands for. A numeric date with the year last is read month first
// when that is a real day, else day first.
enum class Kind { Date, MonthOrDayFirst, NotDate };

struct Pattern {
    QRegularExpression expression;
    Kind kind;
};

// The English names as one alternation.
QString alternation(QStringList names) {
    names.removeDuplicates();
    return QStringLiteral("(?:") + names.join(u'|') + u')';
}

QString monthNames() {
    const QLocale english(QLocale::C);
    QStringList names;
    for (int month = 1; month <= 12; ++month)
        names << english.monthName(month, QLocale::LongFormat)
              << english.monthName(month, QLocale::ShortFormat);
    return alternation(names);
}

QString dayNames() {
    const QLocale english(QLocale::C);
    QStringList names;
    for (int day = 1; day <= 7; ++day)
        names << english.dayName(day, QLocale::LongFormat)
              << english.dayName(day, QLocale::ShortFormat);
    return alternation(names);
}

// Every name, long or short, begins with the three letters of the short one.
int monthFromName(QStringView name) {
    const QLocale english(QLocale::C);
    for (int month = 1; month <= 12; ++month) {
        if (name.left(3).compare(english.monthName(month, QLocale::ShortFormat),
                                 Qt::CaseInsensitive) == 0)
            return month;
    }
    return 0;
}

const QList<Pattern>& patterns() {
    static const QList<Pattern> list = [] {
        const QString year = QStringLiteral(R"((?<y>[1-9]\d{3})(?!\d))");
        const QString day = QStringLiteral(R"((?<d>[0-3]?\d)(?:st|nd|rd|th)?)");
        const QString month = QStringLiteral("(?<mn>") + monthNames() + QStringLiteral(R"()\.?)");
        const QString weekday =
            QStringLiteral("(?:") + dayNames() + QStringLiteral(R"(\.?,?\s+)?)");
        const QString gap = QStringLiteral(R"(,?\s+)");
        // An optional time of day and zone, kept in the match: "T10:20", " 10:20:30.123+01:00",
        // " 10:20:30 +0000", " 10:20 GMT".
        const QString time =
            QStringLiteral(R"((?:(?:T|\s+)(?:[01]?\d|2[0-3]):[0-5]\d(?::[0-5]\d(?:[.,]\d+)?)?)"
                           R"((?:\s*(?:Z|UTC?|GMT|[+-](?:[01]\d|2[0-3]):?[0-5]\d)\b)?)?)");
        const auto make = [](const QString& expression, Kind kind) {
            return Pattern{
                QRegularExpression(expression, QRegularExpression::CaseInsensitiveOption), kind};
        };
        return QList<Pattern>{
            // 2011-03-05, 2011/3/5, 2011.03.05
            make(QStringLiteral(R"((?<y>[1-9]\d{3})(?<s>[-/.])(?<m>[01]?\d)\k<s>(?<d>[0-3]?\d))"
                                R"((?!\d))") +
                     time,
                 Kind::Date),
            // 20110305, but not as part of a longer number
            make(QStringLiteral(R"((?<![\w.,+-])(?<y>[1-9]\d{3})(?<m>[01]\d)(?<d>[0-3]\d))"
                                R"((?!\w|[.,]\d))"),
                 Kind::Date),
            // 03/05/2011 or 31/12/2010
            make(QStringLiteral(R"((?<m>[0-3]?\d)(?<s>[-/.])(?<d>[0-3]?\d)\k<s>)") + year + time,
                 Kind::MonthOrDayFirst),
            // Sat, 05 Mar 2011 10:20:30 +0000; 5th of March 2011
            make(weekday + day + QStringLiteral(R"((?:\s+of)?\s+)") + month + gap + year + time,
                 Kind::Date),
            // Saturday, March 5th, 2011
            make(weekday + month + QStringLiteral(R"(\s+)") + day + gap + year + time, Kind::Date),
            // March 2011
            make(month + gap + year, Kind::Date),
            make(QStringLiteral(R"((?:https?://|www\.)[^\s<>"]*[^\s<>".,;:!?'()])"), Kind::NotDate),
            make(QStringLiteral(R"(\w[\w.%+-]*@[a-z\d-]+(?:\.[a-z\d-]+)*\.[a-z]{2,}\b)"),
                 Kind::NotDate),
        };
    }();
    return list;
}

// The day a date pattern's match names; an invalid date when it is no real day.
QDate dateOf(const QRegularExpressionMatch& match, Kind kind) {
    const int year = match.captured(u"y").toInt();
    const QString name = match.captured(u"mn");
    const int month = name.isEmpty() ? match.captured(u"m").toInt() : monthFromName(name);
    const QString dayText = match.captured(u"d");
    const int day = dayText.isEmpty() ? 1 : dayText.toInt();
    const QDate date(year, month, day);
    if (kind == Kind::MonthOrDayFirst && !date.isValid())
        return QDate(year, day, month);
    return date;
}

// The longest match of any pattern beginning at the position.
std::optional<DetectedMatch> longestAt(const QString& text, qsizetype position) {
    std::optional<DetectedMatch> longest;
    for (const Pattern& pattern : patterns()) {
        const QRegularExpressionMatch match =
            pattern.expression.match(text, position, QRegularExpression::NormalMatch,
                                     QRegularExpression::AnchorAtOffsetMatchOption);
        if (!match.hasMatch() || (longest && match.capturedLength() <= longest->length))
            continue;
        DetectedMatch candidate{position, match.capturedLength(), std::nullopt};
        if (pattern.kind != Kind::NotDate) {
            const QDate date = dateOf(match, pattern.kind);
            if (!date.isValid())
                continue;
            candidate.date = date;
        }
        longest = candidate;
    }
    return longest;
}

} // namespace

QList<DetectedMatch> DateFinder::matches(const QString& text) {
    QList<DetectedMatch> found;
    qsizetype position = 0;
    while (position < text.size()) {
        // Every pattern begins with a letter or digit, and none begins inside a word.
        const bool wordStart = text.at(position).isLetterOrNumber() &&
                               (position == 0 || !text.at(position - 1).isLetterOrNumber());
        const std::optional<DetectedMatch> match =
            wordStart ? longestAt(text, position) : std::nullopt;
        if (match)
            found.append(*match);
        position += match ? match->length : 1;
    }
    return found;
}

std::optional<QString> getYear(const QString& text) {
    const QString thisYear = QString::number(QDate::currentDate().year());
    if (text.isEmpty())
        return thisYear;
    if (text.size() <= 4)
        return text;
    QString spaced = text;
    spaced.replace(u'T', u' ');
    std::optional<QString> year = thisYear;
    for (const DetectedMatch& match : DateFinder::matches(spaced)) {
        year =
            match.date ? std::optional<QString>(QString::number(match.date->year())) : std::nullopt;
    }
    return year;
}

} // namespace tolvane
