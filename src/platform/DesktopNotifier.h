#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPair>

#include <functional>

namespace tolvane {

// Notices on the desktop through the freedesktop notification service on a session bus. Every
// call is sent without waiting: an answer, an error or no answer at all arrives later (or
// never) and nothing waits for it. A desktop without the service loses the notice, nothing more.
class DesktopNotifier : public QObject {
    Q_OBJECT
public:
    struct Notice {
        QString summary;
        QString body;
        // Shown beside the text when not null; sent as raw pixels, at most imageSide a side.
        QImage image;
        QString iconName;
        // Key and label of each button the notice offers.
        QList<QPair<QString, QString>> actions;
    };

    static constexpr int imageSide = 256;
    static constexpr int answerTimeoutMs = 5000;
    static constexpr const char* service = "org.freedesktop.Notifications";
    static constexpr const char* path = "/org/freedesktop/Notifications";

    explicit DesktopNotifier(const QDBusConnection& bus = QDBusConnection::sessionBus(),
                             QObject* parent = nullptr);

    // Sends the notice; delivered(id) or failed(why) follows, and the callback, when given,
    // gets the id of this notice. The application's name goes with it.
    void notify(const Notice& notice, std::function<void(uint id)> onDelivered = {});

Q_SIGNALS:
    void delivered(uint id);
    void failed(const QString& why);
    // A button of a delivered notice was chosen.
    void actionInvoked(uint id, const QString& key);

private Q_SLOTS:
    void onActionInvoked(uint id, const QString& key);

private:
    QDBusConnection m_bus;
};

} // namespace tolvane
