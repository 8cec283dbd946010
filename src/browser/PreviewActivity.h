#pragma once

#include "browser/Activity.h"

namespace tolvane {

class PreviewActivityDelegate {
public:
    virtual ~PreviewActivityDelegate() = default;
    virtual void previewActivityCanBeLaunched(const QUrl& fileUrl) { Q_UNUSED(fileUrl); }
};

// Hands the file to its delegate, which opens the preview, and finishes.
class PreviewActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityPreview.png"); }
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    void prepareWithActivityItems(const QVariantList& items) override;
    void performActivity() override;

    // A file URL, despite its name.
    QUrl filePath() const { return m_filePath; }
    // Not owned; must outlive the action or be cleared.
    void setDelegate(PreviewActivityDelegate* delegate) { m_delegate = delegate; }

private:
    QUrl m_filePath;
    PreviewActivityDelegate* m_delegate = nullptr;
};

} // namespace tolvane
