#pragma once

#include "browser/Activity.h"

namespace tolvane {

// The platform's "save to the photo library" for videos, here: a copy of the video in the
// user's Videos folder, made on a worker thread. A name already there gets " 2", " 3"...
class SaveToVideosActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    QString activityType() const override { return UIActivityTypeSaveToCameraRoll; }
    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activitySaveVideo.png"); }
    // An existing video file.
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    void prepareWithActivityItems(const QVariantList& items) override;
    void performActivity() override;

    QUrl fileURL() const { return m_fileURL; }
    // Where the copy was made, once finished.
    QString savedPath() const { return m_savedPath; }
    // Why there is no copy, once finished without one.
    QString failureText() const { return m_failureText; }

    // The user's Videos folder unless set (tests set it).
    static QString destinationFolder();
    static void setDestinationFolder(const QString& folder);

private:
    QUrl m_fileURL;
    QString m_savedPath;
    QString m_failureText;
};

} // namespace tolvane
