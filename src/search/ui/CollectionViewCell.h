#pragma once

#include "search/IndexPath.h"

#include <QString>
#include <QWidget>

namespace tolvane {

// One cell of a CollectionView. Cells are made by the view's registered factory, handed out
// again for other index paths once they scroll away, and take no mouse input themselves: the
// view finds the cell under a tap and asks whether it accepts touches.
class CollectionViewCell : public QWidget {
    Q_OBJECT
public:
    explicit CollectionViewCell(QWidget* parent = nullptr);

    QString reuseIdentifier() const { return m_reuseIdentifier; }
    IndexPath indexPath() const { return m_indexPath; }

    // A cell that does not accept touches is not selected by a tap.
    bool isUserInteractionEnabled() const { return m_userInteractionEnabled; }
    void setUserInteractionEnabled(bool enabled) { m_userInteractionEnabled = enabled; }

    // Called before the view hands the cell out for another index path.
    virtual void prepareForReuse() {}

protected:
    // Places the cell's content for its current size.
    virtual void layoutSubviews() {}
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class CollectionView;

    QString m_reuseIdentifier;
    IndexPath m_indexPath;
    bool m_userInteractionEnabled = true;
};

} // namespace tolvane
