#pragma once

#include "browser/Activity.h"
#include "platform/Result.h"

namespace tolvane {

class DeleteFileActivityDelegate {
public:
    virtual ~DeleteFileActivityDelegate() = default;
    virtual void DeleteFileActivityFinishedSuccessfully() {}
    // On a desktop: the item is in the Trash now.
    virtual void DeleteFileActivityMovedToTrash(const QString& path) {
        Q_UNUSED(path);
        DeleteFileActivityFinishedSuccessfully();
    }
    // On a desktop: no Trash could take the item, which is left where it was.
    virtual void DeleteFileActivityCannotMoveToTrash(const QString& path, const Failure& why) {
        Q_UNUSED(path);
        Q_UNUSED(why);
    }
};

// Removes the file it is given (a folder with its contents), without a further question: on a
// device folder for good, on a desktop into the Trash. The path is already resolved: a link is
// not followed and no artwork is removed.
class DeleteFileActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityDelete.png"); }
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    void prepareWithActivityItems(const QVariantList& items) override;
    void performActivity() override;

    QString filePath() const { return m_filePath; }
    // Not owned; must outlive the action or be cleared.
    void setDelegate(DeleteFileActivityDelegate* delegate) { m_delegate = delegate; }

private:
    QString m_filePath;
    DeleteFileActivityDelegate* m_delegate = nullptr;
};

} // namespace tolvane
