#include "ImageSearchRequest.h"

namespace tolvane {

namespace {

bool staysUnescaped(char byte) {
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= '0' && byte <= '9'))
        return true;
    // Unreserved marks, then the reserved characters and the fragment mark: the escaping is
    // made for whole URLs, so it leaves what structures a URL alone.
    static constexpr char kept[] = "-_.!~*'()"
                                   ";/?:@&=+$,#";
    return byte != '\0' && std::char_traits<char>::find(kept, sizeof kept - 1, byte) != nullptr;
}

} // namespace

QString ImageSearchRequest::queryText(const QString& searchText, const QString& keyword) {
    QString text = searchText + QLatin1Char('+') + keyword;
    text.replace(QLatin1Char(' '), QLatin1Char('+'));
    text.remove(QStringLiteral(".mp4"), Qt::CaseSensitive);
    return text;
}

QByteArray ImageSearchRequest::legacyPercentEscaped(const QString& text) {
    static constexpr char hex[] = "0123456789ABCDEF";
    const QByteArray bytes = text.toUtf8();
    QByteArray escaped;
    escaped.reserve(bytes.size() * 3);
    for (const char byte : bytes) {
        if (staysUnescaped(byte)) {
            escaped += byte;
        } else {
            const auto value = static_cast<unsigned char>(byte);
            escaped += '%';
            escaped += hex[value >> 4];
            escaped += hex[value & 0x0f];
        }
    }
    return escaped;
}

QUrl ImageSearchRequest::serviceUrl() {
    const QUrl configured(qEnvironmentVariable("TOLVANE_SEARCH_URL"), QUrl::StrictMode);
    if (configured.isValid() && !configured.scheme().isEmpty() && !configured.host().isEmpty()) {
        QUrl base;
        base.setScheme(configured.scheme());
        base.setHost(configured.host());
        base.setPort(configured.port());
        return base;
    }
    return QUrl(QStringLiteral("https://www.google.com"));
}

ImageSearchRequest ImageSearchRequest::forSearch(const QString& searchText,
                                                 const QString& keyword) {
    // Built as encoded text and read back tolerantly, so that the escapes and the characters
    // left alone reach the wire exactly as made.
    const QByteArray address = serviceUrl().toEncoded() + path + '?' + fixedQuery +
                               legacyPercentEscaped(queryText(searchText, keyword));
    return {QUrl::fromEncoded(address, QUrl::TolerantMode), {{"User-Agent", userAgent}}};
}

} // namespace tolvane
