#include "Device.h"

#include <QGuiApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QScreen>

namespace tolvane {

namespace {

constexpr qreal padShorterSide = 768;

QMutex& windowSizeMutex() {
    static QMutex mutex;
    return mutex;
}

QSizeF& mainWindowSize() {
    static QSizeF size;
    return size;
}

QSizeF currentMainWindowSize() {
    QMutexLocker lock(&windowSizeMutex());
    return mainWindowSize();
}

std::unique_ptr<DeviceTraits>& installedTraits() {
    static std::unique_ptr<DeviceTraits> traits;
    return traits;
}

const SystemDevice& systemDevice() {
    static const SystemDevice device;
    return device;
}

} // namespace

bool DeviceTraits::isLandscape() const {
    const QSizeF bounds = screenBounds();
    return bounds.width() > bounds.height();
}

bool DeviceTraits::systemVersionAtLeast(int major) const {
    return systemVersion() >= QVersionNumber(major);
}

Idiom SystemDevice::idiom() const {
    const QString forced = qEnvironmentVariable("TOLVANE_IDIOM").trimmed().toLower();
    if (forced == QLatin1String("pad"))
        return Idiom::Pad;
    if (forced == QLatin1String("phone"))
        return Idiom::Phone;
    const QSizeF window = currentMainWindowSize();
    if (window.isEmpty())
        return Idiom::Phone;
    return qMin(window.width(), window.height()) >= padShorterSide ? Idiom::Pad : Idiom::Phone;
}

QSizeF SystemDevice::screenBounds() const {
    const QSizeF window = currentMainWindowSize();
    if (!window.isEmpty())
        return window;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (const QScreen* screen = QGuiApplication::primaryScreen())
            return screen->availableGeometry().size();
    }
    return QSizeF(375, 667);
}

qreal SystemDevice::scale() const {
    bool ok = false;
    const double forced = qEnvironmentVariable("TOLVANE_SCALE").toDouble(&ok);
    if (ok && forced > 0)
        return forced;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (const QScreen* screen = QGuiApplication::primaryScreen())
            return screen->devicePixelRatio();
    }
    return 0;
}

QVersionNumber SystemDevice::systemVersion() const {
    return QVersionNumber(17, 0);
}

void SystemDevice::setMainWindowSize(const QSizeF& size) {
    QMutexLocker lock(&windowSizeMutex());
    mainWindowSize() = size;
}

FixedDevice::FixedDevice(Idiom idiom, QSizeF bounds, qreal scale, QVersionNumber version)
    : m_idiom(idiom)
    , m_bounds(bounds)
    , m_scale(scale)
    , m_version(std::move(version)) {}

const DeviceTraits& Device::current() {
    if (const auto& traits = installedTraits())
        return *traits;
    return systemDevice();
}

std::unique_ptr<DeviceTraits> Device::install(std::unique_ptr<DeviceTraits> traits) {
    std::swap(installedTraits(), traits);
    return traits;
}

ScopedDevice::ScopedDevice(std::unique_ptr<DeviceTraits> traits)
    : m_previous(Device::install(std::move(traits))) {}

ScopedDevice::ScopedDevice(Idiom idiom, QSizeF bounds, qreal scale)
    : ScopedDevice(std::make_unique<FixedDevice>(idiom, bounds, scale)) {}

ScopedDevice::~ScopedDevice() {
    Device::install(std::move(m_previous));
}

} // namespace tolvane
