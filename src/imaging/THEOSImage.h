#pragma once

#include <QImage>
#include <QString>

namespace tolvane::THEOSImage {

// The image for a plain ".png" name in a folder, at the density of the main screen
// (Device::current().scale()). The density file is required: there is no fall-back to the
// plain file. A density image is redrawn at its point size (pixels / factor) on a surface of
// the screen's scale, so its devicePixelRatio is the scale; without a factor the decoded image
// is returned at scale 1. A missing or undecodable file gives a null image.
QImage imageWithName(const QString& name, const QString& directory);
// The same at a scale read on the screen's thread beforehand, for work away from it.
QImage imageWithName(const QString& name, const QString& directory, qreal scale);

} // namespace tolvane::THEOSImage
