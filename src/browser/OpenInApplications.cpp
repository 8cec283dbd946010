#include "OpenInApplications.h"

#include "platform/Localisation.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QUrl>

#include <gio/gio.h>
#include <optional>

namespace tolvane {

namespace {

QString text(const char* value) {
    return value ? QString::fromUtf8(value) : QString();
}

QString iconNameOf(GAppInfo* info) {
    GIcon* icon = g_app_info_get_icon(info);
    if (!icon)
        return {};
    if (G_IS_THEMED_ICON(icon)) {
        const gchar* const* names = g_themed_icon_get_names(G_THEMED_ICON(icon));
        return names && names[0] ? text(names[0]) : QString();
    }
    gchar* described = g_icon_to_string(icon);
    const QString name = text(described);
    g_free(described);
    return name;
}

// Tolvane itself: offering it would hand the file back to where it is already.
bool isThisApplication(GAppInfo* info) {
    const QString id = text(g_app_info_get_id(info));
    const QString executable = QFileInfo(text(g_app_info_get_executable(info))).fileName();
    return id == QLatin1String(OpenInApplications::ownDesktopId) ||
           executable == QLatin1String("tolvane");
}

// The applications for the type, the desktop's default for it first, never Tolvane.
template <typename Visit>
void forEachApplication(const QString& mimeType, Visit visit) {
    const QByteArray type = mimeType.toUtf8();
    GAppInfo* preferred = g_app_info_get_default_for_type(type.constData(), FALSE);
    GList* all = g_app_info_get_all_for_type(type.constData());
    QList<GAppInfo*> ordered;
    if (preferred && g_app_info_should_show(preferred) && !isThisApplication(preferred))
        ordered.append(preferred);
    for (GList* item = all; item; item = item->next) {
        auto* info = static_cast<GAppInfo*>(item->data);
        if (!g_app_info_should_show(info) || isThisApplication(info))
            continue;
        if (preferred && g_app_info_equal(info, preferred))
            continue;
        ordered.append(info);
    }
    for (GAppInfo* info : std::as_const(ordered)) {
        if (!visit(info))
            break;
    }
    g_list_free_full(all, g_object_unref);
    if (preferred)
        g_object_unref(preferred);
}

} // namespace

QString OpenInApplications::mimeTypeForPath(const QString& path) {
    const QString type =
        QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
    return type.isEmpty() ? QStringLiteral("application/octet-stream") : type;
}

QList<OpenInApplication> OpenInApplications::applicationsForFile(const QString& path) {
    QList<OpenInApplication> applications;
    forEachApplication(mimeTypeForPath(path), [&applications](GAppInfo* info) {
        applications.append(
            {text(g_app_info_get_id(info)), text(g_app_info_get_name(info)), iconNameOf(info)});
        return true;
    });
    return applications;
}

Status OpenInApplications::launch(const QString& applicationId, const QString& path) {
    std::optional<Status> launched;
    forEachApplication(mimeTypeForPath(path), [&](GAppInfo* info) {
        if (text(g_app_info_get_id(info)) != applicationId)
            return true;
        const QByteArray uri = QUrl::fromLocalFile(path).toEncoded();
        GList uris{};
        uris.data = const_cast<char*>(uri.constData());
        GError* error = nullptr;
        if (g_app_info_launch_uris(info, &uris, nullptr, &error)) {
            launched.emplace();
        } else {
            launched.emplace(Failure(
                QStringLiteral("%1 cannot be started: %2")
                    .arg(text(g_app_info_get_name(info)), error ? text(error->message) : QString()),
                path));
        }
        g_clear_error(&error);
        return false;
    });
    if (!launched)
        return Failure(QStringLiteral("no application \"%1\" opens this file").arg(applicationId),
                       path);
    return *launched;
}

QString OpenInApplications::machineKind() {
    // The chassis type the firmware reports (SMBIOS), as the desktop's host tools read it.
    QFile chassis(QStringLiteral("/sys/class/dmi/id/chassis_type"));
    bool ok = false;
    const int type = chassis.open(QIODevice::ReadOnly) ? chassis.readAll().trimmed().toInt(&ok) : 0;
    if (ok) {
        switch (type) {
        case 8:
        case 9:
        case 10:
        case 14:
            return localized("laptop");
        case 30:
        case 31:
        case 32:
            return localized("tablet");
        case 17:
        case 23:
        case 28:
        case 29:
            return localized("server");
        default:
            break;
        }
    }
    return localized("computer");
}

} // namespace tolvane
