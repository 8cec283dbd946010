#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace tolvane {

// The browsers' native-messaging framing: each message is a 4-byte length in the machine's own
// byte order followed by that many bytes of UTF-8 JSON. Bytes arrive in pieces of any size; the
// decoder keeps what it has and hands out whole messages.
class NativeMessageDecoder {
public:
    // Longer messages are refused before anything is buffered for them.
    static constexpr quint32 maximumMessageSize = 64u * 1024u * 1024u;

    enum class Next { NeedMore, Message, TooLong };

    void append(const char* bytes, qsizetype size);
    void append(const QByteArray& bytes) { append(bytes.constData(), bytes.size()); }
    // Message: takeMessage() holds it. TooLong: the stream cannot be followed any further.
    Next next();
    QByteArray takeMessage();

    // Bytes of a message begun but not finished (for telling a cut-short stream at its end).
    qsizetype pendingBytes() const { return m_buffer.size() - m_offset; }
    // The length the pending message announced, when its length is complete.
    std::optional<quint32> announcedLength() const;

private:
    QByteArray m_buffer;
    qsizetype m_offset = 0;
    QByteArray m_message;
};

// A reply as the browser reads it. Browsers take replies of at most 1 MB; a longer one is
// replaced by an error reply saying so.
QByteArray frameNativeMessage(const QJsonObject& message);

constexpr qsizetype maximumReplySize = 1024 * 1024;

} // namespace tolvane
