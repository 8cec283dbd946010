#include "import/DateFinder.h"

#include <QElapsedTimer>
#include <QTest>

using namespace tolvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Stands for a year of std::nullopt, so that a failure shows it.
QString nothing() {
    return s("(nothing)");
}

// Each match as "start+length date", the date as yyyy-MM-dd or "none".
QStringList described(const QList<DetectedMatch>& matches) {
    QStringList out;
    for (const DetectedMatch& match : matches) {
        out << QStringLiteral("%1+%2 %3")
                   .arg(match.start)
                   .arg(match.length)
                   .arg(match.date ? match.date->toString(Qt::ISODate) : s("none"));
    }
    return out;
}

} // namespace

class TestDateFinder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void year_data();
    void year();
    void matches_data();
    void matches();
    void linearInLength_data();
    void linearInLength();
};

void TestDateFinder::year_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const QString thisYear = QString::number(QDate::currentDate().year());
    const QString none = nothing();
    const auto row = [](const char* text, const QString& expected) {
        QTest::newRow(text) << s(text) << expected;
    };
    QTest::newRow("empty") << QString() << thisYear;
    row("2011", s("2011"));
    row("11", s("11"));
    row("abcd", s("abcd"));
    row("Tue", s("Tue"));
    row("2011-03-05", s("2011"));
    row("2011-03-05 10:20", s("2011"));
    row("2011-03-05T10:20:30Z", s("2011"));
    row("2011-03-05T10:20:30.123+01:00", s("2011"));
    row("20110305", s("2011"));
    row("201103051", thisYear);
    row("20111305", thisYear);
    row("Sat, 05 Mar 2011 10:20:30 +0000", s("2011"));
    row("Tue, 05 Mar 2013 10:20 GMT", s("2013"));
    row("March 5, 2011", s("2011"));
    row("March 5 2012", s("2012"));
    row("Mar 5 2013", s("2013"));
    row("Mar. 5, 2014", s("2014"));
    row("5 March 2015", s("2015"));
    row("5 Mar 2016", s("2016"));
    row("5th March 2017", s("2017"));
    row("March 5th, 2018", s("2018"));
    row("recorded on 5 DECEMBER 2019", s("2019"));
    row("March 2011", s("2011"));
    row("2010/03/05", s("2010"));
    row("2009.03.05", s("2009"));
    row("05/03/2008", s("2008"));
    row("31/12/2007", s("2007"));
    row("13/13/2011", thisYear);
    row("29/02/2011", thisYear);
    row("29 February 2012", s("2012"));
    row("30 February 2011 falls back to the month", s("2011"));
    row("0999-01-01 is too early", thisYear);
    row("5 March 0999", thisYear);
    row("2011-02-30 then nothing", thisYear);
    row("Track 2011 remix", thisYear);
    row("AUGUST 2011, every capital T blanked", thisYear);
    row("at 10:20 only", thisYear);
    row("no date in here at all", thisYear);
    row("2011-03-05 and then 2012-04-06", s("2012"));
    row("1999/12/31 and 2024.01.02", s("2024"));
    row("2011-03-05 see https://example.com/page", none);
    row("March 5, 2011 from someone@example.com", none);
    row("www.example.com on 2011-03-05", s("2011"));
    row("taken from https://example.com/2011-03-05", none);
}

void TestDateFinder::year() {
    QFETCH(QString, text);
    QTEST(getYear(text).value_or(nothing()), "expected");
}

void TestDateFinder::matches_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    const auto row = [](const char* text, std::initializer_list<const char*> expected) {
        QStringList list;
        for (const char* match : expected)
            list << s(match);
        QTest::newRow(text) << s(text) << list;
    };
    row("on 2011-03-05 10:20:30+01:00 ok", {"3+25 2011-03-05"});
    row("2011-03-05T10:20:30Z", {"0+20 2011-03-05"});
    row("2011-03-05T10:20:30.123+01:00", {"0+29 2011-03-05"});
    row("Sat, 05 Mar 2011 10:20:30 +0000", {"0+31 2011-03-05"});
    row(" ue, 05 Mar 2011", {"5+11 2011-03-05"});
    row("the 5th of March 2020", {"4+17 2020-03-05"});
    row("5th March 2011 or March 2012", {"0+14 2011-03-05", "18+10 2012-03-01"});
    row("31/12/2010 and 05/03/2011", {"0+10 2010-12-31", "15+10 2011-05-03"});
    row("mail a.b@example.com or see www.example.com.", {"5+15 none", "28+15 none"});
    row("http://example.com/2011-03-05 x", {"0+29 none"});
    row("20110305@example.com", {"0+20 none"});
    row("a.b@x.com-y and a@b.c or a@b.cd1", {"0+9 none"});
    row("(https://x.y/z). and see www. or WWW.X", {"1+13 none", "33+5 none"});
    row("id20110305 or 1.20110305", {});
    row("Track 2011 remix at 10:20", {});
}

void TestDateFinder::matches() {
    QFETCH(QString, text);
    QTEST(described(DateFinder::matches(text)), "expected");
}

void TestDateFinder::linearInLength_data() {
    QTest::addColumn<QString>("unit");
    // Runs that a link, an address or a date could begin in at every word: walking the rest of
    // the text again from each word made 120 KB of them take seconds.
    for (const char* unit : {"x.", "1.2.", "a-", "2011.03.05.", "5 March ", "Mar 5th, ", "www.,"})
        QTest::newRow(unit) << s(unit);
}

void TestDateFinder::linearInLength() {
    QFETCH(QString, unit);
    QString text;
    while (text.size() < 200000)
        text += unit;
    text += u'@';
    QElapsedTimer timer;
    timer.start();
    const std::optional<QString> year = getYear(text);
    Q_UNUSED(year);
    // About 0.2 s here even in a sanitizer build; the quadratic walk took over a minute.
    QVERIFY2(timer.elapsed() < 15000, qPrintable(QString::number(timer.elapsed())));
}

QTEST_GUILESS_MAIN(TestDateFinder)
#include "tst_datefinder.moc"
