#pragma once

#include "browser/Activity.h"
#include "browser/OpenInApplications.h"

#include <QPointer>

namespace tolvane {

// Offers the file to the applications registered for its type. The screen it belongs to shows
// the menu (openInMenuRequested) or, with no application, the alert (noApplicationFound); the
// action ends when the menu goes, and does not end after the alert.
class OpenInActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityOpenIn.png"); }
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    void prepareWithActivityItems(const QVariantList& items) override;
    // Without a screen to show on, ends at once.
    void performActivity() override;

    QUrl fileURL() const { return m_fileURL; }
    QObject* superViewController() const { return m_superViewController; }
    // The screen the menu shows on; not owned.
    void setSuperViewController(QObject* screen) { m_superViewController = screen; }

    void openDocumentInteractionController();
    // The chosen application, then the menu's end.
    Status openWithApplication(const QString& applicationId);
    void documentInteractionControllerDidDismissOpenInMenu();

    // The alert's texts: "Your %@ doesn't seem" with the machine's kind.
    static QString noApplicationTitle();
    static QString noApplicationMessage();

Q_SIGNALS:
    void openInMenuRequested(const QList<tolvane::OpenInApplication>& applications);
    void noApplicationFound();

private:
    QUrl m_fileURL;
    QPointer<QObject> m_superViewController;
};

} // namespace tolvane
