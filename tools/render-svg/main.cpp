// tolvane-render-svg IN.svg OUT_BASE.png WIDTH HEIGHT
//
// Renders IN.svg at WIDTHxHEIGHT points into OUT_BASE.png (1x), OUT_BASE@2x.png and
// OUT_BASE@3x.png: transparent background, antialiased. Parent folders are created.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMessageLogContext>
#include <QPainter>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <QSvgRenderer>

#include <array>
#include <cstdio>
#include <utility>

namespace {

QStringList qtMessages;

// Qt's own parser messages are kept back so that a failure prints one line of our own.
void keepQtMessage(QtMsgType, const QMessageLogContext&, const QString& message) {
    qtMessages.append(message.simplified());
}

void report(const QString& message) {
    std::fprintf(stderr, "tolvane-render-svg: %s\n", qPrintable(message));
}

bool parsePoints(const char* text, int& value) {
    bool ok = false;
    value = QByteArray(text).toInt(&ok);
    return ok && value > 0 && value <= 4096;
}

QString outputPath(const QString& base, int scale) {
    return scale == 1 ? base + QStringLiteral(".png")
                      : base + QStringLiteral("@%1x.png").arg(scale);
}

bool render(QSvgRenderer& renderer, int width, int height, int scale, const QString& path) {
    QImage image(width * scale, height * scale, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull()) {
        report(
            QStringLiteral("cannot allocate a %1x%2 image").arg(width * scale).arg(height * scale));
        return false;
    }
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        renderer.render(&painter, QRectF(0, 0, image.width(), image.height()));
    }
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        report(QStringLiteral("cannot create folder %1").arg(folder));
        return false;
    }
    if (!image.save(path, "PNG")) {
        report(QStringLiteral("cannot write %1").arg(path));
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 5) {
        report(QStringLiteral("usage: tolvane-render-svg IN.svg OUT_BASE.png WIDTH HEIGHT"));
        return 2;
    }
    const QString input = QFile::decodeName(argv[1]);
    QString base = QFile::decodeName(argv[2]);
    if (base.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive)) {
        base.chop(4);
    }
    int width = 0;
    int height = 0;
    if (!parsePoints(argv[3], width) || !parsePoints(argv[4], height)) {
        report(QStringLiteral("WIDTH and HEIGHT must be whole numbers of points from 1 to 4096"));
        return 2;
    }

    if (!QFileInfo(input).isReadable()) {
        report(QStringLiteral("cannot read SVG %1: no such readable file").arg(input));
        return 1;
    }
    QSvgRenderer renderer;
    const QtMessageHandler previousHandler = qInstallMessageHandler(keepQtMessage);
    const bool loaded = renderer.load(input) && renderer.isValid();
    qInstallMessageHandler(previousHandler);
    if (!loaded) {
        report(qtMessages.isEmpty()
                   ? QStringLiteral("cannot read SVG %1").arg(input)
                   : QStringLiteral("cannot read SVG %1: %2").arg(input, qtMessages.constFirst()));
        return 1;
    }
    // Loaded, but anything Qt could not draw is worth seeing.
    for (const QString& message : std::as_const(qtMessages)) {
        report(QStringLiteral("warning: %1: %2").arg(input, message));
    }

    renderer.setAspectRatioMode(Qt::KeepAspectRatio);

    constexpr std::array scales{1, 2, 3};
    for (const int scale : scales) {
        if (!render(renderer, width, height, scale, outputPath(base, scale))) {
            return 1;
        }
    }
    return 0;
}
