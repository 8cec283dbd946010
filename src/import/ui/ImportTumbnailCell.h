#pragma once

#include "platform/OffScreen.h"
#include "platform/ui/TableViewCell.h"

#include <QByteArray>

namespace tolvane {

class ImageView;

// The artwork preview: a square image, centred, 10 from the top, filling its square and cut
// at its edges. The artwork is decoded once, off the main thread, at the size the square needs
// on this screen, so a large cover neither holds up the editor nor costs anything on repaint.
// An image dropped on it (a file, or pixels another application carries) is offered as the
// new artwork, read off the main thread.
class ImportTumbnailCell : public TableViewCell {
    Q_OBJECT
public:
    explicit ImportTumbnailCell(QWidget* parent = nullptr);

    ImageView* imgView() const { return m_imgView; }
    QWidget* imgContainer() const { return m_imgContainer; }

    // Bytes that are not an image leave the square empty. Unchanged bytes are not decoded again.
    void setArtwork(const QByteArray& imageData);
    // True from setArtwork() until the decoded image is shown.
    bool isLoadingArtwork() const { return m_loading; }

Q_SIGNALS:
    // The artwork last set is shown (or, for bytes that are not an image, the empty square).
    void artworkShown();
    // A dropped image, decoded; not stored anywhere until the editor takes it.
    void imageDropped(const QImage& image);
    // A drop that carried no image that can be read, and why.
    void dropRefused(const QString& why);

protected:
    void layoutSubviews() override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QWidget* m_imgContainer;
    ImageView* m_imgView;
    QByteArray m_artwork;
    bool m_decoded = false;
    bool m_loading = false;
    quint64 m_generation = 0; // results of older decodes are dropped
    OffScreenJob m_decoding;
};

} // namespace tolvane
