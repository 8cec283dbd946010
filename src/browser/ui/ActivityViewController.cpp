#include "ActivityViewController.h"

#include "platform/Localisation.h"
#include "platform/ui/Appearance.h"
#include "platform/ui/Mnemonics.h"

#include <QFrame>
#include <QGridLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace tolvane {

namespace {
constexpr int margin = 8;
constexpr int columns = 4;
constexpr int panelMaximumWidth = 420;
} // namespace

ActivityViewController::ActivityViewController(FileActionSheet sheet, QWidget* parent)
    : Screen(parent)
    , m_sheet(std::move(sheet))
    , m_offered(m_sheet.offeredActivities())
    , m_panel(new QFrame(this))
    , m_cancel(new QPushButton(localized("Cancel"), this)) {
    setAutoFillBackground(false);
    setAttribute(Qt::WA_NoMousePropagation);
    m_panel->setObjectName(QStringLiteral("activityPanel"));
    setStyleSheet(
        QStringLiteral(
            "QFrame#activityPanel { background: rgba(248, 248, 248, 245); border-radius: 13px; }"
            "QToolButton { border: none; color: rgb(60, 60, 60); font-size: 11px; }"
            "QToolButton:pressed { background: rgba(0, 0, 0, 25); border-radius: 8px; }"
            "QPushButton { background: white; border: none; border-radius: 13px; color: %1; "
            "font-size: 17px; font-weight: 600; }")
            .arg(Appearance::shared().tintColor.name()));

    auto* grid = new QGridLayout(m_panel);
    grid->setContentsMargins(12, 16, 12, 16);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(12);
    // Alt and a letter of its own choose each action from the keyboard.
    QStringList titles;
    for (Activity* activity : m_offered)
        titles.append(activity->activityTitle());
    titles.append(localized("Cancel"));
    const QStringList marked = Mnemonics::assign(titles);
    for (Activity* activity : m_offered) {
        auto* button = new QToolButton(m_panel);
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setText(marked.at(m_buttons.size()));
        button->setAccessibleName(activity->activityTitle());
        button->setIcon(QIcon(QPixmap::fromImage(activity->activityImage())));
        button->setIconSize(QSize(60, 60));
        button->setFixedSize(76, 88);
        button->setObjectName(activity->activityType());
        button->setCursor(Qt::PointingHandCursor);
        connect(button, &QToolButton::clicked, this,
                [this, activity] { chooseActivity(activity); });
        const int index = int(m_buttons.size());
        grid->addWidget(button, index / columns, index % columns, Qt::AlignTop | Qt::AlignHCenter);
        m_buttons.append(button);
    }
    m_cancel->setText(marked.constLast());
    m_cancel->setFixedHeight(56);
    m_cancel->setCursor(Qt::PointingHandCursor);
    connect(m_cancel, &QAbstractButton::clicked, this, &ActivityViewController::cancel);
}

ActivityViewController::~ActivityViewController() = default;

QAbstractButton* ActivityViewController::buttonForActivityType(const QString& type) const {
    for (QAbstractButton* button : m_buttons) {
        if (button->objectName() == type)
            return button;
    }
    return nullptr;
}

void ActivityViewController::chooseActivity(Activity* activity) {
    if (m_done || !m_offered.contains(activity))
        return;
    m_done = true;
    activity->prepareWithActivityItems(m_sheet.activityItems());
    // The action stays with the sheet until the sheet has gone, then goes to the handler.
    Activity* chosen = m_sheet.take(activity).release();
    chosen->setParent(this);
    QPointer<Activity> guard(chosen);
    ChosenHandler handler = m_chosenHandler;
    dismissViewControllerAnimated(true, [guard, handler] {
        if (!guard)
            return;
        guard->setParent(nullptr);
        std::unique_ptr<Activity> owned(guard.data());
        if (handler)
            handler(std::move(owned));
    });
}

bool ActivityViewController::performKeyCommand(KeyCommand command) {
    if (command != KeyCommand::Cancel)
        return false;
    cancel();
    return true;
}

void ActivityViewController::cancel() {
    if (m_done)
        return;
    m_done = true;
    dismissViewControllerAnimated(true);
}

void ActivityViewController::placePanel() {
    const int width = qMin(panelMaximumWidth, this->width() - 2 * margin);
    const int x = (this->width() - width) / 2;
    int bottom = height() - margin;
    m_cancel->setGeometry(x, bottom - m_cancel->height(), width, m_cancel->height());
    bottom -= m_cancel->height() + margin;
    const int panelHeight = m_panel->sizeHint().height();
    m_panel->setGeometry(x, qMax(0, bottom - panelHeight), width, qMin(panelHeight, bottom));
}

void ActivityViewController::resizeEvent(QResizeEvent* event) {
    Screen::resizeEvent(event);
    placePanel();
}

void ActivityViewController::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 100));
}

void ActivityViewController::mousePressEvent(QMouseEvent* event) {
    // A tap beside the panel cancels, as with any sheet.
    if (!m_panel->geometry().contains(event->position().toPoint()))
        cancel();
}

} // namespace tolvane
