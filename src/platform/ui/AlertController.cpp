#include "AlertController.h"

#include "platform/ui/Appearance.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace tolvane {

namespace {

constexpr int alertWidth = 270;
constexpr int sheetMargin = 8;
constexpr int sheetMaximumWidth = 420;
constexpr int buttonHeight = 44;

const QString panelStyle = QStringLiteral("QFrame#panel, QFrame#cancelPanel { background: "
                                          "rgba(248, 248, 248, 245); border-radius: 13px; }");

QString buttonStyle(bool cancel) {
    return QStringLiteral("QPushButton { color: %1; border: none; border-top: 1px solid "
                          "rgba(60, 60, 67, 60); background: transparent; font-size: 17px; %2 }"
                          "QPushButton:pressed { background: rgba(0, 0, 0, 25); }")
        .arg(Appearance::shared().tintColor.name(),
             cancel ? QStringLiteral("font-weight: 600;") : QString());
}

} // namespace

AlertController* AlertController::alert(const QString& title, const QString& message,
                                        const QStringList& buttonTitles, QWidget* over,
                                        Handler handler) {
    auto* controller = new AlertController(Style::Alert, title, message, over);
    for (qsizetype i = 0; i < buttonTitles.size(); ++i) {
        if (i == 0)
            controller->addCancelButtonWithTitle(buttonTitles.at(i));
        else
            controller->addButtonWithTitle(buttonTitles.at(i));
    }
    controller->setHandler(std::move(handler));
    controller->show();
    return controller;
}

AlertController* AlertController::actionSheet(const QString& title, const QStringList& buttonTitles,
                                              const QString& cancelButtonTitle, qint64 tag,
                                              QWidget* over, Handler handler) {
    auto* controller = new AlertController(Style::ActionSheet, title, QString(), over);
    controller->setTag(tag);
    for (const QString& buttonTitle : buttonTitles)
        controller->addButtonWithTitle(buttonTitle);
    if (!cancelButtonTitle.isEmpty())
        controller->addCancelButtonWithTitle(cancelButtonTitle);
    controller->setHandler(std::move(handler));
    controller->show();
    return controller;
}

AlertController::AlertController(Style style, const QString& title, const QString& message,
                                 QWidget* over)
    : QWidget(over ? over->window() : nullptr)
    , m_style(style)
    , m_over(over)
    , m_panel(new QFrame(this))
    , m_title(new QLabel(title, m_panel))
    , m_message(new QLabel(message, m_panel))
    , m_buttonColumn(new QVBoxLayout)
    , m_cancelPanel(new QFrame(this)) {
    setAttribute(Qt::WA_NoMousePropagation);
    setFocusPolicy(Qt::StrongFocus);
    if (!parentWidget()) {
        // Nothing to lie over: a small window of its own.
        setWindowModality(Qt::ApplicationModal);
        resize(375, 667);
    }
    setStyleSheet(panelStyle);
    m_panel->setObjectName(QStringLiteral("panel"));
    m_cancelPanel->setObjectName(QStringLiteral("cancelPanel"));

    auto* column = new QVBoxLayout(m_panel);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto* texts = new QVBoxLayout;
    texts->setContentsMargins(16, 18, 16, 16);
    texts->setSpacing(4);
    for (QLabel* label : {m_title, m_message}) {
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setVisible(!label->text().isEmpty());
        texts->addWidget(label);
    }
    QFont titleFont = m_title->font();
    titleFont.setPixelSize(style == Style::Alert ? 17 : 13);
    titleFont.setBold(style == Style::Alert);
    m_title->setFont(titleFont);
    QFont messageFont = m_message->font();
    messageFont.setPixelSize(13);
    m_message->setFont(messageFont);
    QPalette grey = m_title->palette();
    grey.setColor(QPalette::WindowText, style == Style::Alert ? Qt::black : QColor(143, 142, 148));
    m_title->setPalette(grey);
    if (!title.isEmpty() || !message.isEmpty())
        column->addLayout(texts);
    else
        delete texts; // nothing to show; the hidden labels stay children of the panel
    m_buttonColumn->setSpacing(0);
    column->addLayout(m_buttonColumn);

    auto* cancelColumn = new QVBoxLayout(m_cancelPanel);
    cancelColumn->setContentsMargins(0, 0, 0, 0);
    m_cancelPanel->hide();

    if (parentWidget())
        parentWidget()->installEventFilter(this);
    QWidget::setVisible(false);
}

QString AlertController::title() const {
    return m_title->text();
}

