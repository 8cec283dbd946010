#pragma once

#include "import/ImportRecord.h"
#include "import/MediaLibraryImportService.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

// The text of the field being edited, taken on the main thread: its field id and its text.
struct EditedField {
    int fieldId = -1;
    QString text;
};

// Told how the editor ended. The main screen and the import activity implement it.
class ImportViewControllerDelegate {
public:
    virtual ~ImportViewControllerDelegate();
    // A null path is "no file to delete".
    virtual void ImportViewControllerDidCancel(const QString& path) { Q_UNUSED(path); }
    virtual void ImportViewControllerDidStart() {}
    // An import ended, well or not: the record as submitted, in its dictionary form, and what
    // became of it.
    virtual void ImportViewControllerDidImport(const QVariantMap& record,
                                               const Result<LibraryItem>& outcome) {
        Q_UNUSED(record);
        Q_UNUSED(outcome);
    }
};

// What Import and Cancel do with the editor's record, apart from the screen.
class ImportSubmission {
public:
    // Commits the field being edited into the record's metadata and, with scaleArtwork, sizes
    // the artwork for the record's kind as JPEG 0.8 (no "imageData" at all when there is no
    // artwork or it is not an image). Only the one edited field is written.
    // The artwork is sized for a screen of the given scale, read on the screen's thread (1 for
    // the command line).
    static void saveNewMetadataAndImport(ImportRecord& importDict, bool scaleArtwork,
                                         const std::optional<EditedField>& edited,
                                         qreal screenScale = 1);
    // Writes a field's text into the tags by field id: numbers only when the text is not empty,
    // the year as the text typed, the others as text, empty or not.
    static void writeField(Tags& metadata, int fieldId, const QString& text);
    // The work of Import, on any thread: commit with the artwork sized, then hand the record to
    // the media library.
    static Result<LibraryItem> submit(ImportRecord& importDict,
                                      const std::optional<EditedField>& edited,
                                      qreal screenScale = 1);
    // After the work, on the main thread: the record is dropped, the delegate told (Start only
    // for a record that did not come from a recorded download, then Cancel with no path), and
    // the application sent to the background.
    static void finish(std::optional<ImportRecord>& importDict,
                       ImportViewControllerDelegate* delegate,
                       const std::function<void()>& sendToBackground);
    // The path Cancel passes: none for a recorded download (its file is kept), the record's
    // path otherwise (the main screen deletes a file another application handed over).
    static QString cancelPath(const ImportRecord& importDict);

    // The year the editor shows: the year of the file's creation date, or nothing.
    static QString shownYear(const Tags& metadata);
    // What the library gets when the Year field was never edited: the year shown, or no year
    // at all (the copy then keeps the file's own date).
    static void writeShownYear(Tags& metadata);

    // The one line an alert shows when an import failed, from what the library said.
    static QString failureText(const Failure& failure, const ImportRecord& importDict);
};

} // namespace tolvane
