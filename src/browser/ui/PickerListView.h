#pragma once

#include <QListView>
#include <QPointer>

#include <memory>

class QMimeData;
class QPushButton;

namespace tolvane {

// The list of a folder listing: uniform rows, a light grey ground, a thin line closing the
// list under its last row, and the "Delete" button a row shows when it is swiped to the left
// or right-clicked. A tap selects a row; a tap while the button shows only puts it away.
// Return opens the current row, Delete (or Shift+Delete) asks for its removal, and a row
// dragged in any other direction than the swipe carries the file's address to wherever it is
// dropped.
class PickerListView : public QListView {
    Q_OBJECT
public:
    explicit PickerListView(QWidget* parent = nullptr);

    static QColor groundColor() { return QColor(238, 238, 238); }
    static QColor footerColor() {
        return QColor::fromRgbF(200 / 255.0f, 199 / 255.0f, 204 / 255.0f, 0.5f);
    }

    // Shows the Delete button on a row (-1 hides it).
    void showDeleteButton(int row);
    int deleteButtonRow() const { return m_deleteRow; }
    QPushButton* deleteButton() const { return m_deleteButton; }
    // What a row carries when dragged out: the file's address (and its path as text).
    std::unique_ptr<QMimeData> mimeDataForRow(int row) const;

Q_SIGNALS:
    void rowSelected(int row);
    // The row's Delete button was pressed: remove without a further question.
    void deleteRequested(int row);
    // Delete was pressed on the current row: ask first.
    void deleteKeyPressed(int row);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeDeleteButton();
    void dragRow(int row);

    QPushButton* m_deleteButton;
    int m_deleteRow = -1;
    QPoint m_pressPos;
    int m_pressRow = -1;
    bool m_swiped = false;
};

} // namespace tolvane
