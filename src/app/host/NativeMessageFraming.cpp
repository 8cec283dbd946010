#include "NativeMessageFraming.h"

#include <QJsonDocument>

#include <cstring>

namespace tolvane {

namespace {
constexpr qsizetype lengthSize = sizeof(quint32);
}

void NativeMessageDecoder::append(const char* bytes, qsizetype size) {
    // Drop what was handed out before growing, so a long session does not keep every message.
    if (m_offset > 0 && m_offset == m_buffer.size()) {
        m_buffer.clear();
        m_offset = 0;
    } else if (m_offset > 64 * 1024) {
        m_buffer.remove(0, m_offset);
        m_offset = 0;
    }
    m_buffer.append(bytes, size);
}

std::optional<quint32> NativeMessageDecoder::announcedLength() const {
    if (pendingBytes() < lengthSize)
        return std::nullopt;
    quint32 length = 0;
    std::memcpy(&length, m_buffer.constData() + m_offset, lengthSize);
    return length;
}

NativeMessageDecoder::Next NativeMessageDecoder::next() {
    const std::optional<quint32> length = announcedLength();
    if (!length)
        return Next::NeedMore;
    if (*length > maximumMessageSize)
        return Next::TooLong;
    if (pendingBytes() - lengthSize < qsizetype(*length))
        return Next::NeedMore;
    m_message = m_buffer.mid(m_offset + lengthSize, *length);
    m_offset += lengthSize + *length;
    return Next::Message;
}

QByteArray NativeMessageDecoder::takeMessage() {
    return std::exchange(m_message, QByteArray());
}

QByteArray frameNativeMessage(const QJsonObject& message) {
    QByteArray body = QJsonDocument(message).toJson(QJsonDocument::Compact);
    if (body.size() > maximumReplySize) {
        body = QJsonDocument(QJsonObject{{QStringLiteral("ok"), false},
                                         {QStringLiteral("error"),
                                          QStringLiteral("the reply is longer than 1 MB")}})
                   .toJson(QJsonDocument::Compact);
    }
    const quint32 length = quint32(body.size());
    QByteArray frame(lengthSize, '\0');
    std::memcpy(frame.data(), &length, lengthSize);
    return frame + body;
}

} // namespace tolvane
