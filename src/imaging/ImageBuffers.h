#pragma once

#include <QImage>
#include <QSizeF>

namespace tolvane {

// The premultiplied ARGB32 surfaces the effects and the scaling draw into. Sizes are in
// points, made at a given scale.
namespace ImageBuffers {

// The pixels that cover a size in points at a scale, rounded up.
QSize pixelSize(QSizeF points, qreal scale);

// A transparent surface of a size in points at a scale.
QImage surface(QSizeF points, qreal scale);

// A premultiplied image whose pixels are left unset, in memory the kernel may back with huge
// pages: a full-screen working image then costs a handful of page faults instead of thousands.
QImage largeImage(QSize size);

// The image drawn over the whole of a transparent surface of its point size; the image itself
// when it already is a premultiplied one at that scale.
QImage drawnAtScale(const QImage& image, qreal scale);

} // namespace ImageBuffers

} // namespace tolvane
