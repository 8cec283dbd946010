#pragma once

#include "platform/Result.h"

#include <QJsonObject>
#include <QString>
#include <QVariantMap>

#include <functional>

namespace tolvane {

// The native-messaging host the browser add-on talks to. Each message is a JSON object with a
// "type":
//  - "record" with "kind" and "record": the record joins the store "downloads" of the
//    preferences file and Tolvane is started with the import URL for it;
//  - "browse" with "path": Tolvane is started on the folder of that path;
//  - "ping": the version.
// Every message gets one reply, {"ok": true, ...} or {"ok": false, "error": "..."}; a refused
// message changes nothing.
class NativeHost {
public:
    // How the host starts the application; the default is HandoffLauncher::launch.
    using Launch = std::function<Status(const QString& url)>;

    NativeHost(QString preferencesFile, QString version, Launch launch = {});

    QJsonObject handle(const QJsonObject& message) const;
    // The reply to one framed message's bytes: refused when they are not UTF-8 JSON holding an
    // object.
    QJsonObject handleBytes(const QByteArray& bytes) const;

    // Reads framed messages from the input until it ends and writes a framed reply to each.
    // Returns the exit status: 0 at the end of input, 1 when the input cannot be followed (a
    // length over the limit, a message cut short, no input at all) or the output is gone.
    int run(int inputFd, int outputFd) const;

    // The record as it is kept: the keys the hand-off and the user's own records read, each of
    // its type; "name" from "filePath" when missing, "title" from "name"; "isVideo" 1 or
    // absent; "iconData" only when it names an existing file. Text is kept to what a property
    // list can hold. A failure when "filePath" is not an absolute path of an existing file.
    static Result<QVariantMap> storedRecord(const QJsonObject& record, bool video);
    static bool isMediaKind(const QString& kind);
    static bool isVideoKind(const QString& kind);

private:
    QJsonObject record(const QJsonObject& message) const;
    QJsonObject browse(const QJsonObject& message) const;

    QString m_preferencesFile;
    QString m_version;
    Launch m_launch;
};

} // namespace tolvane
