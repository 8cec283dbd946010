#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QString>

namespace tolvane {

// A file that is read as a property list, an image or media must be an ordinary file whose
// bytes are stored on a disk: a FIFO would block the reader, a device such as /dev/zero never
// ends, and the files of /proc and /sys report a size of 0 while their content is made up as it
// is read. Each path is checked on the opened file itself, so a name swapped in between cannot
// slip past.
class RegularFile {
public:
    // An open descriptor, closed when the object goes.
    class Descriptor {
    public:
        explicit Descriptor(int fd = -1)
            : m_fd(fd) {}
        ~Descriptor();
        Descriptor(Descriptor&& other) noexcept
            : m_fd(std::exchange(other.m_fd, -1)) {}
        Descriptor& operator=(Descriptor&& other) noexcept;
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;

        int get() const { return m_fd; }
        // Gives the descriptor up to the caller, who closes it.
        int release() { return std::exchange(m_fd, -1); }

    private:
        int m_fd;
    };

    // Opens the file for reading (following links) and checks that it is a regular file on a
    // real file system. Opening never blocks, not even on a FIFO.
    static Result<Descriptor> openForReading(const QString& path);
    // The same check without keeping the file open.
    static Status check(const QString& path);
    // The whole content, refused when it is larger than `maximumSize`.
    static Result<QByteArray> readAll(const QString& path, qint64 maximumSize);
};

} // namespace tolvane
