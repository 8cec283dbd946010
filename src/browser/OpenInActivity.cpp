#include "OpenInActivity.h"

#include "platform/Localisation.h"

namespace tolvane {

QString OpenInActivity::activityTitle() const {
    return localized("Open In...");
}

bool OpenInActivity::canPerformWithActivityItems(const QVariantList& items) const {
    return std::any_of(items.cbegin(), items.cend(), &Activity::isExistingFileUrl);
}

void OpenInActivity::prepareWithActivityItems(const QVariantList& items) {
    for (const QVariant& item : items) {
        if (item.metaType() == QMetaType::fromType<QUrl>())
            m_fileURL = item.toUrl();
    }
}

void OpenInActivity::performActivity() {
    if (!m_superViewController) {
        activityDidFinish(true);
        return;
    }
    openDocumentInteractionController();
}

void OpenInActivity::openDocumentInteractionController() {
    const QList<OpenInApplication> applications =
        OpenInApplications::applicationsForFile(m_fileURL.toLocalFile());
    if (applications.isEmpty())
        Q_EMIT noApplicationFound();
    else
        Q_EMIT openInMenuRequested(applications);
}

Status OpenInActivity::openWithApplication(const QString& applicationId) {
    return OpenInApplications::launch(applicationId, m_fileURL.toLocalFile());
}

void OpenInActivity::documentInteractionControllerDidDismissOpenInMenu() {
    activityDidFinish(true);
}

QString OpenInActivity::noApplicationTitle() {
    return localized("No suitable Apps installed");
}

QString OpenInActivity::noApplicationMessage() {
    return localized("Your %@ doesn't seem")
        .replace(QLatin1String("%@"), OpenInApplications::machineKind());
}

} // namespace tolvane
