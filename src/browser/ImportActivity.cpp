#include "ImportActivity.h"

#include "browser/ExportabilityCache.h"
#include "platform/Localisation.h"

namespace tolvane {

namespace {

const QString pathKey = QStringLiteral("path");

ImportEditorOpener& installedOpener() {
    static ImportEditorOpener opener;
    return opener;
}

bool isDictionaryWithPath(const QVariant& item) {
    return item.metaType() == QMetaType::fromType<QVariantMap>() && item.toMap().contains(pathKey);
}

} // namespace

void ImportActivity::setEditorOpener(ImportEditorOpener opener) {
    installedOpener() = std::move(opener);
}

const ImportEditorOpener& ImportActivity::editorOpener() {
    return installedOpener();
}

QString ImportActivity::activityTitle() const {
    return localized("Import");
}

bool ImportActivity::canPerformWithActivityItems(const QVariantList& items) const {
    // Either test alone makes the answer true; the cheap one goes first so that a file is
    // opened only when no existing file URL is among the items.
    if (std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl))
        return true;
    return std::any_of(items.cbegin(), items.cend(), [](const QVariant& item) {
        return isDictionaryWithPath(item) &&
               ExportabilityCache::isExportable(item.toMap().value(pathKey).toString());
    });
}

void ImportActivity::prepareWithActivityItems(const QVariantList& items) {
    m_files.clear();
    for (const QVariant& item : items) {
        if (isDictionaryWithPath(item)) {
            addFileWithInfo(item.toMap());
            return;
        }
        if (isExistingFileUrl(item)) {
            addFileWithInfo({{pathKey, item.toUrl().toLocalFile()}});
            return;
        }
    }
}

void ImportActivity::addFileWithInfo(const QVariantMap& info) {
    m_files.append(info);
}

void ImportActivity::performActivity() {
    const ImportEditorOpener& opener = editorOpener();
    if (m_files.isEmpty() || !opener) {
        activityDidFinish(false);
        return;
    }
    const QVariantMap record = m_files.first();
    opener(record, record.value(QStringLiteral("mediaKind")).toString(), this, m_presenter);
}

void ImportActivity::ImportViewControllerDidCancel() {
    activityDidFinish(true);
}

void ImportActivity::ImportViewControllerDidStart() {
    activityDidFinish(true);
}

} // namespace tolvane
