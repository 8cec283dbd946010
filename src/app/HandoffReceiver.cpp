#include "HandoffReceiver.h"

#include "app/FileUrl.h"

namespace tolvane {

HandoffReceiver::HandoffReceiver(Inbox inbox)
    : m_inbox(std::move(inbox)) {}

Result<QString> HandoffReceiver::receive(const QString& text) const {
    if (!FileUrl::hasFileScheme(text))
        return text;
    const Result<QString> path = FileUrl::localPath(text);
    if (!path)
        return path.failure();
    const Result<QString> entry = m_inbox.enter(*path);
    if (!entry)
        return entry.failure();
    return FileUrl::fromLocalPath(*entry);
}

} // namespace tolvane
