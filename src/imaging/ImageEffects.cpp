#include "ImageEffects.h"

#include "imaging/BoxBlur.h"
#include "imaging/ImageBuffers.h"
#include "imaging/ParallelRows.h"
#include "imaging/PixelKernels.h"
#include "imaging/PortableKernels.h"
#include "platform/Device.h"

#include <QDebug>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tolvane {

namespace {

constexpr double epsilon = 1.1920928955078125e-07;
constexpr double sqrtTwoPi = 2.5066282746310002;
constexpr int matrixDivisor = 256;
constexpr int blurPasses = 3;

qreal deviceScale() {
    return Device::current().scale();
}

QString describe(const QImage& image) {
    const QSizeF points = image.deviceIndependentSize();
    return QStringLiteral("<QImage: %1 x %2 points, scale %3>")
        .arg(points.width())
        .arg(points.height())
        .arg(image.devicePixelRatio());
}

std::array<int, 16> widened(const std::array<qint16, 16>& matrix) {
    std::array<int, 16> wide{};
    std::copy(matrix.begin(), matrix.end(), wide.begin());
    return wide;
}

} // namespace

int ImageEffects::boxKernelSize(qreal blurRadius, qreal scale) {
    const double inputRadius = blurRadius * scale;
    int size = int(std::floor(inputRadius * 3.0 * sqrtTwoPi / 4.0 + 0.5));
    if (size % 2 == 0)
        ++size;
    return size;
}

std::array<qint16, 16> ImageEffects::saturationMatrix(qreal s) {
    const double floating[16] = {
        0.0722 + 0.9278 * s,
        0.0722 - 0.0722 * s,
        0.0722 - 0.0722 * s,
        0,
        0.7152 - 0.7152 * s,
        0.7152 + 0.2848 * s,
        0.7152 - 0.7152 * s,
        0,
        0.2126 - 0.2126 * s,
        0.2126 - 0.2126 * s,
        0.2126 + 0.7873 * s,
        0,
        0,
        0,
        0,
        1,
    };
    std::array<qint16, 16> fixed{};
    for (size_t i = 0; i < fixed.size(); ++i)
        fixed[i] = qint16(std::clamp(std::round(floating[i] * matrixDivisor), -32768.0, 32767.0));
    return fixed;
}

void ImageEffects::boxConvolve(const QImage& source, QImage& destination, int kernelSize) {
    Q_ASSERT(source.size() == destination.size());
    BoxBlur::apply(source, destination, kernelSize, 1);
}

void ImageEffects::matrixMultiply(const QImage& source, QImage& destination,
                                  const std::array<qint16, 16>& matrix, int divisor) {
    Q_ASSERT(source.size() == destination.size());
    if (divisor == 0 || source.isNull() || source.size() != destination.size())
        return;
    const std::array<int, 16> m = widened(matrix);
    const PixelKernels& kernels = PixelKernels::chosen();
    // Detached once here (unless source is destination, when this leaves both as they are),
    // not by each band.
    uchar* const out = destination.bits();
    const uchar* const in = source.constBits();
    const qsizetype inLine = source.bytesPerLine();
    const qsizetype outLine = destination.bytesPerLine();
    const int width = source.width();
    ParallelRows::run(source.height(), [&](int begin, int end) {
        for (int y = begin; y < end; ++y) {
            if (divisor == matrixDivisor)
                kernels.matrixRow256(in + y * inLine, out + y * outLine, width, m.data());
            else
                matrixRowAnyDivisor(in + y * inLine, out + y * outLine, width, m.data(), divisor);
        }
    });
}

