#include "import/ImportSubmission.h"

#include "import/ArtworkSizing.h"
#include "import/DateFinder.h"
#include "import/FileTypeIconArtwork.h"
#include "import/IntegerValue.h"
#include "import/MediaKinds.h"
#include "platform/MetadataKeys.h"
#include "platform/PathString.h"

#include <cerrno>

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
        // The file type's icon only stands in for artwork on the screen; without a picture of
        // its own the copy keeps the file's own cover, or has none.
        if (FileTypeIconArtwork::isFileTypeIcon(metadata.value(imageDataKey).toByteArray()))
            metadata.remove(imageDataKey);
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

QString ImportSubmission::shownYear(const QVariantMap& importDict) {
    // The date as text, as a format's "%@" prints it: nothing, or no text for a value that is
    // not one, still asks the date finder (which then gives this year).
    const QVariant date =
        importDict.value(QStringLiteral("metadata")).toMap().value(AVMetadataCommonKeyCreationDate);
    QString text;
    if (date.isValid() && !date.isNull()) {
        switch (date.typeId()) {
        case QMetaType::QVariantMap:
        case QMetaType::QVariantList:
        case QMetaType::QByteArray:
            break;
        default:
            text = date.toString();
            break;
        }
    }
    return getYear(text).value_or(QString());
}

void ImportSubmission::writeShownYear(QVariantMap& importDict) {
    QVariantMap metadata = importDict.value(QStringLiteral("metadata")).toMap();
    const qlonglong shown = leadingInteger(shownYear(importDict));
    if (shown > 0 && shown < 10000)
        metadata.insert(QStringLiteral("year"), shown);
    else
        metadata.remove(QStringLiteral("year"));
    importDict.insert(QStringLiteral("metadata"), metadata);
}

QString ImportSubmission::failureText(const Failure& failure, const QVariantMap& importDict) {
    const QString source = importDict.value(QStringLiteral("path")).toString();
    const QString name = PathString::lastPathComponent(source);
    switch (failure.systemError()) {
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("Not enough space for \u201c%1\u201d in %2")
            .arg(name, failure.path().isEmpty() ? QStringLiteral("the library") : failure.path());
    case ENOENT:
        if (failure.path() == source)
            return QStringLiteral("\u201c%1\u201d was removed before it could be imported")
                .arg(name);
        break;
    default:
        break;
    }
    QString message = failure.message();
    if (!message.isEmpty())
        message[0] = message[0].toUpper();
    if (!failure.path().isEmpty())
        message += QStringLiteral(" (%1)").arg(failure.path());
    return message;
}

} // namespace tolvane
