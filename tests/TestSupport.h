#pragma once

// Small helpers the test executables share: fixtures written into temporary folders and a
// counter of log warnings.

#include "platform/PropertyList.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QString>
#include <QtEndian>

namespace tolvane::test {

inline QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Writes the bytes, making the missing folders first.
inline bool writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

inline bool writePlist(const QString& path, const QVariant& value) {
    QDir().mkpath(QFileInfo(path).path());
    return PropertyListWriter::writeXml(path, value).ok();
}

// A PNG of one colour.
inline bool writePng(const QString& path, QSize pixels, QColor colour) {
    QDir().mkpath(QFileInfo(path).path());
    QImage image(pixels, QImage::Format_ARGB32);
    image.fill(colour);
    return image.save(path, "PNG");
}

// The PNG bytes of an image of one colour.
inline QByteArray pngBytes(QSize pixels, QColor colour) {
    QImage image(pixels, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

namespace detail {

inline quint32 crc32Of(const QByteArray& bytes) {
    quint32 crc = 0xffffffffu;
    for (const char byte : bytes) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// The chunk as a PNG file holds it: length, type, data and the CRC of type and data.
inline QByteArray pngChunk(const char* type, const QByteArray& data) {
    QByteArray chunk(4, '\0');
    qToBigEndian<quint32>(quint32(data.size()), chunk.data());
    const QByteArray typed = QByteArray(type) + data;
    chunk += typed;
    QByteArray crc(4, '\0');
    qToBigEndian<quint32>(crc32Of(typed), crc.data());
    return chunk + crc;
}

} // namespace detail

// A PNG whose header claims a grey image of the size, followed by only a little of its
// pixels: a decoder that trusts the header allocates the whole image.
inline QByteArray pngHeaderClaiming(QSize size) {
    QByteArray header(13, '\0');
    qToBigEndian<quint32>(quint32(size.width()), header.data());
    qToBigEndian<quint32>(quint32(size.height()), header.data() + 4);
    header[8] = 8; // bit depth
    header[9] = 0; // grey
    const QByteArray pixels = qCompress(QByteArray(4096, '\0')).mid(4);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + detail::pngChunk("IHDR", header) +
           detail::pngChunk("IDAT", pixels) + detail::pngChunk("IEND", {});
}

inline QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Counts the warnings of one logging category while it lives, and passes every message on to
// the handler before it (Qt Test's, so that QTest::ignoreMessage keeps working).
class WarningLog {
public:
    explicit WarningLog(const char* category)
        : m_category(category) {
        s_active = this;
        s_previous = qInstallMessageHandler(&WarningLog::handle);
    }
    ~WarningLog() {
        qInstallMessageHandler(s_previous);
        s_active = nullptr;
    }
    WarningLog(const WarningLog&) = delete;
    WarningLog& operator=(const WarningLog&) = delete;

    qsizetype count() const { return m_count; }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (type == QtWarningMsg && context.category &&
            qstrcmp(context.category, s_active->m_category) == 0)
            ++s_active->m_count;
        s_previous(type, context, text);
    }

    const char* m_category;
    qsizetype m_count = 0;
    static inline WarningLog* s_active = nullptr;
    static inline QtMessageHandler s_previous = nullptr;
};

} // namespace tolvane::test
