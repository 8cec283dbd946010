#pragma once

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

// Asynchronous HTTP GET requests. Redirects are followed; a status of 200 to 299 is success,
// anything else (no answer, a time-out, an error status, a body over the limit) a failure with
// a one-line cause. Handlers run on the thread the client lives on (the main thread for the
// shared client), and never once the context object given with the request has gone.
class HttpClient : public QObject {
    Q_OBJECT
public:
    using Headers = QList<std::pair<QByteArray, QByteArray>>;
    using TextHandler = std::function<void(const QString& body)>;
    using DataHandler = std::function<void(const QByteArray& body, const QByteArray& contentType)>;
    using FailureHandler = std::function<void(const QString& message)>;

    static constexpr int defaultTimeoutMs = 30000;
    static constexpr qint64 defaultBodyLimit = 16 * 1024 * 1024;

    explicit HttpClient(QObject* parent = nullptr);
    ~HttpClient() override;

    // The application's client, living on the application's thread.
    static HttpClient& shared();

    // The body as text, decoded with the charset the response declares, else as UTF-8.
    // A null context means the handlers always run.
    void get(const QUrl& url, const Headers& headers, QObject* context, TextHandler success,
             FailureHandler failure);
    // The body as bytes with the response's Content-Type.
    void getData(const QUrl& url, const Headers& headers, QObject* context, DataHandler success,
                 FailureHandler failure);

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
    void start(const QUrl& url, const Headers& headers, QObject* context, DataHandler success,
               FailureHandler failure);

    QNetworkAccessManager* m_manager;
    int m_timeoutMs = defaultTimeoutMs;
    qint64 m_bodyLimit = defaultBodyLimit;
};

} // namespace tolvane
