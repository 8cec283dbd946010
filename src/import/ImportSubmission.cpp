#include "import/ImportSubmission.h"

#include "import/ArtworkSizing.h"
#include "import/IntegerValue.h"
#include "import/MediaKinds.h"
#include "platform/MetadataKeys.h"

namespace tolvane {

namespace {

const QString imageDataKey = QStringLiteral("imageData");
const QString isNotOpenInKey = QStringLiteral("isNotOpenIn");

} // namespace

ImportViewControllerDelegate::~ImportViewControllerDelegate() = default;

void ImportSubmission::saveNewMetadataAndImport(QVariantMap& importDict, bool scaleArtwork,
                                                const std::optional<EditedField>& edited) {
    QVariantMap metadata = importDict.value(QStringLiteral("metadata")).toMap();

    if (scaleArtwork) {
        const QString kind = importDict.value(QStringLiteral("mediaKind")).toString();
        const Result<ArtworkSizing::Jpeg> jpeg =
            ArtworkSizing::sizedJpeg(metadata.value(imageDataKey).toByteArray(), kind, 80);
        // Missing or undecodable artwork is submitted as no artwork.
        ignoreFailure(jpeg, "artwork that cannot be sized is left out of the import");
        if (jpeg)
            metadata.insert(imageDataKey, jpeg->bytes);
        else
            metadata.remove(imageDataKey);
    }

    if (edited && edited->fieldId >= 0 && edited->fieldId < 10) {
        const ImportField& field = MediaKinds::field(edited->fieldId);
        switch (field.storage) {
        case FieldStorage::Integer:
            // Emptying a number field keeps the number it had.
            if (!edited->text.isEmpty())
                metadata.insert(field.metadataKey, leadingInteger(edited->text));
            break;
        case FieldStorage::Text:
        case FieldStorage::TypedText:
            metadata.insert(field.metadataKey, edited->text);
            break;
        }
    }

    importDict.insert(QStringLiteral("metadata"), metadata);
}

Result<LibraryItem> ImportSubmission::submit(QVariantMap& importDict,
                                             const std::optional<EditedField>& edited) {
    saveNewMetadataAndImport(importDict, true, edited);
    return MediaLibraryImportService::importFileWithDictionary(importDict);
}

void ImportSubmission::finish(QVariantMap& importDict, ImportViewControllerDelegate* delegate,
                              const std::function<void()>& sendToBackground) {
    const bool recordedDownload = importDict.contains(isNotOpenInKey);
    importDict.clear();
    if (delegate) {
        if (!recordedDownload)
            delegate->ImportViewControllerDidStart();
        delegate->ImportViewControllerDidCancel(QString());
    }
    if (sendToBackground)
        sendToBackground();
}

QString ImportSubmission::cancelPath(const QVariantMap& importDict) {
    if (importDict.contains(isNotOpenInKey))
        return QString();
    return importDict.value(QStringLiteral("path")).toString();
}

} // namespace tolvane
