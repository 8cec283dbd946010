#include "Preferences.h"

#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <QDir>
#include <QFileInfo>

namespace tolvane {

namespace {
// Follows links, as a file manager's existence test does: a dangling link is nothing.
bool existsAt(const QString& path) {
    return !path.isEmpty() && QFileInfo::exists(path);
}
} // namespace

Result<QVariantMap> Preferences::read() {
    return PropertyListReader::readDictionary(Paths::preferencesFile());
}

QVariantMap Preferences::readOrEmpty() {
    const Result<QVariantMap> preferences = read();
    ignoreFailure(preferences, "an unreadable preferences file holds no keys");
    return preferences.valueOr({});
}

std::optional<QString> Preferences::savePath() {
    const QVariant value = readOrEmpty().value(QStringLiteral("savePath"));
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

QString Preferences::getTheFullDestinationPath() {
    const QString downloads = Paths::defaultDestinationFolder();
    if (!existsAt(downloads))
        QDir().mkpath(downloads);

    if (const std::optional<QString> saved = savePath(); saved && existsAt(*saved))
        return *saved;
    if (existsAt(downloads))
        return downloads;
    return Paths::userRoot();
}

EntryStore::Lookup EntryStore::lookup(const QString& storeFile, const QString& storeKey,
                                      const QString& entryKey) {
    const Result<QVariantMap> stores = PropertyListReader::readDictionary(storeFile);
    ignoreFailure(stores, "a hand-off naming an unreadable store is refused without a word");
    if (!stores)
        return {Status::Unreadable, std::nullopt};
    const QVariant store = stores->value(storeKey);
    if (store.typeId() != QMetaType::QVariantMap)
        return {Status::NoSuchStore, std::nullopt};
    if (entryKey.isNull())
        return {Status::Found, std::nullopt};
    const QVariant entry = store.toMap().value(entryKey);
    if (entry.typeId() != QMetaType::QVariantMap)
        return {Status::Found, std::nullopt};
    return {Status::Found, entry.toMap()};
}

} // namespace tolvane
