#pragma once

#include "platform/Result.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace tolvane {

// The files that tell a browser where the native-messaging host is and which add-on may talk
// to it. The host is tolvane-cli itself: browsers start it with their own arguments (Chromium
// with the add-on's origin, Firefox with the manifest's path and the add-on's id), and
// isBrowserInvocation() tells those apart from a command.
namespace NativeHostManifests {

// The host's name, which the add-on connects to.
inline constexpr const char* hostName = "com.merrowby.tolvane";
// The add-on's id in Chromium, fixed by the public key in its manifest.
inline constexpr const char* chromiumExtensionId = "gamicopacodlilgleoacolibipngaoli";
// The add-on's id in Firefox (browser_specific_settings.gecko.id).
inline constexpr const char* geckoExtensionId = "tolvane@merrowby.com";

QJsonObject chromium(const QString& hostPath);
QJsonObject firefox(const QString& hostPath);

// The per-user folders the browsers read under a home: Chromium's and Chrome's
// "NativeMessagingHosts" in the configuration folder, Firefox's "native-messaging-hosts" in
// ~/.mozilla.
struct UserFolder {
    QString folder;
    bool chromiumFamily;
};
QList<UserFolder> userFolders(const QString& home, const QString& configHome);

// Writes the manifest into each user folder (made when missing) and returns the files written.
Result<QStringList> installForUser(const QString& home, const QString& configHome,
                                   const QString& hostPath);

bool isBrowserInvocation(const QStringList& argumentsAfterProgram);

} // namespace NativeHostManifests

} // namespace tolvane
