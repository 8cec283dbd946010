#pragma once

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
    // An import ended, well or not: the record as submitted and what became of it.
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
    static void saveNewMetadataAndImport(QVariantMap& importDict, bool scaleArtwork,
                                         const std::optional<EditedField>& edited);
    // The work of Import, on any thread: commit with the artwork sized, then hand the record to
    // the media library.
    static Result<LibraryItem> submit(QVariantMap& importDict,
                                      const std::optional<EditedField>& edited);
    // After the work, on the main thread: the record is dropped, the delegate told (Start only
    // for a record that did not come from a recorded download, then Cancel with no path), and
    // the application sent to the background.
    static void finish(QVariantMap& importDict, ImportViewControllerDelegate* delegate,
                       const std::function<void()>& sendToBackground);
    // The path Cancel passes: none for a recorded download (its file is kept), the record's
    // path otherwise (the main screen deletes a file another application handed over).
    static QString cancelPath(const QVariantMap& importDict);

    // The year the editor shows: the year of the file's creation date, or nothing.
    static QString shownYear(const QVariantMap& importDict);
    // What the library gets when the Year field was never edited: the year shown, or no year
    // at all (the copy then keeps the file's own date).
    static void writeShownYear(QVariantMap& importDict);

    // The one line an alert shows when an import failed, from what the library said.
    static QString failureText(const Failure& failure, const QVariantMap& importDict);
};

} // namespace tolvane
