#pragma once

#include "platform/Result.h"
#include "platform/ui/Screen.h"
#include "search/ArtworkProvider.h"
#include "search/ArtworkSearch.h"
#include "search/IndexPath.h"
#include "search/ui/CollectionViewDataSource.h"
#include "search/ui/CollectionViewDelegate.h"

#include <QImage>
#include <QList>
#include <QMetaObject>
#include <QPointer>
#include <QPropertyAnimation>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

class CollectionView;
class CoverButton;
class DetailView;
class GoogleImageLayout;
class GoogleImagesSearchDelegate;
class ImageView;
class SearchBar;

// The modal screen on which the user picks a cover image from a web image search: a grid of
// thumbnails, one result per section, a search bar that slides down from the top, and a
// detail panel that loads the full image of a tapped result and offers it. The picked image
// goes to the delegate and the screen dismisses itself.
//
// The opener wraps it in a NavigationController and presents that.
class GoogleImagesCollectionVC : public Screen,
                                 public CollectionViewDataSource,
                                 public CollectionViewDelegate {
    Q_OBJECT
public:
    using SearchResults = QList<QVariantMap>;

    // Takes ownership of the layout; a new one is made when none is given.
    explicit GoogleImagesCollectionVC(const QString& searchTerm,
                                      GoogleImageLayout* layout = nullptr,
                                      QWidget* parent = nullptr);
    ~GoogleImagesCollectionVC() override;

    // Not owned: the delegate must outlive the screen or be cleared first.
    GoogleImagesSearchDelegate* delegate() const { return m_delegate; }
    void setDelegate(GoogleImagesSearchDelegate* delegate) { m_delegate = delegate; }
    QString searchTerm() const { return m_searchTerm; }
    void setSearchTerm(const QString& term) { m_searchTerm = term; }
    // The kind of the media the artwork is for ("song" unless told), which decides the
    // artwork services asked, and the media file, whose folder may hold a cover.
    QString mediaKind() const { return m_mediaKind; }
    void setMediaKind(const QString& kind) { m_mediaKind = kind; }
    QString mediaPath() const { return m_mediaPath; }
    void setMediaPath(const QString& path) { m_mediaPath = path; }
    // The search under way or last made; nothing before the first.
    ArtworkSearch* artworkSearch() const { return m_artworkSearch; }
    // Where a record's image comes from, as the detail panel says it.
    static QString sourceText(const QVariantMap& record);
    // The last search's results; absent from a page without results until the next search.
    const std::optional<SearchResults>& imagesArray() const { return m_imagesArray; }
    IndexPath selectedIndexPath() const { return m_selectedIndexPath; }

    CollectionView* collectionView() const { return m_collectionView; }
    GoogleImageLayout* collectionViewLayout() const;
    SearchBar* searchBar() const { return m_searchBar; }
    CoverButton* hideKeyboardButton() const { return m_hideKeyboardBtn; }
    DetailView* detailView() const { return m_detailView; }
    // Escape closes the picked image's panel, then the search bar, then the screen (as Cancel);
    // Ctrl+F opens the search bar.
    bool performKeyCommand(KeyCommand command) override;
    int numberOfColumns() const { return m_numberOfColumns; }
    const QList<float>& randomArray() const { return m_randomArray; }

    // Starts one search under the progress overlay: the web page search for "text+keyword"
    // and the artwork services for the text, each that the preferences name and that fits
    // the media kind. A search still under way is cancelled. The first answer with records
    // replaces the grid's, later ones join it; when no provider found anything the grid is
    // kept (or emptied by a page without results) and an alert is shown.
    void fetchImagesData(const QString& searchText, const QString& keyword);

    void closeButtonPressed();
    void imageSelected();
    void showSearchBar();
    void hideKeyboard();
    void searchBarSearchButtonClicked();
    void orientationChanged();
    // The columns and the cell side for the orientation and the screen.
    void layOutColumnsForOrientation();

    // Always animated and without completion, whatever is asked: Cancel and the end of a
    // pick both come here.
    void dismissViewControllerAnimated(bool animated, Completion completion) override;

    // CollectionViewDataSource, CollectionViewDelegate.
    int numberOfSectionsInCollectionView(CollectionView* view) override;
    int numberOfItemsInSection(CollectionView* view, int section) override;
    CollectionViewCell* cellForItemAtIndexPath(CollectionView* view, IndexPath path) override;
    void didSelectItemAtIndexPath(CollectionView* view, IndexPath path) override;

    // Durations, in milliseconds.
    static constexpr int panelInMs = 200;
    static constexpr int panelOutMs = 300;
    static constexpr int searchBarMs = 500;

protected:
    void viewDidLoad() override;
    void viewWillDisappear(bool animated) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // A button drawn by the images name.png and nameSelected.png, on the navigation bar's
    // left for "left" and on its right otherwise.
    void addBarButtonItemWithName(const QString& name, std::function<void()> action,
                                  const QString& type);
    void artworkAnswered(const QString& provider, const Result<ArtworkAnswer>& answer);
    void artworkSearchEnded();
    void hideSearchOverlay();
    void showFailureAlert();
    void showImageCount();
    void showImageSize(const QImage& image);
    void offerImage();
    void popIn(ImageView* view);
    void slidePanelOut(std::function<void()> done);
    void slideSearchBar(const QRect& to, std::function<void()> done);
    qreal navigationBarHeight() const;

    GoogleImagesSearchDelegate* m_delegate = nullptr;
    QString m_searchTerm;
    QString m_mediaKind = QStringLiteral("song");
    QString m_mediaPath;
    QPointer<ArtworkSearch> m_artworkSearch;
    bool m_searchOverlayShown = false;
    std::optional<SearchResults> m_imagesArray;
    IndexPath m_selectedIndexPath;

    CollectionView* m_collectionView;
    int m_numberOfColumns = 0;
    SearchBar* m_searchBar = nullptr;
    CoverButton* m_hideKeyboardBtn = nullptr;
    QPointer<DetailView> m_detailView;
    QPointer<QPropertyAnimation> m_searchBarSlide;
    QList<float> m_randomArray;
    QImage m_placeholder;
    QMetaObject::Connection m_orientationObserver;
};

} // namespace tolvane
