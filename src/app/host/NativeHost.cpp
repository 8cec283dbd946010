#include "NativeHost.h"

#include "app/host/DownloadStore.h"
#include "app/host/HandoffLauncher.h"
#include "app/host/NativeMessageFraming.h"
#include "platform/PathString.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QStringDecoder>

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace tolvane {

namespace {

const QStringList mediaKinds{
    QStringLiteral("song"),       QStringLiteral("music-video"), QStringLiteral("feature-movie"),
    QStringLiteral("tv-episode"), QStringLiteral("podcast"),     QStringLiteral("ringtone"),
};
const QStringList videoKinds{QStringLiteral("music-video"), QStringLiteral("feature-movie"),
                             QStringLiteral("tv-episode")};

// Text kept as a property list can hold it: characters XML 1.0 cannot carry (controls other
// than tab and line ends, lone surrogates, U+FFFE/U+FFFF) are left out, so that one odd title
// can never make the whole preferences file unreadable.
QString plistText(const QString& text) {
    QString kept;
    kept.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            kept.append(c);
            kept.append(text.at(++i));
            continue;
        }
        if (c.isSurrogate() || c.unicode() == 0xfffe || c.unicode() == 0xffff)
            continue;
        if (c.unicode() < 0x20 && c != QLatin1Char('\t') && c != QLatin1Char('\n') &&
            c != QLatin1Char('\r'))
            continue;
        kept.append(c);
    }
    return kept;
}

QJsonObject failed(const QString& error) {
    return QJsonObject{{QStringLiteral("ok"), false}, {QStringLiteral("error"), error}};
}

bool writeAll(int fd, const QByteArray& bytes) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += n;
    }
    return true;
}

void complain(const QString& text) {
    const QByteArray line = QStringLiteral("tolvane-cli native-host: %1\n").arg(text).toUtf8();
    writeAll(STDERR_FILENO, line);
}

} // namespace

NativeHost::NativeHost(QString preferencesFile, QString version, Launch launch)
    : m_preferencesFile(std::move(preferencesFile))
    , m_version(std::move(version))
    , m_launch(launch ? std::move(launch) : Launch(&HandoffLauncher::launch)) {}

bool NativeHost::isMediaKind(const QString& kind) {
    return mediaKinds.contains(kind);
}

bool NativeHost::isVideoKind(const QString& kind) {
    return videoKinds.contains(kind);
}

Result<QVariantMap> NativeHost::storedRecord(const QJsonObject& record, bool video) {
    const QJsonValue filePath = record.value(QStringLiteral("filePath"));
    if (!filePath.isString() || !QDir::isAbsolutePath(filePath.toString()))
        return Failure(QStringLiteral("the record has no absolute \"filePath\""));
    const QString path = filePath.toString();
    // The browser may have removed the file (or never finished it): an entry for a file that
    // is not there would open an editor on nothing.
    if (!QFileInfo(path).isFile())
        return Failure(QStringLiteral("the downloaded file is not there (removed or moved?)"),
                       path);

    QVariantMap stored;
    for (const char* key : {"title", "name", "icon", "genre", "url", "referrer"}) {
        const QJsonValue value = record.value(QLatin1String(key));
        if (value.isString())
            stored.insert(QLatin1String(key), plistText(value.toString()));
    }
    stored.insert(QStringLiteral("filePath"), path);
    const QJsonValue year = record.value(QStringLiteral("year"));
    if (year.isString())
        stored.insert(QStringLiteral("year"), plistText(year.toString()));
    else if (year.isDouble())
        stored.insert(QStringLiteral("year"), qlonglong(year.toDouble()));

    if (stored.value(QStringLiteral("name")).toString().isEmpty())
        stored.insert(QStringLiteral("name"), PathString::lastPathComponent(path));
    if (stored.value(QStringLiteral("title")).toString().isEmpty())
        stored.insert(QStringLiteral("title"), stored.value(QStringLiteral("name")));

    const QJsonValue isVideo = record.value(QStringLiteral("isVideo"));
    if (video || isVideo.toBool() || isVideo.toDouble() != 0) {
        stored.insert(QStringLiteral("isVideo"), 1);
        const QJsonValue iconData = record.value(QStringLiteral("iconData"));
        if (iconData.isString() && QDir::isAbsolutePath(iconData.toString()) &&
            QFileInfo(iconData.toString()).isFile())
            stored.insert(QStringLiteral("iconData"), iconData.toString());
    }
    return stored;
}

