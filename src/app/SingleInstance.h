#pragma once

#include "platform/Result.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QLocalServer;

namespace tolvane {

// One running application per user and device folder: a later launch hands its arguments to
// the running one over a local socket and leaves. Messages are read in the order they arrive
// and none is dropped when many come at once.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(const QString& key, QObject* parent = nullptr);
    ~SingleInstance() override;

    // The socket name for the current user and a device folder.
    static QString serverNameFor(const QString& deviceRoot);

    // Delivers the texts to a running instance; a failure when there is none to take them or
    // they could not all be sent.
    Status sendToRunningInstance(const QStringList& texts, int timeoutMs = 2000) const;
    // Starts answering later launches; a failure when another instance answers or the socket
    // cannot be made.
    Status listen();
    QString serverName() const { return m_name; }

Q_SIGNALS:
    void messageReceived(const QStringList& texts);

private:
    void acceptConnections();

    QString m_name;
    QLocalServer* m_server = nullptr;
};

} // namespace tolvane
