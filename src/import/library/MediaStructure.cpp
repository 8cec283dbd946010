#include "import/library/MediaStructure.h"

#include <QByteArray>
#include <QtEndian>

#include <sys/stat.h>
#include <unistd.h>

namespace tolvane {

namespace {

// Deeper nesting or more boxes than this is damage, not media.
constexpr int maximumDepth = 32;
constexpr int maximumBoxes = 1'000'000;

// Boxes whose payload is a list of boxes, as the tag library reads them, with the bytes that
// come before the first child.
struct Container {
    const char* type;
    qint64 skip;
};
constexpr Container containers[] = {
    {"moov", 0}, {"trak", 0}, {"mdia", 0}, {"minf", 0}, {"stbl", 0}, {"udta", 0}, {"meta", 4},
    {"ilst", 0}, {"moof", 0}, {"traf", 0}, {"mvex", 0}, {"edts", 0}, {"dinf", 0}, {"stsd", 8},
};

QString typeText(const char* type) {
    QString text;
    for (int i = 0; i < 4; ++i) {
        const char c = type[i];
        text += c >= 0x20 && c < 0x7f ? QChar::fromLatin1(c) : QChar(u'?');
    }
    return text;
}

class Reader {
public:
    Reader(int fd, qint64 size)
        : m_fd(fd)
        , m_size(size) {}

    qint64 size() const { return m_size; }

    // Up to `length` bytes at the offset; fewer at the end of the file.
    QByteArray at(qint64 offset, qint64 length) const {
        QByteArray bytes(qsizetype(length), '\0');
        const ssize_t read = ::pread(m_fd, bytes.data(), size_t(length), offset);
        bytes.resize(read < 0 ? 0 : qsizetype(read));
        return bytes;
    }

private:
    int m_fd;
    qint64 m_size;
};

Failure damaged(const QString& what) {
    return Failure(QStringLiteral("the file is damaged: ") + what);
}

class Mp4Walk {
public:
    explicit Mp4Walk(const Reader& reader)
        : m_reader(reader) {}

    Status boxes(qint64 start, qint64 end, int depth, bool topLevel) {
        if (depth > maximumDepth)
            return damaged(QStringLiteral("its boxes are nested too deeply"));
        for (qint64 offset = start; offset + 8 <= end;) {
            if (++m_count > maximumBoxes)
                return damaged(QStringLiteral("it holds too many boxes"));
            const QByteArray header = m_reader.at(offset, 16);
            if (header.size() < 8)
                return damaged(QStringLiteral("a box header is cut short"));
            const char* type = header.constData() + 4;
            qint64 size = qFromBigEndian<quint32>(header.constData());
            qint64 headerSize = 8;
            if (size == 1) {
                if (header.size() < 16)
                    return damaged(QStringLiteral("a box header is cut short"));
                const quint64 wide = qFromBigEndian<quint64>(header.constData() + 8);
                size = wide > quint64(std::numeric_limits<qint64>::max()) ? -1 : qint64(wide);
                headerSize = 16;
            } else if (size == 0 && topLevel) {
                size = end - offset; // the last box runs to the end of the file
            }
            if (size < headerSize || size > end - offset) {
                return damaged(QStringLiteral("its \"%1\" box declares %2 bytes where %3 remain")
                                   .arg(typeText(type))
                                   .arg(size)
                                   .arg(end - offset));
            }
            if (Status table = offsetTable(type, offset + headerSize, offset + size); !table)
                return table;
            for (const Container& container : containers) {
                if (qstrncmp(type, container.type, 4) != 0)
                    continue;
                if (Status children = boxes(offset + headerSize + container.skip, offset + size,
                                            depth + 1, false);
                    !children)
                    return children;
            }
            offset += size;
        }
        return {};
    }

private:
    // A chunk-offset table holds a version, a count and that many offsets.
    Status offsetTable(const char* type, qint64 payload, qint64 end) const {
        const bool narrow = qstrncmp(type, "stco", 4) == 0;
        if (!narrow && qstrncmp(type, "co64", 4) != 0)
            return {};
        const QByteArray head = m_reader.at(payload, 8);
        if (head.size() < 8)
            return damaged(QStringLiteral("its \"%1\" box is cut short").arg(typeText(type)));
        const qint64 count = qFromBigEndian<quint32>(head.constData() + 4);
        if (count * (narrow ? 4 : 8) > end - payload - 8) {
            return damaged(QStringLiteral("its \"%1\" box lists %2 offsets it has no room for")
                               .arg(typeText(type))
                               .arg(count));
        }
        return {};
    }

