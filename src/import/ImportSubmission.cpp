#include "import/ImportSubmission.h"

#include "import/ArtworkSizing.h"
#include "import/DateFinder.h"
#include "import/FileTypeIconArtwork.h"
#include "import/IntegerValue.h"
#include "import/MediaKinds.h"
#include "platform/PathString.h"

#include <cerrno>

namespace tolvane {

ImportViewControllerDelegate::~ImportViewControllerDelegate() = default;

void ImportSubmission::writeField(Tags& metadata, int fieldId, const QString& text) {
    // Emptying a number field keeps the number it had.
    const auto number = [&text](TagValue<qlonglong>& tag) {
        if (!text.isEmpty())
            tag = leadingInteger(text);
    };
    switch (fieldId) {
    case ImportField::Track:
        number(metadata.trackNumber);
        break;
    case ImportField::Title:
        metadata.title = text;
        break;
    case ImportField::Artist:
        metadata.artist = text;
        break;
    case ImportField::Album:
        metadata.albumName = text;
        break;
    case ImportField::Genre:
        metadata.genre = text;
        break;
    case ImportField::Year:
        metadata.year = Tags::Year(text);
        break;
    case ImportField::PodcastName:
        metadata.podcastName = text;
        break;
    case ImportField::Episode:
        number(metadata.episodeNumber);
        break;
    case ImportField::Series:
        metadata.seriesName = text;
        break;
    case ImportField::Season:
        number(metadata.seasonNumber);
        break;
    default:
        break;
    }
}

void ImportSubmission::saveNewMetadataAndImport(ImportRecord& importDict, bool scaleArtwork,
                                                const std::optional<EditedField>& edited,
                                                qreal screenScale) {
    Tags& metadata = importDict.metadata;
    importDict.hasMetadata = true;

    if (scaleArtwork) {
        // The file type's icon only stands in for artwork on the screen; without a picture of
        // its own the copy keeps the file's own cover, or has none.
        const QByteArray artwork = metadata.artwork.value_or(QByteArray());
        const Result<ArtworkSizing::Jpeg> jpeg =
            FileTypeIconArtwork::isFileTypeIcon(artwork)
                ? Result<ArtworkSizing::Jpeg>(Failure(QStringLiteral("no artwork of its own")))
                : ArtworkSizing::sizedJpeg(artwork, importDict.kind(), 80, screenScale);
        // Missing or undecodable artwork is submitted as no artwork.
        ignoreFailure(jpeg, "artwork that cannot be sized is left out of the import");
        metadata.artwork = jpeg ? std::optional(jpeg->bytes) : std::nullopt;
    }

    if (edited)
        writeField(metadata, edited->fieldId, edited->text);
}

Result<LibraryItem> ImportSubmission::submit(ImportRecord& importDict,
                                             const std::optional<EditedField>& edited,
                                             qreal screenScale) {
    saveNewMetadataAndImport(importDict, true, edited, screenScale);
    return MediaLibraryImportService::importFileWithDictionary(importDict);
}

void ImportSubmission::finish(std::optional<ImportRecord>& importDict,
                              ImportViewControllerDelegate* delegate,
                              const std::function<void()>& sendToBackground) {
    const bool recordedDownload = importDict && importDict->isNotOpenIn;
    importDict.reset();
    if (delegate) {
        if (!recordedDownload)
            delegate->ImportViewControllerDidStart();
        delegate->ImportViewControllerDidCancel(QString());
    }
    if (sendToBackground)
        sendToBackground();
}

QString ImportSubmission::cancelPath(const ImportRecord& importDict) {
    if (importDict.isNotOpenIn)
        return QString();
    return importDict.path.value_or(QString());
}

QString ImportSubmission::shownYear(const Tags& metadata) {
    // The date as text, as a format's "%@" prints it: nothing, or no text for a value that is
    // not one, still asks the date finder (which then gives this year).
    return getYear(metadata.creationDate.value_or(QString())).value_or(QString());
}

void ImportSubmission::writeShownYear(Tags& metadata) {
    const qlonglong shown = leadingInteger(shownYear(metadata));
    if (shown > 0 && shown < 10000)
        metadata.year = Tags::Year(shown);
    else
        metadata.year.reset();
}

QString ImportSubmission::failureText(const Failure& failure, const ImportRecord& importDict) {
    const QString source = importDict.path.value_or(QString());
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
