#pragma once

#include "browser/Activity.h"

namespace tolvane {

class PlayMediaActivityDelegate {
public:
    virtual ~PlayMediaActivityDelegate() = default;
    virtual void PlayMediaActivityFinishedSuccessfully(const QUrl& fileUrl) { Q_UNUSED(fileUrl); }
};

// Hands the file to its delegate, which opens the player. It never reports that it finished:
// the player outlives the sheet.
class PlayMediaActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    // "Play" from the web engine's table.
    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityPlay.png"); }
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    void prepareWithActivityItems(const QVariantList& items) override;
    void performActivity() override;

    // A file URL, despite its name.
    QUrl filePath() const { return m_filePath; }
    // Not owned; must outlive the action or be cleared.
    void setDelegate(PlayMediaActivityDelegate* delegate) { m_delegate = delegate; }

private:
    QUrl m_filePath;
    PlayMediaActivityDelegate* m_delegate = nullptr;
};

} // namespace tolvane
