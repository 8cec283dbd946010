#pragma once

#include "platform/Result.h"

#include <QString>

namespace tolvane {

// The local path a `file:` URL names, read the way URLs are read: the scheme in any letter
// case, an empty host or "localhost" (any other host is another machine), the path's percent
// escapes decoded once as UTF-8. Refused: another scheme, a query or fragment, a path that does
// not end up absolute, one holding a NUL character, and escapes that are malformed or not
// UTF-8. A refused URL names no file, so nothing is opened or deleted on its behalf.
class FileUrl {
public:
    static bool hasFileScheme(const QString& text);
    static Result<QString> localPath(const QString& text);
    // The URL of an absolute path, escaped as senders escape it.
    static QString fromLocalPath(const QString& path);
};

} // namespace tolvane
