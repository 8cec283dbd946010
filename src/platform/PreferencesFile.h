#pragma once

#include "platform/Result.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

namespace tolvane {

// Changes to the preferences file on the user's behalf (the application itself only reads
// it). Each change reads the file, changes one key and writes the whole file back beside it
// and renames it into place, under a lock, so that other keys and stores are kept and two
// changes at once both land. A file that is not a property list with a dictionary at the top is
// refused and left as it was; a missing file is made.
class PreferencesFile {
public:
    explicit PreferencesFile(QString path);

    Result<std::optional<QVariant>> value(const QString& key) const;
    Status setValue(const QString& key, const QVariant& value) const;
    // Whether the key was there.
    Result<bool> remove(const QString& key) const;
    // The general change: under the lock, the edit is given the whole dictionary and changes
    // it in place; the file is written only when the edit succeeds, so a refused edit leaves
    // the file as it was.
    Status change(const std::function<Status(QVariantMap&)>& edit) const;

private:
    Result<QVariantMap> readForChange() const;
    Status write(const QVariantMap& preferences) const;

    QString m_path;
};

} // namespace tolvane
