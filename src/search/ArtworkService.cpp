#include "ArtworkService.h"

#include "net/HttpClient.h"
#include "platform/OffScreen.h"
#include "search/ArtworkAnswerCache.h"
#include "search/ArtworkProvider.h"
#include "search/ProviderPause.h"
#include "search/RequestPacer.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QTimer>

#include <utility>

namespace tolvane {

ArtworkService::ArtworkService(Description description)
    : m_description(std::move(description)) {}

Result<QUrl> ArtworkService::baseUrl() const {
    const char* variable = m_description.environmentVariable;
    if (variable && qEnvironmentVariableIsSet(variable)) {
        const QString configured = qEnvironmentVariable(variable);
        if (!ArtworkRecord::isWebAddress(configured))
            return Failure(QStringLiteral("%1 is not an http or https address: \"%2\"")
                               .arg(QString::fromLatin1(variable), configured));
        return QUrl(configured, QUrl::StrictMode);
    }
    return QUrl(m_description.defaultUrl);
}

Result<QUrl> ArtworkService::address(const QString& path, const QByteArray& encodedQuery) const {
    const Result<QUrl> base = baseUrl();
    if (!base)
        return base.failure();
    QByteArray text = base->toEncoded(QUrl::RemoveQuery | QUrl::RemoveFragment);
    while (text.endsWith('/'))
        text.chop(1);
    text += path.toUtf8();
    if (!encodedQuery.isEmpty())
        text += '?' + encodedQuery;
    return QUrl::fromEncoded(text, QUrl::StrictMode);
}

bool ArtworkService::redirectAllowed(const QUrl& target) const {
    const Result<QUrl> base = baseUrl();
    if (!base)
        return false;
    const QString scheme = target.scheme().toLower();
    const QString host = target.host().toLower();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return false;
    // The same service, never from https down to http.
    if (host == base->host().toLower() &&
        target.port(scheme == QLatin1String("https") ? 443 : 80) ==
            base->port(base->scheme() == QLatin1String("https") ? 443 : 80) &&
        !(base->scheme() == QLatin1String("https") && scheme == QLatin1String("http")))
        return true;
    if (scheme != QLatin1String("https"))
        return false;
    for (const QString& domain : m_description.redirectDomains) {
        if (host == domain || host.endsWith(QLatin1Char('.') + domain))
            return true;
    }
    return false;
}

void ArtworkService::fetch(const QUrl& url, QObject* context, Completion completion) const {
    if (std::optional<QByteArray> kept = ArtworkAnswerCache::lookup(url)) {
        QTimer::singleShot(0, context, [completion, body = std::move(*kept)] {
            completion(Answer{200, body, true});
        });
        return;
    }

    if (const std::optional<std::chrono::seconds> left =
            ProviderPause::remaining(m_description.provider)) {
        QTimer::singleShot(0, context,
                           [completion, failure = pausedFailure(*left)] { completion(failure); });
        return;
    }
    const ArtworkService service = *this;
    auto send = [service, url, context, completion] {
        const QString provider = service.description().provider;
        if (const std::optional<std::chrono::seconds> left = ProviderPause::remaining(provider)) {
            completion(service.pausedFailure(*left));
            return;
        }
        HttpClient::shared().request(
            url, {{"User-Agent", userAgent()}, {"Accept", "application/json"}}, context,
            [service](const QUrl& target) { return service.redirectAllowed(target); },
            [service, url, completion](const Result<HttpReply>& reply) {
                if (!reply) {
                    completion(reply.failure());
                    return;
                }
                const QString paused = service.description().provider;
                if (ProviderPause::isPauseStatus(reply->status)) {
                    ProviderPause::pause(paused, reply->status, reply->header("Retry-After"));
                    completion(Failure(QStringLiteral("HTTP status %1; %2 is paused")
                                           .arg(reply->status)
                                           .arg(paused),
                                       url.toDisplayString()));
                    return;
                }
                completion(Answer{reply->status, reply->body, false});
            });
    };
    if (m_description.minimumIntervalMs > 0)
        RequestPacer::schedule(m_description.name, m_description.minimumIntervalMs, context,
                               std::move(send));
    else
        send();
}

Failure ArtworkService::pausedFailure(std::chrono::seconds left) const {
    return Failure(
        QStringLiteral("%1 asked to wait; %2 s left").arg(m_description.name).arg(left.count()));
}

void ArtworkService::fetchRecords(const QUrl& url, QObject* context, Parser parser,
                                  std::function<void(const Result<Records>&)> done) const {
    fetch(url, context,
          [url, context, parser = std::move(parser),
           done = std::move(done)](const Result<Answer>& answer) mutable {
              if (!answer) {
                  done(answer.failure());
                  return;
              }
              if (!answer->isSuccess()) {
                  done(Failure(QStringLiteral("HTTP status %1").arg(answer->status)));
                  return;
              }
              parse(answer->body, context, std::move(parser),
                    [url, kept = *answer, done = std::move(done)](const Result<Records>& records) {
                        if (records)
                            keep(url, kept);
                        done(records);
                    });
          });
}

void ArtworkService::keep(const QUrl& url, const Answer& answer) {
    if (!answer.kept && answer.isSuccess())
        ArtworkAnswerCache::store(url, answer.body);
}

void ArtworkService::parse(const QByteArray& body, QObject* context, Parser parser,
                           std::function<void(const Result<Records>&)> done) {
    // Delivered to the search: when the search goes, the result is dropped.
    runOffScreen(
        context, [body, parser = std::move(parser)] { return parser(body); },
        [done = std::move(done)](const Result<Records>& records) { done(records); });
}

Result<QJsonObject> ArtworkService::jsonObject(const QByteArray& body) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return Failure(QStringLiteral("the answer is not JSON (%1 at byte %2)")
                           .arg(error.errorString())
                           .arg(error.offset));
    if (!document.isObject())
        return Failure(QStringLiteral("the answer is not a JSON object"));
    return document.object();
}

QByteArray ArtworkService::escaped(const QString& value) {
    QString text = value.left(longestText);
    // A cut between the two halves of a character drops the first half too.
    if (!text.isEmpty() && text.back().isHighSurrogate())
        text.chop(1);
    return QUrl::toPercentEncoding(text);
}

QByteArray ArtworkService::userAgent() {
    return QByteArrayLiteral("Tolvane/" TOLVANE_VERSION " ( " TOLVANE_CONTACT " )");
}

} // namespace tolvane
