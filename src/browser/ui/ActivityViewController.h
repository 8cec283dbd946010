#pragma once

#include "browser/FileActionSheet.h"
#include "platform/ui/Screen.h"

#include <QList>

#include <functional>
#include <memory>

class QAbstractButton;
class QFrame;

namespace tolvane {

// The file-action sheet: a panel rising from the bottom with one button (image and title) per
// offered action and Cancel under it. Choosing an action prepares it with the sheet's items,
// closes the sheet and then hands the action to the chosen handler, which runs it. Every
// button has a mnemonic, and the focused one is drawn with a ring.
class ActivityViewController : public Screen {
    Q_OBJECT
public:
    using ChosenHandler = std::function<void(std::unique_ptr<Activity>)>;

    explicit ActivityViewController(FileActionSheet sheet, QWidget* parent = nullptr);
    ~ActivityViewController() override;

    const FileActionSheet& sheet() const { return m_sheet; }
    void setChosenHandler(ChosenHandler handler) { m_chosenHandler = std::move(handler); }

    QList<Activity*> activities() const { return m_offered; }
    QAbstractButton* buttonForActivityType(const QString& type) const;
    QAbstractButton* cancelButton() const { return m_cancel; }

    void chooseActivity(Activity* activity);
    void cancel();
    // Escape cancels.
    bool performKeyCommand(KeyCommand command) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placePanel();

    FileActionSheet m_sheet;
    QList<Activity*> m_offered;
    QList<QAbstractButton*> m_buttons;
    QFrame* m_panel;
    QAbstractButton* m_cancel;
    ChosenHandler m_chosenHandler;
    bool m_done = false;
};

} // namespace tolvane
