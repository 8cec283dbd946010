#include "ImportActivity.h"

#include "browser/ExportabilityCache.h"
#include "import/ImportRecord.h"
#include "platform/Localisation.h"

namespace tolvane {

namespace {

ImportEditorOpener& installedOpener() {
    static ImportEditorOpener opener;
    return opener;
}

// The record of an item that is a dictionary with "path".
std::optional<ImportRecord> recordWithPath(const QVariant& item) {
    if (item.metaType() != QMetaType::fromType<QVariantMap>())
        return std::nullopt;
    ImportRecord record = ImportRecord::fromDictionary(item.toMap());
    if (!record.path.given())
        return std::nullopt;
    return record;
}

} // namespace

void ImportActivity::setEditorOpener(ImportEditorOpener opener) {
    installedOpener() = std::move(opener);
}

const ImportEditorOpener& ImportActivity::editorOpener() {
    return installedOpener();
}

ImportActivity::ImportActivity(Kind kind, QObject* parent)
    : Activity(parent)
    , m_kind(std::move(kind)) {}

QString ImportActivity::activityTitle() const {
    return localized(m_kind ? m_kind->title : "Import");
}

QString ImportActivity::activityImageName() const {
    return m_kind ? QString::fromLatin1(m_kind->imageName) : QStringLiteral("activityAudio.png");
}

bool ImportActivity::canPerformWithActivityItems(const QVariantList& items) const {
    // Either test alone makes the answer true; the cheap one goes first so that a file is
    // opened only when no existing file URL is among the items.
    if (std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl))
        return true;
    return std::any_of(items.cbegin(), items.cend(), [](const QVariant& item) {
        const std::optional<ImportRecord> record = recordWithPath(item);
        return record && ExportabilityCache::isExportable(record->path.value_or(QString()));
    });
}

void ImportActivity::prepareWithActivityItems(const QVariantList& items) {
    m_files.clear();
    for (const QVariant& item : items) {
        if (recordWithPath(item)) {
            addFileWithInfo(item.toMap());
            return;
        }
        if (isExistingFileUrl(item)) {
            ImportRecord record;
            record.path = item.toUrl().toLocalFile();
            record.hasMetadata = false;
            addFileWithInfo(record.toDictionary());
            return;
        }
    }
}

void ImportActivity::addFileWithInfo(const QVariantMap& info) {
    if (!m_kind) {
        m_files.append(info);
        return;
    }
    ImportRecord record = ImportRecord::fromDictionary(info);
    record.mediaKind = m_mediaKind.isEmpty() ? m_kind->defaultKind : m_mediaKind;
    m_files.append(record.toDictionary());
}

void ImportActivity::performActivity() {
    const ImportEditorOpener& opener = editorOpener();
    if (m_files.isEmpty() || !opener) {
        activityDidFinish(false);
        return;
    }
    const QVariantMap record = m_files.first();
    opener(record, ImportRecord::fromDictionary(record).mediaKind.value_or(QString()), this,
           m_presenter);
}

void ImportActivity::ImportViewControllerDidCancel() {
    activityDidFinish(true);
}

void ImportActivity::ImportViewControllerDidStart() {
    activityDidFinish(true);
}

} // namespace tolvane
