#pragma once

// What the running application shows, for the tests that drive it whole.

#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "import/ui/ImportViewController.h"
#include "platform/ui/NavigationController.h"

#include <QTest>

namespace tolvane::test {

inline void click(QWidget* widget) {
    QVERIFY(widget);
    QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
}

// What the main screen has presented (its navigation controller presents for it).
inline Screen* presentedOverMain() {
    return TolvaneApplication::instance()
        ->viewController()
        ->navigationController()
        ->presentedViewController();
}

// The editor the main screen presented, once it is on screen.
inline ImportViewController* shownEditor() {
    auto* navigation = qobject_cast<NavigationController*>(presentedOverMain());
    auto* editor =
        navigation ? qobject_cast<ImportViewController*>(navigation->topViewController()) : nullptr;
    return editor && editor->isVisible() ? editor : nullptr;
}

} // namespace tolvane::test
