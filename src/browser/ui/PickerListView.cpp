#include "PickerListView.h"

#include "browser/DirectoryListModel.h"
#include "platform/Localisation.h"

#include <QApplication>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QUrl>

#include <utility>

namespace tolvane {

namespace {
constexpr int swipeDistance = 30;
constexpr int deleteButtonWidth = 82;
} // namespace

PickerListView::PickerListView(QWidget* parent)
    : QListView(parent)
    , m_deleteButton(new QPushButton(localized("Delete"), viewport())) {
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setMouseTracking(false);
    QPalette ground = palette();
    ground.setColor(QPalette::Base, groundColor());
    ground.setColor(QPalette::Window, groundColor());
    setPalette(ground);
    viewport()->setAutoFillBackground(true);

    m_deleteButton->setStyleSheet(QStringLiteral(
        "QPushButton { background: rgb(255, 59, 48); color: white; border: none; font-size: 16px; }"
        "QPushButton:pressed { background: rgb(200, 40, 32); }"));
    m_deleteButton->setCursor(Qt::PointingHandCursor);
    m_deleteButton->hide();
    connect(m_deleteButton, &QPushButton::clicked, this, [this] {
        const int row = m_deleteRow;
        showDeleteButton(-1);
        if (row >= 0)
            Q_EMIT deleteRequested(row);
    });
}

void PickerListView::showDeleteButton(int row) {
    m_deleteRow = model() && row >= 0 && row < model()->rowCount() ? row : -1;
    placeDeleteButton();
}

void PickerListView::placeDeleteButton() {
    if (m_deleteRow < 0 || !model() || m_deleteRow >= model()->rowCount()) {
        m_deleteRow = -1;
        m_deleteButton->hide();
        return;
    }
    const QRect row = visualRect(model()->index(m_deleteRow, 0));
    m_deleteButton->setGeometry(row.right() + 1 - deleteButtonWidth, row.top(), deleteButtonWidth,
                                row.height());
    m_deleteButton->show();
    m_deleteButton->raise();
}

void PickerListView::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    // The footer: a line of the list's width under the last row, which also hides the rows
    // that are not there.
    const int rows = model() ? model()->rowCount() : 0;
    const int y = rows > 0 ? visualRect(model()->index(rows - 1, 0)).bottom() + 1 : 0;
    QPainter painter(viewport());
    painter.fillRect(QRect(0, y, viewport()->width(), 1), footerColor());
}

void PickerListView::mousePressEvent(QMouseEvent* event) {
    m_pressPos = event->position().toPoint();
    m_pressRow = indexAt(m_pressPos).row();
    m_swiped = false;
    if (m_deleteRow >= 0) {
        // A tap anywhere else first puts the button away.
        showDeleteButton(-1);
        m_pressRow = -1;
        m_swiped = true;
        return;
    }
    if (event->button() == Qt::LeftButton)
        QListView::mousePressEvent(event);
}

void PickerListView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint moved = event->position().toPoint() - m_pressPos;
    if (!m_swiped && m_pressRow >= 0 && moved.x() <= -swipeDistance &&
        qAbs(moved.y()) < swipeDistance) {
        m_swiped = true;
        clearSelection();
        showDeleteButton(m_pressRow);
        return;
    }
    // Leftwards is the swipe; any other way out of the row is a drag.
    const bool leftwards = moved.x() < 0 && qAbs(moved.x()) >= qAbs(moved.y());
    if (!m_swiped && m_pressRow >= 0 && (event->buttons() & Qt::LeftButton) && !leftwards &&
        moved.manhattanLength() >= QApplication::startDragDistance()) {
        m_swiped = true;
        dragRow(std::exchange(m_pressRow, -1));
        return;
    }
    if (!m_swiped)
        QListView::mouseMoveEvent(event);
}

void PickerListView::mouseReleaseEvent(QMouseEvent* event) {
    const int row = indexAt(event->position().toPoint()).row();
    if (!m_swiped)
        QListView::mouseReleaseEvent(event);
    if (!m_swiped && event->button() == Qt::LeftButton && row >= 0 && row == m_pressRow)
        Q_EMIT rowSelected(row);
    m_pressRow = -1;
}

std::unique_ptr<QMimeData> PickerListView::mimeDataForRow(int row) const {
    const QString path =
        model() ? model()->index(row, 0).data(DirectoryListModel::PathRole).toString() : QString();
    if (path.isEmpty())
        return nullptr;
    auto carried = std::make_unique<QMimeData>();
    carried->setUrls({QUrl::fromLocalFile(path)});
    carried->setText(path);
    return carried;
}

void PickerListView::dragRow(int row) {
    std::unique_ptr<QMimeData> carried = mimeDataForRow(row);
    if (!carried)
        return;
    auto* drag = new QDrag(this);
    drag->setMimeData(carried.release());
    const QRect cell = visualRect(model()->index(row, 0));
    drag->setPixmap(viewport()->grab(cell).scaledToHeight(qMax(1, cell.height() / 2),
                                                          Qt::SmoothTransformation));
    drag->exec(Qt::CopyAction | Qt::LinkAction, Qt::CopyAction);
}

void PickerListView::contextMenuEvent(QContextMenuEvent* event) {
    const int row = indexAt(event->pos()).row();
    if (row >= 0)
        showDeleteButton(row);
    event->accept();
}

void PickerListView::keyPressEvent(QKeyEvent* event) {
    const int row = currentIndex().row();
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && row >= 0) {
        Q_EMIT rowSelected(row);
        return;
    }
    if (event->key() == Qt::Key_Delete && row >= 0) {
        showDeleteButton(-1);
        Q_EMIT deleteKeyPressed(row);
        return;
    }
    if (event->key() == Qt::Key_Escape && m_deleteRow >= 0) {
        showDeleteButton(-1);
        return;
    }
    QListView::keyPressEvent(event);
}

void PickerListView::scrollContentsBy(int dx, int dy) {
    QListView::scrollContentsBy(dx, dy);
    placeDeleteButton();
}

void PickerListView::resizeEvent(QResizeEvent* event) {
    QListView::resizeEvent(event);
    placeDeleteButton();
}

} // namespace tolvane
