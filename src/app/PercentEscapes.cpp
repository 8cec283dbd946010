#include "PercentEscapes.h"

#include <QByteArray>
#include <QStringDecoder>

namespace tolvane {

namespace {
int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

std::optional<QString> replacingPercentEscapes(const QString& text) {
    if (!text.contains(QLatin1Char('%')))
        return text;
    const QByteArray in = text.toUtf8();
    QByteArray out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in.at(i) != '%') {
            out.append(in.at(i));
            continue;
        }
        if (i + 2 >= in.size())
            return std::nullopt;
        const int high = hexValue(in.at(i + 1));
        const int low = hexValue(in.at(i + 2));
        if (high < 0 || low < 0)
            return std::nullopt;
        out.append(char(high * 16 + low));
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(out);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

} // namespace tolvane
