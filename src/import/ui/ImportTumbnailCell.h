#pragma once

#include "platform/ui/TableViewCell.h"

#include <QByteArray>

namespace tolvane {

class ImageView;

// The artwork preview: a square image, centred, 10 from the top, filling its square and cut
// at its edges. The artwork is decoded once, at the size the square needs on this screen, so
// a large cover costs one reduced decode and repaints only copy it.
class ImportTumbnailCell : public TableViewCell {
    Q_OBJECT
public:
    explicit ImportTumbnailCell(QWidget* parent = nullptr);

    ImageView* imgView() const { return m_imgView; }
    QWidget* imgContainer() const { return m_imgContainer; }

    // Bytes that are not an image leave the square empty. Unchanged bytes are not decoded again.
    void setArtwork(const QByteArray& imageData);

protected:
    void layoutSubviews() override;

private:
    QWidget* m_imgContainer;
    ImageView* m_imgView;
    QByteArray m_artwork;
    bool m_decoded = false;
};

} // namespace tolvane
