#pragma once

#include "platform/Result.h"

#include <QString>
#include <QVariantMap>

#include <optional>

namespace tolvane {

// The preferences file that components outside the application write (the browser add-on among
// them). The application only reads it, and reads it anew at every use so that a change made
// elsewhere counts at once.
class Preferences {
public:
    // The top-level dictionary of the preferences file.
    static Result<QVariantMap> read();
    // The same, empty when the file is missing or unreadable: outside writers own the file, and
    // every rule that reads it treats an unreadable file as one without the key it looks for.
    static QVariantMap readOrEmpty();

    // "savePath" when set.
    static std::optional<QString> savePath();

    // The folder the browser opens in: "savePath" when something exists there, else the
    // default downloads folder (created first when missing), else the user root.
    static QString getTheFullDestinationPath();
};

// An entry store: a dictionary of store key to a dictionary of entry key to record, either in
// the preferences file or in a property list of its own in the preferences folder.
class EntryStore {
public:
    enum class Status { Found, Unreadable, NoSuchStore };
    struct Lookup {
        Status status = Status::Unreadable;
        // The entry, when the store holds one under the key; a present store without the entry
        // is Found with no record.
        std::optional<QVariantMap> record;
    };

    // A null entry key looks up nothing (the store is still checked).
    static Lookup lookup(const QString& storeFile, const QString& storeKey,
                         const QString& entryKey);
};

} // namespace tolvane
