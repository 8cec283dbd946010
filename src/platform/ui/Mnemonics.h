#pragma once

#include <QStringList>

namespace tolvane {

// Keyboard mnemonics for a group of buttons shown together: each title gets a letter of its
// own, marked with "&" as Qt's buttons read it (Alt and the letter press the button). The first
// letter of a word is preferred, then any letter; a title whose letters are all taken gets
// none. An "&" already in a title is kept as a literal "&".
class Mnemonics {
public:
    static QStringList assign(const QStringList& titles);
    // The title as shown, without the marks.
    static QString stripped(const QString& title);
};

} // namespace tolvane
