#include "NativeHostManifests.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

namespace tolvane::NativeHostManifests {

namespace {

QJsonObject common(const QString& hostPath) {
    return QJsonObject{
        {QStringLiteral("name"), QLatin1String(hostName)},
        {QStringLiteral("description"),
         QStringLiteral("Tolvane: records finished downloads and hands them to Tolvane")},
        {QStringLiteral("path"), hostPath},
        {QStringLiteral("type"), QStringLiteral("stdio")},
    };
}

Status writeJson(const QString& path, const QJsonObject& object) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Failure(file.errorString(), path);
    file.write(QJsonDocument(object).toJson(QJsonDocument::Indented));
    if (!file.commit())
        return Failure(file.errorString(), path);
    return {};
}

} // namespace

QJsonObject chromium(const QString& hostPath) {
    QJsonObject manifest = common(hostPath);
    manifest.insert(
        QStringLiteral("allowed_origins"),
        QJsonArray{
            QStringLiteral("chrome-extension://%1/").arg(QLatin1String(chromiumExtensionId))});
    return manifest;
}

QJsonObject firefox(const QString& hostPath) {
    QJsonObject manifest = common(hostPath);
    manifest.insert(QStringLiteral("allowed_extensions"),
                    QJsonArray{QLatin1String(geckoExtensionId)});
    return manifest;
}

QList<UserFolder> userFolders(const QString& home, const QString& configHome) {
    const QString config = configHome.isEmpty() ? home + QStringLiteral("/.config") : configHome;
    return {
        {config + QStringLiteral("/chromium/NativeMessagingHosts"), true},
        {config + QStringLiteral("/google-chrome/NativeMessagingHosts"), true},
        {home + QStringLiteral("/.mozilla/native-messaging-hosts"), false},
    };
}

Result<QStringList> installForUser(const QString& home, const QString& configHome,
                                   const QString& hostPath) {
    if (!QDir::isAbsolutePath(home))
        return Failure(QStringLiteral("the home folder is not known (HOME is not set)"));
    QStringList written;
    const QString fileName = QLatin1String(hostName) + QStringLiteral(".json");
    for (const UserFolder& user : userFolders(home, configHome)) {
        if (!QDir().mkpath(user.folder))
            return Failure(QStringLiteral("the folder cannot be made"), user.folder);
        const QString path = user.folder + QLatin1Char('/') + fileName;
        const Status done =
            writeJson(path, user.chromiumFamily ? chromium(hostPath) : firefox(hostPath));
        if (!done)
            return done.failure();
        written.append(path);
    }
    return written;
}

bool isBrowserInvocation(const QStringList& arguments) {
    if (arguments.isEmpty())
        return false;
    if (arguments.first().startsWith(QLatin1String("chrome-extension://")))
        return true;
    return arguments.size() >= 2 && arguments.first().endsWith(QLatin1String(".json")) &&
           arguments.at(1) == QLatin1String(geckoExtensionId);
}

} // namespace tolvane::NativeHostManifests
