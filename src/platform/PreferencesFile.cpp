#include "PreferencesFile.h"

#include "platform/PropertyList.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>

namespace tolvane {

namespace {

// Changes from several processes wait for each other this long.
constexpr int lockWaitMs = 10000;

class Turn {
public:
    explicit Turn(const QString& path)
        : m_lock(path + QStringLiteral(".lock")) {}
    Status take() {
        if (m_lock.tryLock(lockWaitMs))
            return {};
        if (m_lock.error() == QLockFile::LockFailedError)
            return Failure(QStringLiteral("another change of the preferences holds the lock"));
        return Failure(QStringLiteral("the preferences' lock file cannot be made"));
    }

private:
    QLockFile m_lock;
};

} // namespace

PreferencesFile::PreferencesFile(QString path)
    : m_path(std::move(path)) {}

Result<QVariantMap> PreferencesFile::readForChange() const {
    if (!QFileInfo::exists(m_path) && !QFileInfo(m_path).isSymLink())
        return QVariantMap();
    return PropertyListReader::readDictionary(m_path);
}

Status PreferencesFile::write(const QVariantMap& preferences) const {
    return PropertyListWriter::writeXml(m_path, preferences);
}

Result<std::optional<QVariant>> PreferencesFile::value(const QString& key) const {
    const Result<QVariantMap> preferences = readForChange();
    if (!preferences)
        return preferences.failure();
    if (!preferences->contains(key))
        return std::optional<QVariant>();
    return std::optional<QVariant>(preferences->value(key));
}

Status PreferencesFile::setValue(const QString& key, const QVariant& value) const {
    return change([&key, &value](QVariantMap& preferences) {
        preferences.insert(key, value);
        return Status();
    });
}

Status PreferencesFile::change(const std::function<Status(QVariantMap&)>& edit) const {
    if (!QDir().mkpath(QFileInfo(m_path).path()))
        return Failure(QStringLiteral("the preferences folder cannot be made"),
                       QFileInfo(m_path).path());
    Turn turn(m_path);
    if (Status taken = turn.take(); !taken)
        return Failure(taken.failure().message(), m_path);
    Result<QVariantMap> preferences = readForChange();
    if (!preferences)
        return preferences.failure();
    QVariantMap changed = std::move(preferences).value();
    if (Status edited = edit(changed); !edited)
        return edited;
    return write(changed);
}

Result<bool> PreferencesFile::remove(const QString& key) const {
    if (!QFileInfo::exists(m_path))
        return false;
    Turn turn(m_path);
    if (Status taken = turn.take(); !taken)
        return Failure(taken.failure().message(), m_path);
    Result<QVariantMap> preferences = readForChange();
    if (!preferences)
        return preferences.failure();
    QVariantMap changed = std::move(preferences).value();
    if (!changed.remove(key))
        return false;
    if (Status written = write(changed); !written)
        return written.failure();
    return true;
}

} // namespace tolvane
