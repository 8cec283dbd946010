#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>

#include <memory>
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

Status SingleInstance::sendToRunningInstance(const QStringList& texts, int timeoutMs) const {
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs))
        return Failure(QStringLiteral("no running instance answers: %1").arg(socket.errorString()),
                       m_name);
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
            return Failure(QStringLiteral("the running instance did not take the message: %1")
                               .arg(socket.errorString()),
                           m_name);
    }
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(timeoutMs);
    return {};
}

Status SingleInstance::listen() {
    if (m_server)
        return {};
    // Launches at the same moment take turns here: each asks whether someone answers already,
    // and only then makes the socket. Without the turn, the later one would take the name from
    // the earlier one (the socket is made aside and renamed into place).
    QLockFile turn(QDir(QDir::tempPath()).filePath(m_name + QStringLiteral(".lock")));
    if (!turn.tryLock(5000))
        return Failure(QStringLiteral("another launch holds the socket's lock"), m_name);
    {
        QLocalSocket probe;
        probe.connectToServer(m_name);
        if (probe.waitForConnected(500))
            return Failure(QStringLiteral("another instance answers on it"), m_name);
    }
    // Nobody answers: a socket left behind by a process that died goes.
    QLocalServer::removeServer(m_name);
    auto server = std::make_unique<QLocalServer>();
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server->listen(m_name))
        return Failure(server->errorString(), m_name);
    m_server = server.release();
    m_server->setParent(this);
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    return {};
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
