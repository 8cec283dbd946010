#include "app/ui/ImportActivityEditor.h"

#include "browser/ImportActivity.h"
#include "import/ui/ImportViewController.h"
#include "platform/ui/NavigationController.h"

namespace tolvane {

void ImportActivityEditor::install() {
    ImportActivity::setEditorOpener([](const QVariantMap& record, const QString&,
                                       ImportActivity* activity, QObject* presenter) {
        auto* screen = qobject_cast<Screen*>(presenter);
        if (!screen) {
            activity->ImportViewControllerDidCancel();
            return;
        }
        // The record already carries the action's kind; the editor adopts it whole.
        auto* editor = new ImportViewController(record);
        editor->setDelegate(new ImportActivityEditor(activity, screen, editor));
        if (!screen->presentViewController(new NavigationController(editor), true))
            activity->ImportViewControllerDidCancel();
    });
}

ImportActivityEditor::ImportActivityEditor(ImportActivity* activity, Screen* presenter,
                                           QObject* parent)
    : QObject(parent)
    , m_activity(activity)
    , m_presenter(presenter) {}

void ImportActivityEditor::ImportViewControllerDidCancel(const QString&) {
    // The path is the main screen's business: a file the browser lists is never deleted here.
    takeDown();
    if (m_activity)
        m_activity->ImportViewControllerDidCancel();
}

void ImportActivityEditor::ImportViewControllerDidStart() {
    takeDown();
    if (m_activity)
        m_activity->ImportViewControllerDidStart();
}

void ImportActivityEditor::takeDown() {
    // After an import both calls arrive, one after the other; the editor goes once.
    if (m_takenDown || !m_presenter)
        return;
    m_takenDown = true;
    m_presenter->dismissViewControllerAnimated(true, nullptr);
}

} // namespace tolvane
