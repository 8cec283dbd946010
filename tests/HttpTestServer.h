#pragma once

// A small HTTP/1.1 server on 127.0.0.1 for the network tests: each path answers with a fixed
// response, and the requests it received are kept.

#include <QHash>
#include <QList>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <utility>

namespace tolvane::test {

class HttpTestServer : public QObject {
public:
    struct Response {
        int status = 200;
        QByteArray reason = "OK";
        QList<std::pair<QByteArray, QByteArray>> headers;
        QByteArray body;
        // Reads the request and never answers.
        bool silent = false;
        // Answers after this many milliseconds.
        int delayMs = 0;
    };

    // Requests as the server read them: the request line and headers.
    struct Request {
        QByteArray path;
        QByteArray head;
    };

    explicit HttpTestServer(QObject* parent = nullptr)
        : QObject(parent) {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                serve(socket);
        });
    }

    bool listen() { return m_server.listen(QHostAddress::LocalHost); }
    QUrl url(const char* path) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2")
                        .arg(m_server.serverPort())
                        .arg(QString::fromUtf8(path)));
    }
    QString base() const {
        return QStringLiteral("http://127.0.0.1:%1").arg(m_server.serverPort());
    }

    void route(const QByteArray& path, const Response& response) { m_routes[path] = response; }
    static Response ok(const QByteArray& body, const QByteArray& contentType = "text/html") {
        return {200, "OK", {{"Content-Type", contentType}}, body, false};
    }
    static Response redirect(const QByteArray& location) {
        return {302, "Found", {{"Location", location}}, {}, false};
    }

    // Called with the path each time an answer has been written.
    std::function<void(const QByteArray& path)> answered;

    const QList<Request>& requests() const { return m_requests; }
    qsizetype requestCount(const QByteArray& path) const {
        return std::count_if(m_requests.cbegin(), m_requests.cend(),
                             [&path](const Request& request) { return request.path == path; });
    }

private:
    void serve(QTcpSocket* socket) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
            QByteArray& pending = m_pending[socket];
            pending += socket->readAll();
            const qsizetype end = pending.indexOf("\r\n\r\n");
            if (end < 0)
                return;
            const QByteArray head = pending.left(end);
            m_pending.remove(socket);
            const QByteArray target = head.left(head.indexOf("\r\n")).split(' ').value(1);
            const QByteArray path =
                target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?'));
            m_requests.append({path, head});
            const Response response =
                m_routes.value(path, Response{404, "Not Found", {}, "missing", false});
            if (response.silent)
                return;
            QByteArray answer =
                "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + response.reason + "\r\n";
            for (const auto& [name, value] : response.headers)
                answer += name + ": " + value + "\r\n";
            answer += "Content-Length: " + QByteArray::number(response.body.size()) +
                      "\r\nConnection: close\r\n\r\n" + response.body;
            QTimer::singleShot(response.delayMs, socket, [this, socket, answer, path] {
                socket->write(answer);
                socket->disconnectFromHost();
                if (answered)
                    answered(path);
            });
        });
    }

    QTcpServer m_server;
    QHash<QByteArray, Response> m_routes;
    QHash<QTcpSocket*, QByteArray> m_pending;
    QList<Request> m_requests;
};

} // namespace tolvane::test
