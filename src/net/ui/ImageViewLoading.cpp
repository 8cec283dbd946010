#include "ImageViewLoading.h"

#include "net/RemoteImageLoader.h"
#include "platform/ui/ImageView.h"

#include <QVariant>

namespace tolvane {

namespace {

// Each load into a view gets a number; an arriving image is shown only if its load is still
// the view's latest, as a reused cell asks for another picture before the first comes.
constexpr const char* loadNumberProperty = "tolvaneImageLoad";

} // namespace

void setImageWithURL(ImageView* view, const QUrl& url, const QImage& placeholder,
                     std::function<void(const Result<QImage>& image)> completion,
                     RemoteImageLoader* loader) {
    if (!view)
        return;
    static quint64 lastLoad = 0;
    const quint64 load = ++lastLoad;
    view->setProperty(loadNumberProperty, load);
    view->setImage(placeholder);

    RemoteImageLoader& source = loader ? *loader : RemoteImageLoader::shared();
    source.loadImage(url, view,
                     [view, load, completion = std::move(completion)](const Result<QImage>& image) {
                         if (view->property(loadNumberProperty).toULongLong() != load)
                             return;
                         if (image)
                             view->setImage(*image);
                         if (completion)
                             completion(image);
                     });
}

} // namespace tolvane
