#include "ImportNotice.h"

#include "imaging/ImageDecoder.h"
#include "import/ImportRecord.h"
#include "platform/Localisation.h"

#include <QDir>
#include <QFileInfo>

namespace tolvane {

namespace {

QString titleOf(const ImportRecord& record) {
    const QString title = record.metadata.title.value_or(QString()).simplified();
    if (!title.isEmpty())
        return title;
    return QFileInfo(record.path.value_or(QString())).completeBaseName();
}

} // namespace

QString ImportNotice::areaOf(const QString& itemPath, const QString& libraryFolder) {
    const QString relative = QDir(libraryFolder).relativeFilePath(itemPath);
    const qsizetype slash = relative.indexOf(QLatin1Char('/'));
    if (relative.startsWith(QLatin1String("..")) || slash <= 0)
        return QFileInfo(libraryFolder).fileName();
    return relative.left(slash);
}

DesktopNotifier::Notice ImportNotice::compose(const QVariantMap& dictionary,
                                              const Result<LibraryItem>& outcome,
                                              const QString& libraryFolder) {
    const ImportRecord record = ImportRecord::fromDictionary(dictionary);
    DesktopNotifier::Notice notice;
    const QString title = titleOf(record);
    if (!outcome) {
        notice.summary = localized("Import Failed");
        notice.body = localized("“%1” was not imported: %2").arg(title, outcome.errorText());
        notice.iconName = QStringLiteral("dialog-error");
        return notice;
    }
    notice.summary =
        localized("Imported “%1” to %2").arg(title, areaOf(outcome->path, libraryFolder));
    notice.body = QDir::toNativeSeparators(outcome->path);
    notice.iconName = QStringLiteral("tolvane");
    const QByteArray artwork = record.metadata.artwork.value_or(QByteArray());
    if (!artwork.isEmpty())
        notice.image =
            ImageDecoder::decode(artwork, ImageDecoder::Request::fitting(QSize(256, 256)))
                .valueOr({});
    notice.actions.append({QLatin1String(showInFolderAction), localized("Show in Folder")});
    return notice;
}

} // namespace tolvane
