#pragma once

#include "platform/Result.h"

#include <QList>
#include <QString>

namespace tolvane {

// An application the desktop has registered for a file type.
struct OpenInApplication {
    QString id;
    QString name;
    // A theme icon name, or empty.
    QString iconName;
};

// The applications that open a file, as the desktop registers them (GIO), and launching one.
class OpenInApplications {
public:
    // The MIME type of the path's extension ("application/octet-stream" when unknown).
    static QString mimeTypeForPath(const QString& path);
    // The desktop's default application for the file's type first, then the others that open
    // it; never Tolvane itself.
    static QList<OpenInApplication> applicationsForFile(const QString& path);
    // Launches the application with the file; a failure when it is gone or fails to start.
    static Status launch(const QString& applicationId, const QString& path);
    // What kind of machine this is, in words ("computer", "laptop", "tablet"...), for messages.
    static QString machineKind();

    // Tolvane's own desktop entry.
    static constexpr const char* ownDesktopId = "tolvane.desktop";
};

} // namespace tolvane
