#include "ImportEditorLayout.h"

#include <QtGlobal>

namespace tolvane {

namespace {
qreal shorterSide(QSizeF screen) {
    return qMax(qreal(0), qMin(screen.width(), screen.height()));
}
} // namespace

qreal ImportEditorLayout::headerHeight(int section) {
    return section == ArtworkSection ? 0.1 : 20;
}

qreal ImportEditorLayout::rowHeight(int section, QSizeF screen) {
    switch (section) {
    case ArtworkSection:
        return qMin(shorterSide(screen), artworkRowLimit);
    case SourcesSection:
    case PreviewSection:
        return selectRowHeight;
    default:
        return fieldRowHeight;
    }
}

qreal ImportEditorLayout::artworkSide(QSizeF screen) {
    const qreal shorter = shorterSide(screen);
    if (shorter > artworkRowLimit)
        return artworkRowLimit - 20;
    return qMax(qreal(0), shorter - 20);
}

QRectF ImportEditorLayout::artworkFrame(qreal cellWidth, QSizeF screen) {
    const qreal side = artworkSide(screen);
    return {(cellWidth - side) / 2, artworkTop, side, side};
}

QRectF ImportEditorLayout::selectImageFrame(QSizeF cell) {
    const qreal side = qMax(qreal(0), cell.height() - 16);
    return {10, 8, side, side};
}

QRectF ImportEditorLayout::selectTitleFrame(QSizeF cell) {
    const QRectF image = selectImageFrame(cell);
    const qreal left = image.right() + 10;
    return {left, (cell.height() - 20) / 2, qMax(qreal(0), cell.width() - 10 - left), 20};
}

qreal ImportEditorLayout::selectFontSize(bool pad) {
    return pad ? 18 : 16;
}

QRectF ImportEditorLayout::textFieldFrame(const QRectF& detailFrame, qreal contentWidth) {
    QRectF frame = detailFrame;
    frame.setRight(qMax(frame.left(), contentWidth - 15));
    return frame;
}

} // namespace tolvane
