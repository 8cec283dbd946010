#pragma once

#include <QSizeF>
#include <QVersionNumber>

#include <memory>

namespace tolvane {

enum class Idiom { Unspecified = -1, Phone = 0, Pad = 1 };

// What the screens and rules ask of the device: its idiom, the main screen's bounds and scale,
// its orientation and its system version. The one seam through which tests put the system on
// a phone or a pad of any size.
class DeviceTraits {
public:
    virtual ~DeviceTraits() = default;

    virtual Idiom idiom() const = 0;
    // Bounds of the main screen in points.
    virtual QSizeF screenBounds() const = 0;
    // Points to pixels; 0 when the screen cannot say.
    virtual qreal scale() const = 0;
    virtual QVersionNumber systemVersion() const = 0;

    bool isPad() const { return idiom() == Idiom::Pad; }
    bool isLandscape() const;
    bool systemVersionAtLeast(int major) const;
};

// The device this process runs on, derived from the environment and the main window.
//  - scale: TOLVANE_SCALE, else the primary screen's device pixel ratio, else 0;
//  - idiom: TOLVANE_IDIOM ("pad" or "phone"), else pad when the main window's shorter side is
//    at least 768 points;
//  - bounds: the main window's size once it exists, else the primary screen's available size,
//    else a phone's 375 x 667.
class SystemDevice final : public DeviceTraits {
public:
    Idiom idiom() const override;
    QSizeF screenBounds() const override;
    qreal scale() const override;
    QVersionNumber systemVersion() const override;

    // The application reports its main window's size here whenever it changes.
    static void setMainWindowSize(const QSizeF& size);
};

// A device with fixed answers, for tests and for tools that are told their scale.
class FixedDevice final : public DeviceTraits {
public:
    FixedDevice(Idiom idiom, QSizeF bounds, qreal scale,
                QVersionNumber version = QVersionNumber(17, 0));

    Idiom idiom() const override { return m_idiom; }
    QSizeF screenBounds() const override { return m_bounds; }
    qreal scale() const override { return m_scale; }
    QVersionNumber systemVersion() const override { return m_version; }

    void setIdiom(Idiom idiom) { m_idiom = idiom; }
    void setScreenBounds(QSizeF bounds) { m_bounds = bounds; }
    void setScale(qreal scale) { m_scale = scale; }
    void setSystemVersion(QVersionNumber version) { m_version = std::move(version); }

private:
    Idiom m_idiom;
    QSizeF m_bounds;
    qreal m_scale;
    QVersionNumber m_version;
};

class Device {
public:
    // The traits in force: a SystemDevice unless another was installed.
    static const DeviceTraits& current();
    // Puts traits in force and returns the previous ones (null for the built-in default).
    // Call from the main thread while no other thread reads them.
    static std::unique_ptr<DeviceTraits> install(std::unique_ptr<DeviceTraits> traits);
};

// Puts a device in force for one scope, as tests do.
class ScopedDevice {
public:
    explicit ScopedDevice(std::unique_ptr<DeviceTraits> traits);
    ScopedDevice(Idiom idiom, QSizeF bounds, qreal scale);
    ~ScopedDevice();
    ScopedDevice(const ScopedDevice&) = delete;
    ScopedDevice& operator=(const ScopedDevice&) = delete;

private:
    std::unique_ptr<DeviceTraits> m_previous;
};

} // namespace tolvane
