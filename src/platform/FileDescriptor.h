#pragma once

#include <utility>

namespace tolvane {

// An open file descriptor, closed when the object goes.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1)
        : m_fd(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    // Gives the descriptor up to the caller, who closes it.
    int release() { return std::exchange(m_fd, -1); }

private:
    void reset();

    int m_fd;
};

} // namespace tolvane
