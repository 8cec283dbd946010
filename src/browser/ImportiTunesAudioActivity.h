#pragma once

#include "browser/ImportActivity.h"

namespace tolvane {

// Imports with its own media kind ("song" unless set), which overrides the file's.
class ImportiTunesAudioActivity : public ImportActivity {
    Q_OBJECT
public:
    using ImportActivity::ImportActivity;

    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityAudio.png"); }
    void addFileWithInfo(const QVariantMap& info) override;

    QString mediaKind() const { return m_mediaKind; }
    void setMediaKind(const QString& kind) { m_mediaKind = kind; }

private:
    QString m_mediaKind;
};

} // namespace tolvane
