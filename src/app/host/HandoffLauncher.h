#pragma once

#include "platform/Result.h"

#include <QString>
#include <QStringList>

namespace tolvane {

// Starts the application with a hand-off URL, detached, so that it lives on after the browser
// ends the host. The command is TOLVANE_LAUNCH when set (split as a shell splits words), else
// the "tolvane" installed beside this program, else "tolvane" as PATH finds it.
class HandoffLauncher {
public:
    static QStringList command();
    static Status launch(const QString& url);

    // "tolvane://import?kind=K&store=S&entry=E": the hand-off reads the values by position and
    // unescapes only the entry, so the entry is percent-escaped whole (UTF-8, every byte but
    // letters, digits and "-._~") and can hold "&", "=", "%" or anything else.
    static QString importUrl(const QString& mediaKind, const QString& storeKey,
                             const QString& entryKey);
    // "tolvane://browse?path=P": the hand-off opens the folder of P and takes P as it stands,
    // unescaped, after its last "=". A path holding "=" cannot be said this way: nothing.
    // A folder is said as "FOLDER/." so that the folder itself opens.
    static std::optional<QString> browseUrl(const QString& path, bool isFolder);
};

} // namespace tolvane
