#pragma once

#include "app/HandoffTarget.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "import/ImportSubmission.h"
#include "platform/ui/Screen.h"

#include <QFont>
#include <QMetaObject>

class QLabel;

namespace tolvane {

class HintLabel;
class ImageButton;

// The main screen: one large "Browse" button and a hint line at the bottom. Every way into
// the application's work passes here: it presents the directory picker and the import
// editor, and carries out what a hand-off URL asks.
class ViewController : public Screen,
                       public HandoffTarget,
                       public ImportViewControllerDelegate,
                       public PSDirectoryPickerDelegate {
    Q_OBJECT
public:
    explicit ViewController(QWidget* parent = nullptr);
    ~ViewController() override;

    bool directoryPickerIsOn() const override { return m_directoryPickerIsOn; }
    void setDirectoryPickerIsOn(bool on) { m_directoryPickerIsOn = on; }

    QString getTheFullDestinationPath() const;
    void browseForFiles();
    void browseToFileWithPath(const QString& folder) override;
    void directoryPickerControllerDidCancel(PSDirectoryPickerController* picker) override;
    void loadImportViewControllerWithDictionary(const QVariantMap& record,
                                                const QString& mediaKind) override;
    void loadImportViewControllerWithDictionary(const QVariantMap& record) override;
    void dismissViewControllerAnimated(bool animated, std::function<void()> completion) override;

    // The editor is closed; a path given is that of a file handed over by another application
    // whose import was declined, and is deleted once the editor has gone.
    void ImportViewControllerDidCancel(const QString& path) override;
    void ImportViewControllerDidStart() override;
    void ImportViewControllerDidImport(const QVariantMap& record,
                                       const Result<LibraryItem>& outcome) override;
    // Whether an import editor is shown now.
    bool isImportEditorShown() const;

    // Lays out the hint line and fades it in. The notification itself is not read.
    void orientationChanged();

    // What the screen is made of, for the screens that build on it and for tests.
    HintLabel* label() const { return m_label; }
    QFont labelFont() const { return m_labelFont; }
    ImageButton* browseButton() const { return m_button; }
    QLabel* browseCaption() const { return m_caption; }
    bool isObservingOrientation() const { return bool(m_orientationObserver); }

Q_SIGNALS:
    // An import ended (see ImportViewControllerDelegate).
    void importFinished(const QVariantMap& record, const Result<LibraryItem>& outcome);
    // The import editor has gone, after Import or Cancel.
    void importEditorClosed();

protected:
    void viewDidLoad() override;
    void viewWillDisappear(bool animated) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void openDirectoryPicker(const QString& folder);
    void presentImportEditor(Screen* editor);
    void centreButton();

    HintLabel* m_label = nullptr;
    QFont m_labelFont;
    ImageButton* m_button = nullptr;
    QLabel* m_caption = nullptr;
    bool m_directoryPickerIsOn = false;
    QMetaObject::Connection m_orientationObserver;
};

} // namespace tolvane
