#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <chrono>
#include <functional>

namespace tolvane {

// One artwork service with a JSON interface, as a provider asks it: where it is (a default
// address, or a mirror's from the environment), how it is asked (a User-Agent naming Tolvane,
// at most one request per interval when it says so), and what it answered (kept for a day;
// 403, 429 and 503 pause the provider). Redirects are followed only to the service's own host
// and to the hosts it names.
class ArtworkService {
public:
    struct Description {
        QString provider; // the provider asking ("musicbrainz"): pauses and logs
        QString name;     // the service's own name ("coverart"): pacing, messages
        const char* environmentVariable = nullptr;
        QString defaultUrl;
        int minimumIntervalMs = 0;   // 0: no pacing
        QStringList redirectDomains; // further hosts, with their subdomains, reached by https
    };

    // An answer with its status; 403, 429 and 503 never come here (they are failures).
    struct Answer {
        int status = 0;
        QByteArray body;
        bool kept = false; // served from the answers kept on disk
        bool isSuccess() const { return status >= 200 && status <= 299; }
    };
    using Completion = std::function<void(const Result<Answer>& answer)>;
    using Records = QList<QVariantMap>;
    using Parser = std::function<Result<Records>(const QByteArray& body)>;

    explicit ArtworkService(Description description);

    const Description& description() const { return m_description; }
    // The environment's address when set (it must be an http or https address), else the
    // default.
    Result<QUrl> baseUrl() const;
    // The base address with the path appended and the query, already escaped, as given.
    Result<QUrl> address(const QString& path, const QByteArray& encodedQuery = {}) const;
    // Whether a redirect from the service may be followed to the target.
    bool redirectAllowed(const QUrl& target) const;

    // GETs the address: a kept answer comes back without a request; otherwise the request
    // waits for its slot and is sent unless the provider is paused. Completions run on the
    // context's thread, never once it has gone.
    void fetch(const QUrl& url, QObject* context, Completion completion) const;
    // fetch, then parse of a successful answer, which is kept when its records could be read;
    // a failed request or a status outside 2xx comes to done as a failure.
    void fetchRecords(const QUrl& url, QObject* context, Parser parser,
                      std::function<void(const Result<Records>&)> done) const;
    // Keeps an answer that was read successfully, for a day.
    static void keep(const QUrl& url, const Answer& answer);

    // Parses a body on a worker thread and delivers the records on the context's thread.
    static void parse(const QByteArray& body, QObject* context, Parser parser,
                      std::function<void(const Result<Records>&)> done);
    // The body's top-level object, or why there is none.
    static Result<QJsonObject> jsonObject(const QByteArray& body);
    // UTF-8 with every byte but the unreserved characters (letters, digits, "-._~") as %XX.
    static QByteArray escaped(const QString& value);
    // "Tolvane/VERSION ( CONTACT )", as the services ask clients to name themselves.
    static QByteArray userAgent();
    // The longest search text sent to a service; longer texts are cut.
    static constexpr int longestText = 256;

private:
    Failure pausedFailure(std::chrono::seconds left) const;

    Description m_description;
};

} // namespace tolvane
