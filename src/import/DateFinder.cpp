#include "DateFinder.h"

#include <QHash>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

namespace tolvane {

namespace {

// What a pattern's match stands for. A numeric date with the year last is read month first
// when that is a real day, else day first.
enum class Kind { Date, MonthOrDayFirst };

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

// Links and e-mail addresses, found in one pass over the text each so that a long run of
// characters that could belong to one is walked once, not again from each of its words:
//  - a link is "http://", "https://" or "www." (any case) followed by characters other than
//    blanks, "<", ">" and '"', and ends at the last of them that is not punctuation;
//  - an address is a word character, characters of [A-Za-z0-9_.%+-], "@", and a domain of
//    labels of [A-Za-z0-9-] whose last label is two or more letters at the end of a word.
class LinkScanner {
public:
    explicit LinkScanner(const QString& text)
        : m_text(text)
        , m_lastLinkEnd(text.size() + 1, -1)
        , m_atFrom(text.size() + 1, -1) {
        for (qsizetype i = text.size() - 1; i >= 0; --i) {
            const char16_t c = text.at(i).unicode();
            if (!stopsLink(c))
                m_lastLinkEnd[i] = m_lastLinkEnd[i + 1] >= 0 ? m_lastLinkEnd[i + 1]
                                   : endsLink(c)             ? i
                                                             : -1;
            if (c == u'@')
                m_atFrom[i] = i;
            else if (inAddress(c))
                m_atFrom[i] = m_atFrom[i + 1];
        }
    }

    // The length of a link or address beginning at the position, or 0.
    qsizetype lengthAt(qsizetype position) {
        return qMax(linkLengthAt(position), addressLengthAt(position));
    }

private:
    static bool isBlank(char16_t c) {
        return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f' || c == u'\v';
    }
    static bool stopsLink(char16_t c) { return isBlank(c) || c == u'<' || c == u'>' || c == u'"'; }
    static bool endsLink(char16_t c) { return !QStringView(u".,;:!?'()").contains(QChar(c)); }
    static bool isAsciiLetter(char16_t c) { return (c | 0x20) >= u'a' && (c | 0x20) <= u'z'; }
    static bool isAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
    static bool isWordCharacter(char16_t c) {
        return isAsciiLetter(c) || isAsciiDigit(c) || c == u'_';
    }
    static bool inAddress(char16_t c) {
        return isWordCharacter(c) || c == u'.' || c == u'%' || c == u'+' || c == u'-';
    }
    static bool inLabel(char16_t c) { return isAsciiLetter(c) || isAsciiDigit(c) || c == u'-'; }

    qsizetype linkLengthAt(qsizetype position) const {
        const QStringView rest = QStringView(m_text).mid(position);
        qsizetype prefix = 0;
        for (const QStringView start :
             {QStringView(u"http://"), QStringView(u"https://"), QStringView(u"www.")}) {
            if (rest.startsWith(start, Qt::CaseInsensitive))
                prefix = start.size();
        }
        if (prefix == 0 || position + prefix >= m_text.size())
            return 0;
        const qsizetype end = m_lastLinkEnd[position + prefix];
        return end < 0 ? 0 : end + 1 - position;
    }

    qsizetype addressLengthAt(qsizetype position) {
        if (!isWordCharacter(m_text.at(position).unicode()))
            return 0;
        const qsizetype at = m_atFrom[position + 1];
        if (at < 0)
            return 0;
        auto known = m_domainEnds.constFind(at);
        if (known == m_domainEnds.cend())
            known = m_domainEnds.insert(at, domainEnd(at + 1));
        return *known < 0 ? 0 : *known - position;
    }

    // The end of the longest domain beginning at the position, or -1: labels joined by dots,
    // the last of them two or more letters not followed by a word character.
    qsizetype domainEnd(qsizetype start) const {
        qsizetype best = -1;
        qsizetype i = start;
        bool firstLabel = true;
        while (i < m_text.size()) {
            const qsizetype labelStart = i;
            while (i < m_text.size() && inLabel(m_text.at(i).unicode()))
                ++i;
            if (i == labelStart)
                break;
            if (!firstLabel) {
                // The letters at the start of this label may end the domain.
                qsizetype letters = labelStart;
                while (letters < i && isAsciiLetter(m_text.at(letters).unicode()))
                    ++letters;
                if (letters - labelStart >= 2 &&
                    (letters == m_text.size() || !isWordCharacter(m_text.at(letters).unicode())))
                    best = letters;
            }
            firstLabel = false;
            if (i >= m_text.size() || m_text.at(i) != u'.')
                break;
            ++i;
        }
        return best;
    }

    const QString& m_text;
    QList<qsizetype> m_lastLinkEnd;
    QList<qsizetype> m_atFrom;
    QHash<qsizetype, qsizetype> m_domainEnds;
};

// The longest match of any pattern beginning at the position. A date wins over a link or an
// address of the same length.
std::optional<DetectedMatch> longestAt(const QString& text, qsizetype position,
                                       LinkScanner& links) {
    std::optional<DetectedMatch> longest;
    for (const Pattern& pattern : patterns()) {
        // The text was made valid UTF-16 once (see matches()); checking it again at every
        // position would walk the whole text each time.
        const QRegularExpressionMatch match =
            pattern.expression.match(text, position, QRegularExpression::NormalMatch,
                                     QRegularExpression::AnchorAtOffsetMatchOption |
                                         QRegularExpression::DontCheckSubjectStringMatchOption);
        if (!match.hasMatch() || (longest && match.capturedLength() <= longest->length))
            continue;
        const QDate date = dateOf(match, pattern.kind);
        if (!date.isValid())
            continue;
        longest = DetectedMatch{position, match.capturedLength(), date};
    }
    const qsizetype link = links.lengthAt(position);
    if (link > 0 && (!longest || link > longest->length))
        longest = DetectedMatch{position, link, std::nullopt};
    return longest;
}

// The text with every lone surrogate replaced by U+FFFD, so that its length and positions stay
// as they are.
QString validUtf16(const QString& text) {
    QString valid = text;
    for (qsizetype i = 0; i < valid.size(); ++i) {
        const QChar c = valid.at(i);
        if (c.isHighSurrogate() && i + 1 < valid.size() && valid.at(i + 1).isLowSurrogate())
            ++i;
        else if (c.isSurrogate())
            valid[i] = QChar::ReplacementCharacter;
    }
    return valid;
}

} // namespace

QList<DetectedMatch> DateFinder::matches(const QString& given) {
    const QString text = validUtf16(given);
    QList<DetectedMatch> found;
    LinkScanner links(text);
    qsizetype position = 0;
    while (position < text.size()) {
        // Every pattern begins with a letter or digit, and none begins inside a word.
        const bool wordStart = text.at(position).isLetterOrNumber() &&
                               (position == 0 || !text.at(position - 1).isLetterOrNumber());
        const std::optional<DetectedMatch> match =
            wordStart ? longestAt(text, position, links) : std::nullopt;
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
