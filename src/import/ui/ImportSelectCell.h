#pragma once

#include "platform/ui/TableViewCell.h"

class QLabel;
class QPixmap;

namespace tolvane {

class ImageView;

// A row that opens something: a small image at the left and a bold title, with a chevron.
class ImportSelectCell : public TableViewCell {
    Q_OBJECT
public:
    explicit ImportSelectCell(QWidget* parent = nullptr);

    ImageView* imgView() const { return m_imgView; }
    QLabel* title() const { return m_title; }

    void setImage(const QPixmap& image);
    void setTitle(const QString& text);

    // The bold font of these rows and of the kind row: 18 on a pad, 16 otherwise.
    static QFont titleFont();
    // Black at alpha 0.8.
    static QColor titleColour();

protected:
    void layoutSubviews() override;

private:
    ImageView* m_imgView;
    QLabel* m_title;
};

} // namespace tolvane
