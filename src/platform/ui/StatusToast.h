#pragma once

#include <QLabel>
#include <QTimer>

namespace tolvane {

// A short word at the foot of a view that goes by itself: what has just happened, said
// without taking the keyboard or the mouse from anything (clicks pass through it). A new word
// on the same view replaces the one showing.
class StatusToast : public QLabel {
    Q_OBJECT
public:
    static constexpr int shownMs = 3500;

    // Shows the text over the view and returns the toast (owned by the view).
    static StatusToast* show(const QString& text, QWidget* view);
    // The toast showing on the view, or null.
    static StatusToast* toastOn(const QWidget* view);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit StatusToast(QWidget* view);
    void place();

    QTimer m_hide;
};

} // namespace tolvane
