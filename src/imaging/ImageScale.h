#pragma once

#include <QImage>
#include <QSizeF>

namespace tolvane {

// Scaling of an image to an exact size.
namespace ImageScale {

// A new image of exactly that size in points, on a surface of the given scale, the image
// stretched over it without keeping its aspect ratio. Safe off the screen's thread.
QImage imageWithImage(const QImage& image, QSizeF size, qreal screenScale);
// The same at the screen's scale, asked of the device: for the screen's thread.
QImage imageWithImage(const QImage& image, QSizeF size);

} // namespace ImageScale

} // namespace tolvane
