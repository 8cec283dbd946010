#include "ProviderPause.h"

#include <QHash>
#include <QLocale>
#include <QLoggingCategory>

#include <algorithm>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcProviders, "tolvane.artwork")

QHash<QString, QDateTime>& pauses() {
    static QHash<QString, QDateTime> until;
    return until;
}

std::chrono::seconds bounded(qint64 seconds) {
    return std::chrono::seconds(
        std::clamp<qint64>(seconds, 1, ProviderPause::longestPause.count()));
}
} // namespace

bool ProviderPause::isPauseStatus(int status) {
    return status == 403 || status == 429 || status == 503;
}

std::chrono::seconds ProviderPause::pauseFor(QByteArrayView retryAfter, const QDateTime& now) {
    const QByteArray value = retryAfter.toByteArray().trimmed();
    if (value.isEmpty())
        return defaultPause;
    if (std::all_of(value.cbegin(), value.cend(), [](char c) { return c >= '0' && c <= '9'; })) {
        // More digits than any pause needs: as long as a pause may be.
        if (value.size() > 9)
            return longestPause;
        return bounded(value.toLongLong());
    }
    // An HTTP date ("Wed, 21 Oct 2026 07:28:00 GMT").
    const QString text = QString::fromLatin1(value);
    QDateTime when =
        QLocale::c().toDateTime(text, QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"));
    if (when.isValid())
        when.setTimeSpec(Qt::UTC);
    else
        when = QDateTime::fromString(text, Qt::RFC2822Date);
    if (!when.isValid())
        return defaultPause;
    return bounded(now.secsTo(when));
}

void ProviderPause::pause(const QString& provider, int status, QByteArrayView retryAfter) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const std::chrono::seconds length = pauseFor(retryAfter, now);
    pauses().insert(provider, now.addSecs(length.count()));
    qCWarning(lcProviders).noquote()
        << QStringLiteral("%1 answered HTTP %2: not asked again for %3 s")
               .arg(provider)
               .arg(status)
               .arg(length.count());
}

std::optional<std::chrono::seconds> ProviderPause::remaining(const QString& provider) {
    const auto found = pauses().constFind(provider);
    if (found == pauses().cend())
        return std::nullopt;
    const qint64 left = QDateTime::currentDateTimeUtc().msecsTo(*found);
    if (left <= 0) {
        pauses().remove(provider);
        return std::nullopt;
    }
    return std::chrono::seconds((left + 999) / 1000);
}

void ProviderPause::clear() {
    pauses().clear();
}

} // namespace tolvane
