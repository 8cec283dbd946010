#pragma once

// Test images and the reference box blur the effects' tests hold the row loops against.

#include <QImage>
#include <QRandomGenerator>

#include <algorithm>

namespace tolvane::test {

enum class Alpha { Opaque, Any, Edges };

// Random premultiplied pixels; Edges gives only alpha 0 (so a transparent pixel) or 255.
inline QImage randomImage(QSize size, quint32 seed, Alpha alpha) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator generator(seed);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            int a = 255;
            if (alpha == Alpha::Any)
                a = generator.bounded(256);
            else if (alpha == Alpha::Edges)
                a = generator.bounded(2) * 255;
            image.setPixel(x, y,
                           qPremultiply(qRgba(generator.bounded(256), generator.bounded(256),
                                              generator.bounded(256), a)));
        }
    }
    return image;
}

// The d x d average with edge pixels repeated, each channel rounded once.
inline QImage referenceBox(const QImage& source, int d) {
    QImage out(source.size(), QImage::Format_ARGB32_Premultiplied);
    const int r = d / 2;
    for (int y = 0; y < source.height(); ++y) {
        for (int x = 0; x < source.width(); ++x) {
            long sum[4] = {0, 0, 0, 0};
            for (int dy = -r; dy <= r; ++dy) {
                const uchar* row = source.constScanLine(std::clamp(y + dy, 0, source.height() - 1));
                for (int dx = -r; dx <= r; ++dx) {
                    const uchar* p = row + 4 * std::clamp(x + dx, 0, source.width() - 1);
                    for (int c = 0; c < 4; ++c)
                        sum[c] += p[c];
                }
            }
            const long area = long(d) * d;
            uchar* o = out.scanLine(y) + 4 * x;
            for (int c = 0; c < 4; ++c)
                o[c] = uchar((sum[c] + area / 2) / area);
        }
    }
    return out;
}

} // namespace tolvane::test
