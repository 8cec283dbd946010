#include "HttpClient.h"

#include <QAbstractNetworkCache>
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QStringDecoder>
#include <QThread>
#include <QTimer>

#include <memory>

namespace tolvane {

namespace {

// What one request has gathered so far.
struct Transfer {
    QPointer<QObject> context;
    bool hasContext = false;
    QByteArray body;
    bool tooLarge = false;
    bool timedOut = false;

    bool contextGone() const { return hasContext && !context; }
};

QString megabytes(qint64 bytes) {
    return QString::number(double(bytes) / (1024.0 * 1024.0), 'g', 3);
}

} // namespace

HttpClient::HttpClient(QObject* parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this)) {
    m_manager->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
}

HttpClient::~HttpClient() = default;

HttpClient& HttpClient::shared() {
    static QPointer<HttpClient> instance;
    if (!instance) {
        // Owned by the application so that it goes before the event loop's objects do.
        QCoreApplication* app = QCoreApplication::instance();
        Q_ASSERT_X(app && QThread::currentThread() == app->thread(), "HttpClient::shared",
                   "first use on the application's thread");
        instance = new HttpClient(app);
    }
    return *instance;
}

void HttpClient::setCache(QAbstractNetworkCache* cache) {
    m_manager->setCache(cache);
}

QString HttpClient::decodedBody(const QByteArray& body, const QByteArray& contentType) {
    QByteArray charset;
    const QList<QByteArray> parameters = contentType.split(';');
    for (qsizetype i = 1; i < parameters.size(); ++i) {
        const QByteArray parameter = parameters.at(i).trimmed();
        if (parameter.toLower().startsWith("charset=")) {
            charset = parameter.mid(8).trimmed();
            if (charset.size() >= 2 && charset.startsWith('"') && charset.endsWith('"'))
                charset = charset.mid(1, charset.size() - 2);
            break;
        }
    }
    if (!charset.isEmpty()) {
        QStringDecoder decoder(charset.constData());
        if (decoder.isValid())
            return decoder.decode(body);
    }
    return QString::fromUtf8(body);
}

void HttpClient::get(const QUrl& url, const Headers& headers, QObject* context, TextHandler success,
                     FailureHandler failure) {
    start(
        url, headers, context,
        [success = std::move(success)](const QByteArray& body, const QByteArray& contentType) {
            if (success)
                success(decodedBody(body, contentType));
        },
        std::move(failure));
}

void HttpClient::getData(const QUrl& url, const Headers& headers, QObject* context,
                         DataHandler success, FailureHandler failure) {
    start(url, headers, context, std::move(success), std::move(failure));
}

void HttpClient::start(const QUrl& url, const Headers& headers, QObject* context,
                       DataHandler success, FailureHandler failure) {
    auto transfer = std::make_shared<Transfer>();
    transfer->context = context;
    transfer->hasContext = context != nullptr;

    // The network objects belong to the client's thread: requests made elsewhere start there.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this,
            [this, url, headers, transfer, success = std::move(success),
             failure = std::move(failure)]() mutable {
                if (!transfer->contextGone())
                    start(url, headers, transfer->context, std::move(success), std::move(failure));
            },
            Qt::QueuedConnection);
        return;
    }

    QNetworkRequest request(url);
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    if (m_manager->cache())
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                             QNetworkRequest::PreferCache);
    QNetworkReply* reply = m_manager->get(request);

    auto* timer = new QTimer(reply);
    timer->setSingleShot(true);
    timer->setInterval(m_timeoutMs);
    connect(timer, &QTimer::timeout, reply, [reply, transfer] {
        transfer->timedOut = true;
        reply->abort();
    });
    timer->start();

    if (context)
        connect(context, &QObject::destroyed, reply, &QNetworkReply::abort);

    const qint64 limit = m_bodyLimit;
    const auto take = [reply, transfer, timer, limit] {
        if (transfer->tooLarge)
            return;
        timer->start();
        const QVariant declared = reply->header(QNetworkRequest::ContentLengthHeader);
        if (declared.isValid() && declared.toLongLong() > limit) {
            transfer->tooLarge = true;
        } else {
            transfer->body += reply->read(limit + 1 - transfer->body.size());
            transfer->tooLarge = transfer->body.size() > limit;
        }
        if (transfer->tooLarge) {
            transfer->body.clear();
            reply->abort();
        }
    };
    connect(reply, &QNetworkReply::readyRead, reply, take);

    const int timeoutMs = m_timeoutMs;
    connect(reply, &QNetworkReply::finished, this,
            [reply, transfer, take, limit, timeoutMs, success = std::move(success),
             failure = std::move(failure)] {
                reply->deleteLater();
                if (transfer->contextGone())
                    return;
                if (!transfer->tooLarge && !transfer->timedOut && reply->bytesAvailable() > 0)
                    take();

                const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
                QString problem;
                if (transfer->tooLarge) {
                    problem =
                        QStringLiteral("The response is larger than %1 MB").arg(megabytes(limit));
                } else if (transfer->timedOut) {
                    problem = QStringLiteral("No answer from the server within %1 s")
                                  .arg(double(timeoutMs) / 1000.0);
                } else if (status.isValid() && (status.toInt() < 200 || status.toInt() > 299)) {
                    const QString reason =
                        reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
                    problem =
                        reason.isEmpty()
                            ? QStringLiteral("HTTP status %1").arg(status.toInt())
                            : QStringLiteral("HTTP status %1 (%2)").arg(status.toInt()).arg(reason);
                } else if (reply->error() != QNetworkReply::NoError) {
                    problem = reply->errorString();
                } else if (!status.isValid()) {
                    problem = QStringLiteral("No HTTP status in the answer");
                }

                if (!problem.isEmpty()) {
                    if (failure)
                        failure(problem);
                    return;
                }
                if (success)
                    success(transfer->body, reply->rawHeader("Content-Type"));
            });
}

} // namespace tolvane
