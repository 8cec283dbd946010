#pragma once

#include "import/ImportSubmission.h"

#include <QObject>
#include <QPointer>

namespace tolvane {

class ImportActivity;
class Screen;

// The import editor as the file browser's import actions open it: presented over the listing
// that offered the action, its end reported to the action, and taken down again. One lives
// with each editor it opened.
class ImportActivityEditor : public QObject, public ImportViewControllerDelegate {
    Q_OBJECT
public:
    // Makes the import actions open the editor this way.
    static void install();

    void ImportViewControllerDidCancel(const QString& path) override;
    void ImportViewControllerDidStart() override;

private:
    ImportActivityEditor(ImportActivity* activity, Screen* presenter, QObject* parent);
    void takeDown();

    QPointer<ImportActivity> m_activity;
    QPointer<Screen> m_presenter;
    bool m_takenDown = false;
};

} // namespace tolvane