QString AlertController::message() const {
    return m_message->text();
}

QAbstractButton* AlertController::makeButton(const QString& title, bool cancel) {
    auto* button = new QPushButton(title);
    button->setFixedHeight(buttonHeight);
    button->setCursor(Qt::PointingHandCursor);
    button->setFocusPolicy(Qt::NoFocus);
    button->setStyleSheet(buttonStyle(cancel));
    const int index = int(m_buttons.size());
    connect(button, &QPushButton::clicked, this,
            [this, index] { dismissWithClickedButtonIndex(index); });
    m_buttons.append(button);
    return button;
}

int AlertController::addButtonWithTitle(const QString& title) {
    m_buttonColumn->addWidget(makeButton(title, false));
    return int(m_buttons.size()) - 1;
}

int AlertController::addCancelButtonWithTitle(const QString& title) {
    QAbstractButton* button = makeButton(title, true);
    m_cancelIndex = int(m_buttons.size()) - 1;
    if (m_style == Style::ActionSheet) {
        // The sheet's cancel button stands apart, in a panel of its own, without a rule.
        button->setStyleSheet(buttonStyle(true).replace(
            QStringLiteral("border-top: 1px solid rgba(60, 60, 67, 60);"), QString()));
        m_cancelPanel->layout()->addWidget(button);
        m_cancelPanel->show();
    } else {
        m_buttonColumn->addWidget(button);
    }
    return m_cancelIndex;
}

QString AlertController::buttonTitleAtIndex(int index) const {
    QAbstractButton* button = buttonAtIndex(index);
    return button ? button->text() : QString();
}

QAbstractButton* AlertController::buttonAtIndex(int index) const {
    return index >= 0 && index < m_buttons.size() ? m_buttons.at(index) : nullptr;
}

void AlertController::setVisible(bool visible) {
    if (visible && parentWidget())
        setGeometry(parentWidget()->rect());
    QWidget::setVisible(visible);
    if (!visible)
        return;
    placePanel();
    raise();
    setFocus();
}

void AlertController::placePanel() {
    const int panelWidth = m_style == Style::Alert
                               ? qMin(alertWidth, width() - 2 * sheetMargin)
                               : qMin(sheetMaximumWidth, width() - 2 * sheetMargin);
    m_panel->setFixedWidth(qMax(0, panelWidth));
    m_panel->adjustSize();
    const int panelHeight = m_panel->sizeHint().height();
    if (m_style == Style::Alert) {
        m_panel->setGeometry((width() - panelWidth) / 2, (height() - panelHeight) / 2, panelWidth,
                             panelHeight);
        return;
    }
    int bottom = height() - sheetMargin;
    if (m_cancelPanel->isVisibleTo(this)) {
        m_cancelPanel->setGeometry((width() - panelWidth) / 2, bottom - buttonHeight, panelWidth,
                                   buttonHeight);
        bottom -= buttonHeight + sheetMargin;
    }
    m_panel->setGeometry((width() - panelWidth) / 2, qMax(0, bottom - panelHeight), panelWidth,
                         qMin(panelHeight, bottom));
}

void AlertController::dismissWithClickedButtonIndex(int index) {
    if (m_dismissed)
        return;
    m_dismissed = true;
    QPointer<AlertController> self(this);
    Q_EMIT willDismissWithButtonIndex(index);
    if (!self)
        return;
    hide();
    if (Handler handler = std::move(m_handler))
        handler(index);
    if (!self)
        return;
    Q_EMIT didDismissWithButtonIndex(index);
    if (self)
        deleteLater();
}

bool AlertController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) {
        setGeometry(parentWidget()->rect());
        placePanel();
    }
    return QWidget::eventFilter(watched, event);
}

void AlertController::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_cancelIndex >= 0) {
        dismissWithClickedButtonIndex(m_cancelIndex);
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        m_style == Style::Alert && !m_buttons.isEmpty()) {
        // The last button of an alert is its preferred one.
        dismissWithClickedButtonIndex(int(m_buttons.size()) - 1);
        return;
    }
    QWidget::keyPressEvent(event);
}

void AlertController::mousePressEvent(QMouseEvent* event) {
    // A tap beside a sheet cancels it; beside an alert it does nothing.
    if (m_style == Style::ActionSheet && m_cancelIndex >= 0) {
        dismissWithClickedButtonIndex(m_cancelIndex);
        return;
    }
    event->accept();
}

void AlertController::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 100));
}

} // namespace tolvane
