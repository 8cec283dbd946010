#include "ViewController.h"

#include "app/MainScreenLayout.h"
#include "app/Preferences.h"
#include "app/ui/HintLabel.h"
#include "import/ui/ImportViewController.h"
#include "platform/Device.h"
#include "platform/DeviceNotifications.h"
#include "platform/Inbox.h"
#include "platform/Localisation.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/NavigationController.h"

#include <QFontMetricsF>
#include <QLabel>
#include <QPointer>
#include <QPropertyAnimation>
#include <QSequentialAnimationGroup>

#include <cmath>

namespace tolvane {

namespace {

QFont systemFont(qreal points) {
    QFont font;
    font.setPixelSize(int(std::lround(points)));
    return font;
}
} // namespace

ViewController::ViewController(QWidget* parent)
    : Screen(parent) {}

ViewController::~ViewController() {
    disconnect(m_orientationObserver);
}

void ViewController::viewDidLoad() {
    m_directoryPickerIsOn = false;
    setTitle(localized("Browse"));

    QPalette background = palette();
    background.setColor(QPalette::Window, QColor(238, 238, 238));
    setPalette(background);

    m_orientationObserver =
        connect(DeviceNotifications::instance(), &DeviceNotifications::orientationDidChange, this,
                &ViewController::orientationChanged);

    const int side = int(MainScreenLayout::buttonSide);
    m_button = new ImageButton(this);
    m_button->resize(side, side);
    m_button->setNormalImage(BundleImages::imageNamed(QStringLiteral("browser.png")));
    m_button->setHighlightedImage(BundleImages::imageNamed(QStringLiteral("browserPressed.png")));
    m_button->setAccessibleName(localized("Browse"));
    connect(m_button, &ImageButton::clicked, this, &ViewController::browseForFiles);
    centreButton();

    m_caption = new QLabel(localized("Browse"), m_button);
    m_caption->setGeometry(0, int(MainScreenLayout::captionTop), side,
                           int(MainScreenLayout::captionHeight));
    m_caption->setAlignment(Qt::AlignCenter);
    m_caption->setFont(systemFont(22));
    m_caption->setAttribute(Qt::WA_TransparentForMouseEvents);

    m_labelFont = systemFont(MainScreenLayout::hintFontSize(Device::current().isPad()));

    m_label = new HintLabel(this);
    m_label->setGeometry(0, 0, 0, 0);
    m_label->setText(localized("You can now browse"));
    m_label->setFont(m_labelFont);

    orientationChanged();
}

void ViewController::viewWillDisappear(bool animated) {
    Screen::viewWillDisappear(animated);
    // Deliberately never observed again: after the first time the screen is covered, the hint
    // keeps its place.
    disconnect(m_orientationObserver);
    m_orientationObserver = {};
}

void ViewController::resizeEvent(QResizeEvent* event) {
    Screen::resizeEvent(event);
    centreButton();
}

void ViewController::centreButton() {
    if (!m_button)
        return;
    QRect frame = m_button->geometry();
    frame.moveCenter(rect().center());
    m_button->setGeometry(frame);
}

void ViewController::orientationChanged() {
    if (!m_label)
        return;
    const bool pad = Device::current().isPad();
    const QSizeF view = size();
    const QSizeF box = MainScreenLayout::hintTextBox(view.width(), pad);
    const QSizeF text = QFontMetricsF(m_labelFont)
                            .boundingRect(QRectF(QPointF(0, 0), box),
                                          Qt::AlignCenter | Qt::TextWordWrap, m_label->text())
                            .size();
    const QRectF frame = MainScreenLayout::hintFrame(view, text, pad);
    m_label->setGeometry(QRect(int(std::lround(frame.x())), int(std::lround(frame.y())),
                               int(std::ceil(frame.width())), int(std::ceil(frame.height()))));

    m_label->setAlpha(0);
    auto* fade = new QSequentialAnimationGroup(m_label);
    fade->addPause(300);
    auto* toVisible = new QPropertyAnimation(m_label, "alpha");
    toVisible->setDuration(500);
    toVisible->setStartValue(0.0);
    toVisible->setEndValue(1.0);
    fade->addAnimation(toVisible);
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

QString ViewController::getTheFullDestinationPath() const {
    return Preferences::getTheFullDestinationPath();
}

void ViewController::browseForFiles() {
    openDirectoryPicker(getTheFullDestinationPath());
}

void ViewController::browseToFileWithPath(const QString& folder) {
    openDirectoryPicker(folder);
}

void ViewController::openDirectoryPicker(const QString& folder) {
    auto* picker = new PSDirectoryPickerController(folder);
    picker->setDelegate(this);
    picker->setPrompt(QString());
    picker->setModalPresentationStyle(ModalPresentationStyle::FormSheet);
    presentViewController(picker, true);
    // Set even when the presentation is refused: the hand-off only reads it to take down
    // whatever is shown.
    m_directoryPickerIsOn = true;
}

void ViewController::directoryPickerControllerDidCancel(PSDirectoryPickerController*) {
    m_directoryPickerIsOn = false;
}

void ViewController::loadImportViewControllerWithDictionary(const QVariantMap& record,
                                                            const QString& mediaKind) {
    auto* editor = new ImportViewController(record, mediaKind);
    editor->setDelegate(this);
    presentImportEditor(editor);
}

void ViewController::loadImportViewControllerWithDictionary(const QVariantMap& record) {
    auto* editor = new ImportViewController(record);
    editor->setDelegate(this);
    presentImportEditor(editor);
}

void ViewController::presentImportEditor(Screen* editor) {
    presentViewController(new NavigationController(editor), true);
}

void ViewController::ImportViewControllerDidCancel(const QString& path) {
    QPointer<ViewController> self(this);
    dismissViewControllerAnimated(true, [self, path] {
        if (self)
            Q_EMIT self->importEditorClosed();
        if (path.isNull())
            return;
        // Only the application's own entry goes: whatever was handed over was entered into the
        // Inbox first, and a path anywhere else is someone's file.
        ignoreFailure(Inbox().remove(path),
                      "a Cancel deletes silently; an entry gone already, or a path outside the "
                      "Inbox, is left as it is");
    });
}

void ViewController::ImportViewControllerDidStart() {
    QPointer<ViewController> self(this);
    dismissViewControllerAnimated(true, [self] {
        if (self)
            Q_EMIT self->importEditorClosed();
    });
}

void ViewController::ImportViewControllerDidImport(const QVariantMap& record,
                                                   const Result<LibraryItem>& outcome) {
    Q_EMIT importFinished(record, outcome);
}

bool ViewController::isImportEditorShown() const {
    // Within its navigation stack the screen presents from the stack.
    const Screen* presenter = navigationController();
    if (!presenter)
        presenter = this;
    const auto* shown = qobject_cast<NavigationController*>(presenter->presentedViewController());
    return shown && !shown->viewControllers().isEmpty() &&
           qobject_cast<ImportViewController*>(shown->viewControllers().constFirst());
}

void ViewController::dismissViewControllerAnimated(bool animated,
                                                   std::function<void()> completion) {
    Screen::dismissViewControllerAnimated(animated, std::move(completion));
}

} // namespace tolvane
