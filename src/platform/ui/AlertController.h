#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QFrame;
class QLabel;
class QVBoxLayout;

namespace tolvane {

// A modal question over a window, in two styles:
//  - Alert: a centred panel with a title, a message and its buttons;
//  - ActionSheet: a panel rising from the bottom with an optional title, a column of buttons
//    and a separate cancel button under them.
// The controller lies over the whole window of the widget it is shown over, dims it and takes
// all of its input until a button is chosen. Buttons are indexed in the order they were
// added; the cancel button of a sheet is added last, so its index is the number of the other
// buttons. Escape (or a click on the dimmed area of a sheet) chooses the cancel button.
// The controller deletes itself once it has been dismissed.
class AlertController : public QWidget {
    Q_OBJECT
public:
    enum class Style { Alert, ActionSheet };
    using Handler = std::function<void(int buttonIndex)>;

    // An alert with the buttons given (the first one cancels when Escape is pressed).
    static AlertController* alert(const QString& title, const QString& message,
                                  const QStringList& buttonTitles, QWidget* over,
                                  Handler handler = {});
    // An action sheet: the other buttons in order, then the cancel button.
    static AlertController* actionSheet(const QString& title, const QStringList& buttonTitles,
                                        const QString& cancelButtonTitle, qint64 tag, QWidget* over,
                                        Handler handler);

    // Made hidden; show() puts it over the window of `over`.
    AlertController(Style style, const QString& title, const QString& message, QWidget* over);

    Style style() const { return m_style; }
    QString title() const;
    QString message() const;
    // Free for the caller, as a view's tag: it tells one sheet from another.
    qint64 tag() const { return m_tag; }
    void setTag(qint64 tag) { m_tag = tag; }

    // Returns the new button's index.
    int addButtonWithTitle(const QString& title);
    // Adds the cancel button (a sheet shows it apart) and returns its index.
    int addCancelButtonWithTitle(const QString& title);
    int cancelButtonIndex() const { return m_cancelIndex; }
    int numberOfButtons() const { return int(m_buttons.size()); }
    QString buttonTitleAtIndex(int index) const;
    QAbstractButton* buttonAtIndex(int index) const;

    // Called with the chosen index as the controller goes (after willDismissWithButtonIndex).
    void setHandler(Handler handler) { m_handler = std::move(handler); }

    // Showing puts it over the whole window of the widget it was made over.
    void setVisible(bool visible) override;
    // Chooses a button as a tap would: emits willDismissWithButtonIndex, hides, calls the
    // handler, emits didDismissWithButtonIndex and deletes itself later. Once only.
    void dismissWithClickedButtonIndex(int index);

Q_SIGNALS:
    void willDismissWithButtonIndex(int buttonIndex);
    void didDismissWithButtonIndex(int buttonIndex);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QAbstractButton* makeButton(const QString& title, bool cancel);
    void placePanel();

    Style m_style;
    qint64 m_tag = 0;
    QPointer<QWidget> m_over;
    QFrame* m_panel;
    QLabel* m_title;
    QLabel* m_message;
    QVBoxLayout* m_buttonColumn;
    QFrame* m_cancelPanel;
    QList<QAbstractButton*> m_buttons;
    int m_cancelIndex = -1;
    bool m_dismissed = false;
    Handler m_handler;
};

} // namespace tolvane