    const Reader& m_reader;
    int m_count = 0;
};

quint32 syncsafe(const char* bytes) {
    return (quint32(quint8(bytes[0]) & 0x7f) << 21) | (quint32(quint8(bytes[1]) & 0x7f) << 14) |
           (quint32(quint8(bytes[2]) & 0x7f) << 7) | (quint32(quint8(bytes[3]) & 0x7f));
}

Status id3Tag(const Reader& reader, qint64 offset, qint64 end) {
    const QByteArray header = reader.at(offset, 10);
    if (header.size() < 10 || !header.startsWith("ID3"))
        return {};
    const qint64 size = 10 + syncsafe(header.constData() + 6) + ((header.at(5) & 0x10) ? 10 : 0);
    if (size > end - offset) {
        return damaged(QStringLiteral("its ID3 tag declares %1 bytes where %2 remain")
                           .arg(size)
                           .arg(end - offset));
    }
    return {};
}

Status flacBlocks(const Reader& reader) {
    for (qint64 offset = 4; offset < reader.size();) {
        const QByteArray header = reader.at(offset, 4);
        if (header.size() < 4)
            return damaged(QStringLiteral("a FLAC metadata block header is cut short"));
        const qint64 length = (qint64(quint8(header.at(1))) << 16) |
                              (qint64(quint8(header.at(2))) << 8) | quint8(header.at(3));
        if (4 + length > reader.size() - offset) {
            return damaged(QStringLiteral("a FLAC metadata block declares %1 bytes where %2 remain")
                               .arg(length)
                               .arg(reader.size() - offset - 4));
        }
        offset += 4 + length;
        if (header.at(0) & 0x80)
            return {};
    }
    return damaged(QStringLiteral("its FLAC metadata has no last block"));
}

// RIFF (little-endian sizes) and AIFF (big-endian) files: a 12-byte header, then chunks padded
// to even sizes. An "ID3 " or "id3 " chunk holds an ID3v2 tag.
Status chunks(const Reader& reader, bool bigEndian) {
    for (qint64 offset = 12; offset + 8 <= reader.size();) {
        const QByteArray header = reader.at(offset, 8);
        if (header.size() < 8)
            return damaged(QStringLiteral("a chunk header is cut short"));
        const qint64 size = bigEndian ? qFromBigEndian<quint32>(header.constData() + 4)
                                      : qFromLittleEndian<quint32>(header.constData() + 4);
        if (size > reader.size() - offset - 8) {
            return damaged(QStringLiteral("its \"%1\" chunk declares %2 bytes where %3 remain")
                               .arg(typeText(header.constData()))
                               .arg(size)
                               .arg(reader.size() - offset - 8));
        }
        if (header.startsWith("ID3 ") || header.startsWith("id3 ")) {
            if (Status tag = id3Tag(reader, offset + 8, offset + 8 + size); !tag)
                return tag;
        }
        offset += 8 + size + (size & 1);
    }
    return {};
}

bool looksLikeMp4(const QByteArray& head) {
    if (head.size() < 8)
        return false;
    for (const char* type : {"ftyp", "moov", "mdat", "free", "skip", "wide", "pnot", "uuid"}) {
        if (qstrncmp(head.constData() + 4, type, 4) == 0)
            return true;
    }
    return false;
}

} // namespace

Status MediaStructure::check(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        return Failure(QStringLiteral("the file cannot be examined"));
    const Reader reader(fd, status.st_size);
    const QByteArray head = reader.at(0, 16);
    if (looksLikeMp4(head))
        return Mp4Walk(reader).boxes(0, reader.size(), 0, true);
    if (head.startsWith("ID3"))
        return id3Tag(reader, 0, reader.size());
    if (head.startsWith("fLaC"))
        return flacBlocks(reader);
    if (head.startsWith("RIFF") && head.mid(8, 4) == "WAVE")
        return chunks(reader, false);
    if (head.startsWith("FORM") && (head.mid(8, 4) == "AIFF" || head.mid(8, 4) == "AIFC"))
        return chunks(reader, true);
    return {};
}

} // namespace tolvane
