// Image bytes sized as artwork for a media kind (`tolvane-cli artwork --kind KIND --scale S`)
// and given the light effect as a screen snapshot (`tolvane-cli effect light --scale S`). The
// first byte picks the kind (its low three bits) and the screen scale (1, 2 or 3, the next
// two); the rest is the image.

#include "FuzzSupport.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageEffects.h"
#include "import/ArtworkSizing.h"
#include "platform/Device.h"

#include <cmath>

using namespace tolvane;

namespace {
// A 1170 x 2532 screen at three times its points has 2.96 million pixels.
constexpr qint64 maximumSnapshotPixels = 3'000'000;
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const QString kind =
        QString::fromLatin1(fuzz::mediaKinds[(data[0] & 0x07) % fuzz::mediaKindCount]);
    const qreal scale = 1 + ((data[0] >> 3) & 0x03) % 3;
    const QByteArray bytes = fuzz::bytesOf(data + 1, size - 1);
    const ScopedDevice device(Idiom::Phone, QSizeF(375, 667), scale);

    if (const Result<ArtworkSizing::Jpeg> jpeg = ArtworkSizing::sizedJpeg(bytes, kind, 80, scale)) {
        if (jpeg->bytes.isEmpty() || jpeg->pixels.isEmpty())
            fuzz::fail("sized artwork without pixels");
        // The points are the rules' for the image's own size, whatever was decoded.
        const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
        if (!header)
            fuzz::fail("sized artwork whose header does not read: %s",
                       qPrintable(header.errorText()));
        const QSizeF wanted = ArtworkSizing::sizeFor(QSizeF(header->size), kind);
        const QSizeF points = jpeg->points;
        if (std::abs(points.width() - wanted.width()) > 1e-6 * wanted.width() + 1e-9 ||
            std::abs(points.height() - wanted.height()) > 1e-6 * wanted.height() + 1e-9)
            fuzz::fail("artwork of %g x %g points where the rules give %g x %g", points.width(),
                       points.height(), wanted.width(), wanted.height());
    }

    // A snapshot is of a screen: larger images only slow the fuzzing down (the effect is
    // linear in the pixels) without reaching other code.
    const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
    if (!header || qint64(header->size.width()) * header->size.height() > maximumSnapshotPixels)
        return 0;
    Result<QImage> decoded = ImageDecoder::decode(bytes);
    if (!decoded)
        return 0;
    QImage snapshot = std::move(*decoded);
    snapshot.setDevicePixelRatio(scale);
    ImageEffects::applyLightEffect(snapshot);
    return 0;
}
