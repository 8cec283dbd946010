#pragma once

#include "browser/Activity.h"

#include <QPointer>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

class ImportActivity;

// Declared for the import actions' owner; nothing calls it.
class ImportActivityDelegate {
public:
    virtual ~ImportActivityDelegate() = default;
};

// How an import action opens the import editor. The application installs one at start-up: it
// makes the editor for the record (whose "mediaKind" is the kind given), presents it over
// `presenter` and forwards the editor's two delegate calls to the action
// (ImportViewControllerDidCancel / ImportViewControllerDidStart). Without one the action
// offers no screen and ends at once.
using ImportEditorOpener = std::function<void(const QVariantMap& record, const QString& mediaKind,
                                              ImportActivity* activity, QObject* presenter)>;

// Imports the chosen file through the import editor. The plain action keeps the kind the file
// came with; an action made for a kind (Import to Music, Import to Videos) files it as its own
// kind, "song" or "music-video" unless another is set.
class ImportActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    static void setEditorOpener(ImportEditorOpener opener);
    static const ImportEditorOpener& editorOpener();

    QString activityTitle() const override;
    QString activityImageName() const override;
    // A dictionary with "path" whose file is exportable, or an existing file URL.
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    // Keeps the first dictionary with "path" or, before it, the first existing file URL.
    void prepareWithActivityItems(const QVariantList& items) override;
    // Opens the editor on the first file; with none, ends.
    void performActivity() override;

    // For an action of a kind, the record with that kind.
    void addFileWithInfo(const QVariantMap& info);
    const QList<QVariantMap>& files() const { return m_files; }

    // The kind an action of a kind files its record as; empty for its default.
    QString mediaKind() const { return m_mediaKind; }
    void setMediaKind(const QString& kind) { m_mediaKind = kind; }

    // The screen the editor is presented over; not owned.
    void setPresenter(QObject* presenter) { m_presenter = presenter; }
    // Not owned; never called.
    void setDelegate(ImportActivityDelegate* delegate) { m_delegate = delegate; }

    // The editor's delegate calls, forwarded by the opener.
    void ImportViewControllerDidCancel();
    void ImportViewControllerDidStart();

protected:
    // What sets an action of a kind apart: its title, its image and its default kind.
    struct Kind {
        const char* title;
        const char* imageName;
        QString defaultKind;
    };
    ImportActivity(Kind kind, QObject* parent);

private:
    std::optional<Kind> m_kind;
    QString m_mediaKind;
    QList<QVariantMap> m_files;
    QPointer<QObject> m_presenter;
    ImportActivityDelegate* m_delegate = nullptr;
};

} // namespace tolvane
