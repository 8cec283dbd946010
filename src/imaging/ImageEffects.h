#pragma once

#include <QColor>
#include <QImage>

#include <array>
#include <optional>

namespace tolvane {

// The frosted-glass effect: a blur of three box passes, a saturation change through a colour
// matrix in fixed point, and a tint over the result, optionally only where a mask lets it
// through. Works on 32-bit ARGB buffers; safe to call off the main thread. Sizes are in points
// (an image's pixel size over its devicePixelRatio); every surface is made at the screen's
// scale. Off the screen's thread, pass the scale read on it: the forms without one ask the
// device, which asks the screen.
namespace ImageEffects {

QImage applyLightEffect(const QImage& image, qreal screenScale);
QImage applyExtraLightEffect(const QImage& image, qreal screenScale);
QImage applyDarkEffect(const QImage& image, qreal screenScale);
QImage applyTintEffectWithColor(const QImage& image, const QColor& tintColor, qreal screenScale);

// A null image and a warning for an image under one point either way, for a null image and
// for a null mask.
QImage applyBlurWithRadius(const QImage& image, qreal blurRadius,
                           const std::optional<QColor>& tintColor, qreal saturationDeltaFactor,
                           const std::optional<QImage>& maskImage, qreal screenScale);

// The same at the device's scale, for callers on the screen's thread.
QImage applyLightEffect(const QImage& image);
QImage applyExtraLightEffect(const QImage& image);
QImage applyDarkEffect(const QImage& image);
QImage applyTintEffectWithColor(const QImage& image, const QColor& tintColor);
QImage applyBlurWithRadius(const QImage& image, qreal blurRadius,
                           const std::optional<QColor>& tintColor, qreal saturationDeltaFactor,
                           const std::optional<QImage>& maskImage = std::nullopt);

// The side of the square box kernel for a radius in points at a screen scale: odd, about
// three quarters of a Gaussian's width.
int boxKernelSize(qreal blurRadius, qreal screenScale);
// The 4 x 4 saturation matrix in fixed point (entries x 256, rounded half away from zero),
// row by row as it is applied: row i is what input channel i (blue, green, red, alpha in
// memory order) adds to each output channel.
std::array<qint16, 16> saturationMatrix(qreal saturationDeltaFactor);

// The pixel kernels, on premultiplied ARGB32 images of one size, in place where the source
// and the destination are the same image. Several box passes in a row are cheaper through
// BoxBlur::apply, which makes them in one pass over memory.
void boxConvolve(const QImage& source, QImage& destination, int kernelSize);
void matrixMultiply(const QImage& source, QImage& destination, const std::array<qint16, 16>& matrix,
                    int divisor);

} // namespace ImageEffects

} // namespace tolvane