QImage ImageEffects::applyBlurWithRadius(const QImage& image, qreal blurRadius,
                                         const std::optional<QColor>& tintColor,
                                         qreal saturationDeltaFactor,
                                         const std::optional<QImage>& maskImage,
                                         qreal screenScale) {
    const QSizeF points = image.deviceIndependentSize();
    if (points.width() < 1 || points.height() < 1) {
        qWarning().noquote() << QString::asprintf("*** error: invalid size: (%.2f x %.2f). Both "
                                                  "dimensions must be >= 1: ",
                                                  points.width(), points.height()) +
                                    describe(image);
        return {};
    }
    if (image.isNull()) {
        qWarning().noquote() << QStringLiteral("*** error: image must be backed by a CGImage: ") +
                                    describe(image);
        return {};
    }
    if (maskImage && maskImage->isNull()) {
        qWarning().noquote() << QStringLiteral(
                                    "*** error: maskImage must be backed by a CGImage: ") +
                                    describe(*maskImage);
        return {};
    }

    const qreal scale = screenScale > 0 ? screenScale : 1;
    const bool hasBlur = blurRadius > epsilon;
    const bool hasSaturationChange = std::abs(saturationDeltaFactor - 1.0) > epsilon;

    const QImage source = ImageBuffers::drawnAtScale(image, scale);
    if (source.isNull())
        return {};
    QImage result = ImageBuffers::largeImage(source.size());
    if (result.isNull())
        return {};
    result.setDevicePixelRatio(scale);
    const QRgb tint = tintColor ? qPremultiply(tintColor->rgba()) : 0;

    if (!hasBlur) {
        // A saturation change is only ever seen through the blur, so it is not computed.
        const PixelKernels& kernels = PixelKernels::chosen();
        uchar* const out = result.bits();
        ParallelRows::run(result.height(), [&](int begin, int end) {
            for (int y = begin; y < end; ++y)
                kernels.compositeRow(source.constScanLine(y), nullptr, nullptr, tint,
                                     out + y * result.bytesPerLine(), result.width());
        });
        return result;
    }

    QImage mask;
    if (maskImage) {
        mask = ImageBuffers::surface(points, scale);
        QPainter painter(&mask);
        painter.drawImage(QRectF(QPointF(0, 0), points),
                          maskImage->hasAlphaChannel()
                              ? *maskImage
                              : maskImage->convertToFormat(QImage::Format_Alpha8));
    }
    const std::array<int, 16> matrix = widened(saturationMatrix(saturationDeltaFactor));
    BoxBlur::Finish finish;
    finish.matrix = hasSaturationChange ? matrix.data() : nullptr;
    finish.source = &source;
    finish.mask = maskImage ? &mask : nullptr;
    finish.tint = tint;
    // Three box passes come close to a Gaussian.
    BoxBlur::apply(source, result, boxKernelSize(blurRadius, scale), blurPasses, finish);
    return result;
}

QImage ImageEffects::applyBlurWithRadius(const QImage& image, qreal blurRadius,
                                         const std::optional<QColor>& tintColor,
                                         qreal saturationDeltaFactor,
                                         const std::optional<QImage>& maskImage) {
    return applyBlurWithRadius(image, blurRadius, tintColor, saturationDeltaFactor, maskImage,
                               deviceScale());
}

QImage ImageEffects::applyLightEffect(const QImage& image, qreal screenScale) {
    return applyBlurWithRadius(image, 30, QColor::fromRgbF(1, 1, 1, 0.3f), 1.8, std::nullopt,
                               screenScale);
}

QImage ImageEffects::applyExtraLightEffect(const QImage& image, qreal screenScale) {
    return applyBlurWithRadius(image, 20, QColor::fromRgbF(0.97f, 0.97f, 0.97f, 0.82f), 1.8,
                               std::nullopt, screenScale);
}

QImage ImageEffects::applyDarkEffect(const QImage& image, qreal screenScale) {
    return applyBlurWithRadius(image, 20, QColor::fromRgbF(0.11f, 0.11f, 0.11f, 0.73f), 1.8,
                               std::nullopt, screenScale);
}

QImage ImageEffects::applyTintEffectWithColor(const QImage& image, const QColor& tintColor,
                                              qreal screenScale) {
    QColor tint = tintColor;
    if (tintColor.isValid()) {
        // Grey colours keep their grey; others their red, green and blue; alpha becomes 0.6.
        const float alpha = 0.6f;
        tint = QColor::fromRgbF(tintColor.redF(), tintColor.greenF(), tintColor.blueF(), alpha);
    }
    return applyBlurWithRadius(image, 10, tint, -1.0, std::nullopt, screenScale);
}

QImage ImageEffects::applyLightEffect(const QImage& image) {
    return applyLightEffect(image, deviceScale());
}

QImage ImageEffects::applyExtraLightEffect(const QImage& image) {
    return applyExtraLightEffect(image, deviceScale());
}

QImage ImageEffects::applyDarkEffect(const QImage& image) {
    return applyDarkEffect(image, deviceScale());
}

QImage ImageEffects::applyTintEffectWithColor(const QImage& image, const QColor& tintColor) {
    return applyTintEffectWithColor(image, tintColor, deviceScale());
}

} // namespace tolvane
