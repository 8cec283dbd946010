#include "FileDescriptor.h"

#include <unistd.h>

namespace tolvane {

void FileDescriptor::reset() {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

} // namespace tolvane
