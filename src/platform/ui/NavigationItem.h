#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

namespace tolvane {

// What a screen shows in the navigation bar while it is on top: its title, a prompt line
// above the title, and the widgets on the bar's left and right. The bar takes the widgets
// while the screen is on top and gives them back afterwards; the item never owns them.
class NavigationItem : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    QString title() const { return m_title; }
    void setTitle(const QString& title);
    QString prompt() const { return m_prompt; }
    void setPrompt(const QString& prompt);
    QWidget* leftBarButton() const { return m_left; }
    void setLeftBarButton(QWidget* button);
    QWidget* rightBarButton() const { return m_right; }
    void setRightBarButton(QWidget* button);
    bool hidesBackButton() const { return m_hidesBackButton; }
    void setHidesBackButton(bool hides);

Q_SIGNALS:
    void changed();

private:
    QString m_title;
    QString m_prompt;
    QPointer<QWidget> m_left;
    QPointer<QWidget> m_right;
    bool m_hidesBackButton = false;
};

} // namespace tolvane
