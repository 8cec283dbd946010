#include "DesktopNotifier.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace tolvane {

namespace {

// The "image-data" hint: width, height, row stride, alpha, bits per sample, channels, bytes.
struct ImageData {
    QImage image;
};

QDBusArgument& operator<<(QDBusArgument& out, const ImageData& data) {
    const QImage rgba = data.image.convertToFormat(QImage::Format_RGBA8888);
    out.beginStructure();
    out << rgba.width() << rgba.height() << int(rgba.bytesPerLine()) << true << 8 << 4
        << QByteArray(reinterpret_cast<const char*>(rgba.constBits()), rgba.sizeInBytes());
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, ImageData&) {
    // Only ever sent.
    return in;
}

} // namespace

} // namespace tolvane

Q_DECLARE_METATYPE(tolvane::ImageData)

namespace tolvane {

DesktopNotifier::DesktopNotifier(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus) {
    qDBusRegisterMetaType<ImageData>();
    m_bus.connect(QLatin1String(service), QLatin1String(path), QLatin1String(service),
                  QStringLiteral("ActionInvoked"), this, SLOT(onActionInvoked(uint, QString)));
}

void DesktopNotifier::notify(const Notice& notice, std::function<void(uint id)> onDelivered) {
    if (!m_bus.isConnected()) {
        Q_EMIT failed(QStringLiteral("no session bus: %1").arg(m_bus.lastError().message()));
        return;
    }
    QStringList actions;
    for (const auto& [key, label] : notice.actions)
        actions << key << label;
    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"), QStringLiteral("tolvane"));
    if (!notice.image.isNull()) {
        const QImage image = notice.image.width() > imageSide || notice.image.height() > imageSide
                                 ? notice.image.scaled(imageSide, imageSide, Qt::KeepAspectRatio,
                                                       Qt::SmoothTransformation)
                                 : notice.image;
        hints.insert(QStringLiteral("image-data"), QVariant::fromValue(ImageData{image}));
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                       QLatin1String(service), QStringLiteral("Notify"));
    call << QCoreApplication::applicationName() << uint(0) << notice.iconName << notice.summary
         << notice.body << actions << hints << int(-1);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, answerTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, onDelivered = std::move(onDelivered)](QDBusPendingCallWatcher* w) {
                const QDBusPendingReply<uint> reply = *w;
                if (reply.isError()) {
                    Q_EMIT failed(reply.error().message());
                } else {
                    if (onDelivered)
                        onDelivered(reply.value());
                    Q_EMIT delivered(reply.value());
                }
                w->deleteLater();
            });
}

void DesktopNotifier::onActionInvoked(uint id, const QString& key) {
    Q_EMIT actionInvoked(id, key);
}

} // namespace tolvane
