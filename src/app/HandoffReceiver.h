#pragma once

#include "platform/Inbox.h"
#include "platform/Result.h"

#include <QString>

namespace tolvane {

// What the application does with a text another application hands over (its arguments, a
// later launch's message, a drop) before the hand-off logic sees it: a `file:` URL's file is
// entered into the Inbox and the hand-off goes on with the entry's URL, so that the editor, its
// Cancel and the import work on the application's own entry. Any other text is passed on as
// it is.
class HandoffReceiver {
public:
    HandoffReceiver() = default;
    explicit HandoffReceiver(Inbox inbox);

    Result<QString> receive(const QString& text) const;

private:
    Inbox m_inbox;
};

} // namespace tolvane
