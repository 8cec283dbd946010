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
    QUrl refusedRedirect;

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

QByteArray HttpReply::header(QByteArrayView name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString HttpReply::text() const {
    return HttpClient::decodedBody(body, contentType);
}

void HttpClient::get(const QUrl& url, const Headers& headers, QObject* context,
                     Completion completion) {
    request(
        url, headers, context,
        [completion = std::move(completion)](const Result<HttpReply>& reply) {
            if (!completion)
                return;
            if (!reply || reply->isSuccess()) {
                completion(reply);
                return;
            }
            completion(Failure(
                reply->reason.isEmpty()
                    ? QStringLiteral("HTTP status %1").arg(reply->status)
                    : QStringLiteral("HTTP status %1 (%2)").arg(reply->status).arg(reply->reason),
                reply->url.toDisplayString()));
        });
}

void HttpClient::request(const QUrl& url, const Headers& headers, QObject* context,
                         Completion completion) {
    request(url, headers, context, nullptr, std::move(completion));
}

void HttpClient::request(const QUrl& url, const Headers& headers, QObject* context,
                         RedirectCheck redirectCheck, Completion completion) {
    auto transfer = std::make_shared<Transfer>();
    transfer->context = context;
    transfer->hasContext = context != nullptr;

    // The network objects belong to the client's thread: requests made elsewhere start there.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this,
            [this, url, headers, transfer, redirectCheck = std::move(redirectCheck),
             completion = std::move(completion)]() mutable {
                if (!transfer->contextGone())
                    request(url, headers, transfer->context, std::move(redirectCheck),
                            std::move(completion));
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
    if (redirectCheck)
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::UserVerifiedRedirectPolicy);
    QNetworkReply* reply = m_manager->get(request);
    if (redirectCheck) {
        connect(reply, &QNetworkReply::redirected, reply,
                [reply, transfer, redirectCheck = std::move(redirectCheck)](const QUrl& target) {
                    if (redirectCheck(target)) {
                        Q_EMIT reply->redirectAllowed();
                    } else {
                        transfer->refusedRedirect = target;
                        reply->abort();
                    }
                });
    }

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
            [reply, transfer, take, limit, timeoutMs, completion = std::move(completion)] {
                reply->deleteLater();
                if (transfer->contextGone() || !completion)
                    return;
                if (!transfer->tooLarge && !transfer->timedOut && reply->bytesAvailable() > 0)
                    take();

                const QString where = reply->request().url().toDisplayString();
                const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
                if (transfer->tooLarge) {
                    completion(Failure(
                        QStringLiteral("The response is larger than %1 MB").arg(megabytes(limit)),
                        where));
                    return;
                }
                if (!transfer->refusedRedirect.isEmpty()) {
                    completion(Failure(QStringLiteral("A redirect to %1 was not followed")
                                           .arg(transfer->refusedRedirect.toDisplayString()),
                                       where));
                    return;
                }
                if (transfer->timedOut) {
                    completion(Failure(QStringLiteral("No answer from the server within %1 s")
                                           .arg(double(timeoutMs) / 1000.0),
                                       where));
                    return;
                }
                if (!status.isValid()) {
                    completion(Failure(reply->error() != QNetworkReply::NoError
                                           ? reply->errorString()
                                           : QStringLiteral("No HTTP status in the answer"),
                                       where));
                    return;
                }
                HttpReply answer;
                answer.status = status.toInt();
                answer.body = std::move(transfer->body);
                answer.contentType = reply->rawHeader("Content-Type");
                answer.headers = reply->rawHeaderPairs();
                answer.reason =
                    reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
                answer.url = reply->url();
                completion(answer);
            });
}

} // namespace tolvane
