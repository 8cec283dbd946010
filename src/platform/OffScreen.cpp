#include "platform/OffScreen.h"

namespace tolvane {

OffScreenJob::OffScreenJob()
    : m_cancelled(std::make_shared<std::atomic_bool>(false)) {}

void OffScreenJob::cancel() const {
    m_cancelled->store(true, std::memory_order_release);
}

bool OffScreenJob::isCancelled() const {
    return m_cancelled->load(std::memory_order_acquire);
}

} // namespace tolvane
