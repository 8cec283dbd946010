#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>
#include <utility>

class QAbstractNetworkCache;
class QNetworkAccessManager;
class QNetworkReply;

namespace tolvane {

// One HTTP answer, whatever its status.
struct HttpReply {
    int status = 0;
    QString reason; // the status line's phrase ("Not Found")
    QByteArray body;
    QByteArray contentType;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QUrl url; // where the answer came from, after redirects

    bool isSuccess() const { return status >= 200 && status <= 299; }
    // A header's value by its name in any letter case; empty when absent.
    QByteArray header(QByteArrayView name) const;
    // The body decoded with the charset the answer declares, else as UTF-8.
    QString text() const;
};

// Asynchronous HTTP GET requests. Redirects are followed. Completions run on the thread the
// client lives on (the main thread for the shared client), and never once the context object
// given with the request has gone.
class HttpClient : public QObject {
    Q_OBJECT
public:
    using Headers = QList<std::pair<QByteArray, QByteArray>>;
    using Completion = std::function<void(const Result<HttpReply>& reply)>;
    // Whether a redirect to an address may be followed; a refused one fails the request.
    using RedirectCheck = std::function<bool(const QUrl& target)>;

    static constexpr int defaultTimeoutMs = 30000;
    static constexpr qint64 defaultBodyLimit = 16 * 1024 * 1024;

    explicit HttpClient(QObject* parent = nullptr);
    ~HttpClient() override;

    // The application's client, living on the application's thread.
    static HttpClient& shared();

    // Any answer is a reply, whatever its status; a request that gets none (refused, timed
    // out, a body over the limit) is a one-line failure naming the address. A null context
    // means the completion always runs.
    void request(const QUrl& url, const Headers& headers, QObject* context, Completion completion);
    // The same, following only the redirects that the check lets through.
    void request(const QUrl& url, const Headers& headers, QObject* context,
                 RedirectCheck redirectCheck, Completion completion);
    // The same, with a status outside 200-299 a failure too ("HTTP status 404 (Not Found)").
    void get(const QUrl& url, const Headers& headers, QObject* context, Completion completion);

    // Milliseconds without any data from the server after which a request fails.
    int timeout() const { return m_timeoutMs; }
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }
    // Bytes of body past which a response fails.
    qint64 bodyLimit() const { return m_bodyLimit; }
    void setBodyLimit(qint64 bytes) { m_bodyLimit = bytes; }

    // Responses are kept in and served from the cache; the client owns it.
    void setCache(QAbstractNetworkCache* cache);

    // The body decoded with the charset named in a Content-Type value; UTF-8 when it names
    // none or one that is not known.
    static QString decodedBody(const QByteArray& body, const QByteArray& contentType);

private:
    QNetworkAccessManager* m_manager;
    int m_timeoutMs = defaultTimeoutMs;
    qint64 m_bodyLimit = defaultBodyLimit;
};

} // namespace tolvane
