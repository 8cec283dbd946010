#pragma once

#include "browser/Activity.h"

#include <QPointer>
#include <QVariantMap>

#include <functional>

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

// Imports the chosen file through the import editor.
class ImportActivity : public Activity {
    Q_OBJECT
public:
    using Activity::Activity;

    static void setEditorOpener(ImportEditorOpener opener);
    static const ImportEditorOpener& editorOpener();

    QString activityTitle() const override;
    QString activityImageName() const override { return QStringLiteral("activityAudio.png"); }
    // A dictionary with "path" whose file is exportable, or an existing file URL.
    bool canPerformWithActivityItems(const QVariantList& items) const override;
    // Keeps the first dictionary with "path" or, before it, the first existing file URL.
    void prepareWithActivityItems(const QVariantList& items) override;
    // Opens the editor on the first file; with none, ends.
    void performActivity() override;

    virtual void addFileWithInfo(const QVariantMap& info);
    const QList<QVariantMap>& files() const { return m_files; }

    // The screen the editor is presented over; not owned.
    void setPresenter(QObject* presenter) { m_presenter = presenter; }
    // Not owned; never called.
    void setDelegate(ImportActivityDelegate* delegate) { m_delegate = delegate; }

    // The editor's delegate calls, forwarded by the opener.
    void ImportViewControllerDidCancel();
    void ImportViewControllerDidStart();

private:
    QList<QVariantMap> m_files;
    QPointer<QObject> m_presenter;
    ImportActivityDelegate* m_delegate = nullptr;
};

} // namespace tolvane
