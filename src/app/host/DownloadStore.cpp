#include "DownloadStore.h"

#include "platform/PreferencesFile.h"

namespace tolvane {

const QString DownloadStore::storeKey = QStringLiteral("downloads");

DownloadStore::DownloadStore(QString preferencesFile)
    : m_preferencesFile(std::move(preferencesFile)) {}

QString DownloadStore::entryKeyFor(const QString& fileName, const QVariantMap& store) {
    QString base = fileName.trimmed();
    if (base.isEmpty())
        base = QStringLiteral("download");
    QString key = base;
    for (int n = 2; store.contains(key); ++n)
        key = QStringLiteral("%1 (%2)").arg(base).arg(n);
    return key;
}

Result<QString> DownloadStore::add(const QVariantMap& record) const {
    QString key;
    const Status changed =
        PreferencesFile(m_preferencesFile).change([&](QVariantMap& preferences) -> Status {
            const QVariant existing = preferences.value(storeKey);
            if (existing.isValid() && existing.typeId() != QMetaType::QVariantMap)
                return Failure(QStringLiteral("the preferences' \"downloads\" is not a dictionary; "
                                              "nothing was written"),
                               m_preferencesFile);
            QVariantMap store = existing.toMap();
            key = entryKeyFor(record.value(QStringLiteral("name")).toString(), store);
            store.insert(key, record);
            preferences.insert(storeKey, store);
            return {};
        });
    if (!changed)
        return changed.failure();
    return key;
}

} // namespace tolvane
