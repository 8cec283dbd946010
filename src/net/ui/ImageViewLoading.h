#pragma once

#include "platform/Result.h"

#include <QImage>
#include <QString>
#include <QUrl>

#include <functional>

namespace tolvane {

class ImageView;
class RemoteImageLoader;

// Shows the placeholder (nothing when it is null) and loads the URL into the view through the
// loader (the shared one when none is given). When the image arrives it replaces the
// placeholder; a failed load leaves the placeholder. The completion then runs on the main
// thread with the image or the cause. Nothing happens once the view has gone, nor for a load
// that a later call on the same view has replaced.
void setImageWithURL(ImageView* view, const QUrl& url, const QImage& placeholder,
                     std::function<void(const Result<QImage>& image)> completion,
                     RemoteImageLoader* loader = nullptr);

} // namespace tolvane
