#pragma once

#include <QImage>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantList>

namespace tolvane {

// One action of the file-action sheet. The sheet asks canPerformWithActivityItems() to decide
// whether to offer it, prepareWithActivityItems() once it is chosen, then performActivity();
// the action ends with activityDidFinish(), which emits finished().
class Activity : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // The class name without its namespace, such as "DeleteFileActivity".
    virtual QString activityType() const;
    virtual QString activityTitle() const = 0;
    // A ".png" name in the images folder.
    virtual QString activityImageName() const = 0;
    QImage activityImage() const;

    virtual bool canPerformWithActivityItems(const QVariantList& items) const = 0;
    virtual void prepareWithActivityItems(const QVariantList& items) = 0;
    // Does the action; the default ends it at once, not completed.
    virtual void performActivity();

    void activityDidFinish(bool completed);
    bool isFinished() const { return m_finished; }

    // Item tests shared by the actions.
    static bool isFileUrl(const QVariant& item);
    static bool isExistingFileUrl(const QVariant& item);

Q_SIGNALS:
    void finished(bool completed);

private:
    bool m_finished = false;
};

// The platform's activity types that the sheet leaves out.
inline const QString UIActivityTypeAssignToContact =
    QStringLiteral("com.apple.UIKit.activity.AssignToContact");
inline const QString UIActivityTypePrint = QStringLiteral("com.apple.UIKit.activity.Print");
inline const QString UIActivityTypeCopyToPasteboard =
    QStringLiteral("com.apple.UIKit.activity.CopyToPasteboard");
inline const QString UIActivityTypeSaveToCameraRoll =
    QStringLiteral("com.apple.UIKit.activity.SaveToCameraRoll");

} // namespace tolvane
