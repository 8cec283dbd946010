#include "Mp4Boxes.h"

#include <QFile>
#include <QtEndian>

#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvane {

namespace {

// A movie header larger than this is not read; its file then gets the tag library's answers.
constexpr qint64 maximumMovieBoxSize = 8 * 1024 * 1024;
// The track atom's payload is 8 bytes; anything longer is not kept whole.
constexpr qsizetype maximumTrackPayload = 64;

struct Box {
    QByteArrayView type;
    qint64 payloadStart = 0;
    qint64 end = 0;
};

// The box whose header starts at offset within [.., limit), or nothing when it is damaged.
std::optional<Box> parseHeader(QByteArrayView header, qint64 offset, qint64 limit) {
    if (header.size() < 8)
        return std::nullopt;
    qint64 size = qFromBigEndian<quint32>(header.data());
    qint64 headerSize = 8;
    if (size == 1) {
        if (header.size() < 16)
            return std::nullopt;
        size = qint64(qFromBigEndian<quint64>(header.data() + 8));
        headerSize = 16;
    } else if (size == 0) {
        size = limit - offset;
    }
    if (size < headerSize || size > limit - offset)
        return std::nullopt;
    return Box{header.sliced(4, 4), offset + headerSize, offset + size};
}

// Children of a box held in memory.
std::optional<Box> findChild(QByteArrayView data, qint64 start, qint64 end, const char* type) {
    for (qint64 at = start; at + 8 <= end;) {
        const std::optional<Box> box = parseHeader(data.sliced(at, end - at), at, end);
        if (!box)
            return std::nullopt;
        if (box->type == QByteArrayView(type, 4))
            return box;
        at = box->end;
    }
    return std::nullopt;
}

std::optional<double> movieDuration(QByteArrayView moov) {
    const std::optional<Box> mvhd = findChild(moov, 8, moov.size(), "mvhd");
    if (!mvhd)
        return std::nullopt;
    const QByteArrayView body = moov.sliced(mvhd->payloadStart, mvhd->end - mvhd->payloadStart);
    const bool wide = !body.isEmpty() && body.at(0) == 1;
    if (body.size() < (wide ? 32 : 20))
        return std::nullopt;
    const quint32 timescale = qFromBigEndian<quint32>(body.data() + (wide ? 20 : 12));
    const quint64 duration = wide ? qFromBigEndian<quint64>(body.data() + 24)
                                  : qFromBigEndian<quint32>(body.data() + 16);
    if (timescale == 0 || (!wide && duration == 0xFFFFFFFFu))
        return std::nullopt;
    return double(duration) / timescale;
}

std::optional<QByteArray> trackAtomPayload(QByteArrayView moov) {
    const std::optional<Box> udta = findChild(moov, 8, moov.size(), "udta");
    if (!udta)
        return std::nullopt;
    const std::optional<Box> meta = findChild(moov, udta->payloadStart, udta->end, "meta");
    if (!meta)
        return std::nullopt;
    // "meta" is usually a full box with four bytes of version and flags; some writers leave
    // them out, in which case a child box starts right away.
    qint64 childrenStart = meta->payloadStart + 4;
    if (meta->end - meta->payloadStart >= 8 &&
        moov.sliced(meta->payloadStart + 4, 4) == QByteArrayView("hdlr"))
        childrenStart = meta->payloadStart;
    const std::optional<Box> ilst = findChild(moov, childrenStart, meta->end, "ilst");
    if (!ilst)
        return std::nullopt;
    const std::optional<Box> trkn = findChild(moov, ilst->payloadStart, ilst->end, "trkn");
    if (!trkn)
        return std::nullopt;
    const std::optional<Box> data = findChild(moov, trkn->payloadStart, trkn->end, "data");
    // Type indicator and locale come before the payload.
    if (!data || data->end - data->payloadStart < 8)
        return std::nullopt;
    const qint64 start = data->payloadStart + 8;
    return moov.sliced(start, qMin<qint64>(data->end - start, maximumTrackPayload)).toByteArray();
}

// Reads a file in windows of at least 8 KiB, so that stepping over the top-level boxes and
// then reading the movie box usually costs two reads.
// Bytes [offset, offset + length) of the file, fewer at its end.
using ReadAt = std::function<QByteArray(qint64 offset, qint64 length)>;

class WindowReader {
public:
    explicit WindowReader(const ReadAt& readAt)
        : m_readAt(readAt) {}

    // The bytes [offset, offset + length), or fewer at the end of the file.
    QByteArrayView bytes(qint64 offset, qint64 length) {
        if (offset < m_start || offset + length > m_start + m_window.size()) {
            m_window = m_readAt(offset, qMax<qint64>(length, windowSize));
            m_start = offset;
        }
        const qint64 from = offset - m_start;
        return QByteArrayView(m_window).sliced(from, qMin<qint64>(length, m_window.size() - from));
    }

private:
    static constexpr qint64 windowSize = 8 * 1024;
    const ReadAt& m_readAt;
    QByteArray m_window;
    qint64 m_start = 0;
};

// The movie box read whole: the file's top-level boxes are stepped over by their headers.
std::optional<QByteArray> readMovieBox(const ReadAt& readAt, qint64 fileSize) {
    WindowReader reader(readAt);
    for (qint64 at = 0; at + 8 <= fileSize;) {
        const std::optional<Box> box = parseHeader(reader.bytes(at, 16), at, fileSize);
        if (!box)
            return std::nullopt;
        if (box->type == QByteArrayView("moov")) {
            const qint64 size = box->end - at;
            if (size > maximumMovieBoxSize)
                return std::nullopt;
            const QByteArrayView moov = reader.bytes(at, size);
            if (moov.size() != size)
                return std::nullopt;
            return moov.toByteArray();
        }
        at = box->end;
    }
    return std::nullopt;
}

} // namespace

Mp4Boxes Mp4Boxes::read(const QString& path, qint64 fileSize) {
    // Plain descriptor reads: open, two reads and close is all an ordinary file costs.
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    if (fileSize < 0) {
        struct stat info {};
        fileSize = ::fstat(descriptor, &info) == 0 ? qint64(info.st_size) : 0;
    }
    const ReadAt readAt = [descriptor](qint64 offset, qint64 length) {
        QByteArray bytes(length, Qt::Uninitialized);
        const ssize_t count = ::pread(descriptor, bytes.data(), size_t(length), off_t(offset));
        bytes.truncate(count < 0 ? 0 : qsizetype(count));
        return bytes;
    };
    Mp4Boxes facts;
    if (const std::optional<QByteArray> moov = readMovieBox(readAt, fileSize)) {
        facts.durationSeconds = movieDuration(*moov);
        facts.trackAtomData = trackAtomPayload(*moov);
    }
    ::close(descriptor);
    return facts;
}

} // namespace tolvane
