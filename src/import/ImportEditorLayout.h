#pragma once

#include <QRectF>
#include <QSizeF>

namespace tolvane {

// The import editor's table in numbers: its five sections, their header and row heights, and
// where the parts of its cells go. Everything is in points and depends only on the sizes given.
class ImportEditorLayout {
public:
    enum Section {
        ArtworkSection = 0, // the artwork preview
        SourcesSection = 1, // web search, photo library
        PreviewSection = 2, // play the file
        KindSection = 3,    // the media kind
        FieldsSection = 4,  // the kind's editable fields
    };
    static constexpr int sectionCount = 5;

    static constexpr qreal selectRowHeight = 50;
    static constexpr qreal fieldRowHeight = 46;
    static constexpr qreal artworkRowLimit = 414;
    static constexpr qreal artworkTop = 10;
    static constexpr qreal labelFontSize = 14;

    // 0.1 for the artwork's section (no header), 20 for every other.
    static qreal headerHeight(int section);
    // The artwork row is as tall as the screen's shorter side, at most 414.
    static qreal rowHeight(int section, QSizeF screen);
    // The artwork's square: the shorter side minus 20, or 394 beyond 414.
    static qreal artworkSide(QSizeF screen);
    // The artwork's square in a cell of the given width: centred, 10 from the top.
    static QRectF artworkFrame(qreal cellWidth, QSizeF screen);

    // A source row: the image at x 10, y 8, a square of the height minus 16; the title from
    // 10 right of the image to 10 before the cell's right edge, 20 high, centred vertically.
    static QRectF selectImageFrame(QSizeF cell);
    static QRectF selectTitleFrame(QSizeF cell);
    // Bold titles: 18 on a pad, 16 otherwise.
    static qreal selectFontSize(bool pad);

    // A field's text input: the detail frame carried on to 15 before the content's right edge.
    static QRectF textFieldFrame(const QRectF& detailFrame, qreal contentWidth);
};

} // namespace tolvane
