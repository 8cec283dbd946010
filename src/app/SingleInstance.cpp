#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace tolvane {

namespace {
constexpr QDataStream::Version streamVersion = QDataStream::Qt_6_4;
// A message larger than this is not one of ours.
constexpr qint64 maximumMessageBytes = 16 * 1024 * 1024;
} // namespace

SingleInstance::SingleInstance(const QString& key, QObject* parent)
    : QObject(parent)
    , m_name(key) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::serverNameFor(const QString& deviceRoot) {
    const QByteArray digest =
        QCryptographicHash::hash(deviceRoot.toUtf8(), QCryptographicHash::Sha1).toHex().left(12);
    return QStringLiteral("tolvane-%1-%2").arg(::getuid()).arg(QString::fromLatin1(digest));
}

bool SingleInstance::sendToRunningInstance(const QStringList& texts, int timeoutMs) const {
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    QByteArray message;
    {
        QDataStream out(&message, QIODevice::WriteOnly);
        out.setVersion(streamVersion);
        out << texts;
    }
    QByteArray frame;
    QDataStream(&frame, QIODevice::WriteOnly) << quint32(message.size());
    frame += message;
    socket.write(frame);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(timeoutMs))
            return false;
    }
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(timeoutMs);
    return true;
}

bool SingleInstance::listen() {
    if (m_server)
        return true;
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_name)) {
        // Another launch may have started answering in the meantime; its socket stays. Only a
        // socket left behind by a process that died, on which nobody answers, is removed.
        QLocalSocket probe;
        probe.connectToServer(m_name);
        if (probe.waitForConnected(500)) {
            delete m_server;
            m_server = nullptr;
            return false;
        }
        QLocalServer::removeServer(m_name);
        if (!m_server->listen(m_name)) {
            delete m_server;
            m_server = nullptr;
            return false;
        }
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    return true;
}

void SingleInstance::acceptConnections() {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        auto buffer = std::make_shared<QByteArray>();
        auto readFrames = [this, socket, buffer] {
            buffer->append(socket->readAll());
            for (;;) {
                if (buffer->size() < 4)
                    return;
                quint32 length = 0;
                QDataStream(*buffer) >> length;
                if (length > maximumMessageBytes) {
                    socket->abort();
                    return;
                }
                if (buffer->size() < 4 + qint64(length))
                    return;
                QStringList texts;
                QDataStream in(buffer->mid(4, length));
                in.setVersion(streamVersion);
                in >> texts;
                buffer->remove(0, 4 + length);
                if (in.status() == QDataStream::Ok)
                    Q_EMIT messageReceived(texts);
            }
        };
        connect(socket, &QLocalSocket::readyRead, this, readFrames);
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        readFrames();
    }
}

} // namespace tolvane