QJsonObject NativeHost::record(const QJsonObject& message) const {
    const QString kind = message.value(QStringLiteral("kind")).toString();
    if (!isMediaKind(kind))
        return failed(QStringLiteral("\"kind\" must be one of %1").arg(mediaKinds.join(u", ")));
    if (!message.value(QStringLiteral("record")).isObject())
        return failed(QStringLiteral("\"record\" must be an object"));
    const Result<QVariantMap> stored =
        storedRecord(message.value(QStringLiteral("record")).toObject(), isVideoKind(kind));
    if (!stored)
        return failed(stored.errorText());

    const Result<QString> entry = DownloadStore(m_preferencesFile).add(*stored);
    if (!entry)
        return failed(entry.errorText());
    const QString url = HandoffLauncher::importUrl(kind, DownloadStore::storeKey, *entry);
    if (const Status launched = m_launch(url); !launched) {
        QJsonObject reply = failed(launched.errorText());
        // The entry is written: the user can still hand it over by hand.
        reply.insert(QStringLiteral("entry"), *entry);
        reply.insert(QStringLiteral("url"), url);
        return reply;
    }
    return QJsonObject{{QStringLiteral("ok"), true},
                       {QStringLiteral("entry"), *entry},
                       {QStringLiteral("url"), url}};
}

QJsonObject NativeHost::browse(const QJsonObject& message) const {
    const QJsonValue value = message.value(QStringLiteral("path"));
    if (!value.isString() || !QDir::isAbsolutePath(value.toString()))
        return failed(QStringLiteral("\"path\" must be an absolute path"));
    const QString path = value.toString();
    const QFileInfo info(path);
    if (!info.isDir() && !QFileInfo(info.path()).isDir())
        return failed(QStringLiteral("%1: there is no such folder").arg(info.path()));
    const std::optional<QString> url = HandoffLauncher::browseUrl(path, info.isDir());
    if (!url)
        return failed(QStringLiteral("%1: a path holding \"=\" cannot be browsed to").arg(path));
    if (const Status launched = m_launch(*url); !launched)
        return failed(launched.errorText());
    return QJsonObject{{QStringLiteral("ok"), true}, {QStringLiteral("url"), *url}};
}

QJsonObject NativeHost::handle(const QJsonObject& message) const {
    const QString type = message.value(QStringLiteral("type")).toString();
    if (type == QLatin1String("ping"))
        return QJsonObject{{QStringLiteral("ok"), true}, {QStringLiteral("version"), m_version}};
    if (type == QLatin1String("record"))
        return record(message);
    if (type == QLatin1String("browse"))
        return browse(message);
    return failed(QStringLiteral("unknown message type \"%1\" (record, browse or ping)")
                      .arg(plistText(type).left(100)));
}

QJsonObject NativeHost::handleBytes(const QByteArray& bytes) const {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return failed(QStringLiteral("the message is not UTF-8"));
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError)
        return failed(QStringLiteral("the message is not JSON: %1").arg(error.errorString()));
    if (!document.isObject())
        return failed(QStringLiteral("the message is not a JSON object"));
    return handle(document.object());
}

int NativeHost::run(int inputFd, int outputFd) const {
    // A browser that goes away closes the pipe: a write then fails instead of ending the host
    // in the middle of a change.
    std::signal(SIGPIPE, SIG_IGN);
    NativeMessageDecoder decoder;
    QByteArray chunk(64 * 1024, Qt::Uninitialized);
    for (;;) {
        const ssize_t n = ::read(inputFd, chunk.data(), size_t(chunk.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            complain(QStringLiteral("no standard input to read messages from (%1)")
                         .arg(QString::fromLocal8Bit(strerror(errno))));
            return 1;
        }
        if (n == 0)
            break;
        decoder.append(chunk.constData(), n);
        for (;;) {
            const NativeMessageDecoder::Next next = decoder.next();
            if (next == NativeMessageDecoder::Next::NeedMore)
                break;
            if (next == NativeMessageDecoder::Next::TooLong) {
                const QString text =
                    QStringLiteral("a message of %1 bytes is over the limit of %2 bytes")
                        .arg(decoder.announcedLength().value_or(0))
                        .arg(NativeMessageDecoder::maximumMessageSize);
                complain(text);
                writeAll(outputFd, frameNativeMessage(failed(text)));
                return 1;
            }
            if (!writeAll(outputFd, frameNativeMessage(handleBytes(decoder.takeMessage())))) {
                complain(QStringLiteral("the browser no longer reads the replies"));
                return 1;
            }
        }
    }
    if (decoder.pendingBytes() > 0) {
        const QString text =
            decoder.announcedLength()
                ? QStringLiteral("the input ended inside a message (%1 of %2 bytes)")
                      .arg(decoder.pendingBytes() - 4)
                      .arg(*decoder.announcedLength())
                : QStringLiteral("the input ended inside a message's length");
        complain(text);
        writeAll(outputFd, frameNativeMessage(failed(text)));
        return 1;
    }
    return 0;
}

} // namespace tolvane
