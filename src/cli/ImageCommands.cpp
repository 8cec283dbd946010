#include "cli/Command.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageEffects.h"
#include "import/ArtworkSizing.h"
#include "platform/Device.h"
#include "platform/RegularFile.h"

#include <QFile>
#include <QImageReader>
#include <QSaveFile>

namespace tolvane::cli {

namespace {

const QCommandLineOption kindOption(QStringLiteral("kind"), QStringLiteral("The media kind."),
                                    QStringLiteral("KIND"));
const QCommandLineOption scaleOption(QStringLiteral("scale"),
                                     QStringLiteral("The screen scale (default 1)."),
                                     QStringLiteral("S"));

// The screen scale from --scale, put in force for the command.
std::optional<qreal> scaleFrom(const QCommandLineParser& parser) {
    if (!parser.isSet(scaleOption))
        return 1.0;
    bool ok = false;
    const qreal scale = parser.value(scaleOption).toDouble(&ok);
    if (!ok || scale <= 0 || scale > 16)
        return std::nullopt;
    return scale;
}

// Artwork files are read whole; a larger one is no artwork.
constexpr qint64 artworkFileLimit = 256 * 1024 * 1024;

Status writeFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return {};
    return Failure(QStringLiteral("cannot be written: %1").arg(file.errorString()), path);
}

QVariantList pair(qreal a, qreal b) {
    return {a, b};
}

int artwork(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2 || !parser.isSet(kindOption))
        return fail(QStringLiteral("artwork takes --kind KIND, an input and an output image"));
    const std::optional<qreal> scale = scaleFrom(parser);
    if (!scale)
        return fail(QStringLiteral("--scale takes a number above 0"));
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), *scale);

    const Result<QByteArray> input = RegularFile::readAll(arguments.at(0), artworkFileLimit);
    if (!input)
        return fail(input.errorText());
    const Result<ArtworkSizing::Jpeg> jpeg =
        ArtworkSizing::sizedJpeg(*input, parser.value(kindOption), 80, *scale);
    if (!jpeg)
        return fail(QStringLiteral("%1: %2").arg(arguments.at(0), jpeg.failure().message()));
    if (const Status written = writeFile(arguments.at(1), jpeg->bytes); !written)
        return fail(written.errorText());
    print(
        QVariantMap{{QStringLiteral("points"), pair(jpeg->points.width(), jpeg->points.height())},
                    {QStringLiteral("pixels"), pair(jpeg->pixels.width(), jpeg->pixels.height())}},
        format);
    return Success;
}

int effect(const QCommandLineParser& parser, Format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 3)
        return fail(QStringLiteral("effect takes light|extralight|dark|tint:#RRGGBB, an input "
                                   "and an output image"));
    const std::optional<qreal> scale = scaleFrom(parser);
    if (!scale)
        return fail(QStringLiteral("--scale takes a number above 0"));
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), *scale);

    const QString name = arguments.at(0);
    // The scale is the one given, not the device's: the effects are asked for it explicitly.
    const qreal at = *scale;
    std::function<QImage(const QImage&)> apply;
    if (name == QLatin1String("light")) {
        apply = [at](const QImage& image) { return ImageEffects::applyLightEffect(image, at); };
    } else if (name == QLatin1String("extralight")) {
        apply = [at](const QImage& image) {
            return ImageEffects::applyExtraLightEffect(image, at);
        };
    } else if (name == QLatin1String("dark")) {
        apply = [at](const QImage& image) { return ImageEffects::applyDarkEffect(image, at); };
    } else if (name.startsWith(QLatin1String("tint:"))) {
        const QColor colour = QColor::fromString(name.mid(5));
        if (!colour.isValid())
            return fail(QStringLiteral("\"%1\" is not a colour (#RRGGBB)").arg(name.mid(5)));
        apply = [colour, at](const QImage& image) {
            return ImageEffects::applyTintEffectWithColor(image, colour, at);
        };
    } else {
        return fail(QStringLiteral("unknown effect \"%1\"").arg(name));
    }

    Result<QImage> decoded = ImageDecoder::decodeFile(arguments.at(1));
    if (!decoded)
        return fail(decoded.errorText());
    QImage snapshot = std::move(decoded).value();
    // A snapshot of the screen: its pixels kept, its points its pixels over the scale.
    snapshot.setDevicePixelRatio(*scale);
    const QImage result = apply(snapshot);
    if (result.isNull())
        return fail(QStringLiteral("%1: too small for the effect").arg(arguments.at(1)));
    if (!result.save(arguments.at(2), "PNG"))
        return fail(QStringLiteral("%1: cannot be written").arg(arguments.at(2)));
    return Success;
}

} // namespace

QList<Command> imageCommands() {
    return {
        {QStringLiteral("artwork"), QStringLiteral("artwork --kind KIND [--scale S] IN OUT"),
         QStringLiteral("Sizes artwork for a media kind and writes it as JPEG."),
         [](QCommandLineParser& parser) {
             parser.addOption(kindOption);
             parser.addOption(scaleOption);
         },
         artwork},
        {QStringLiteral("effect"),
         QStringLiteral("effect light|extralight|dark|tint:#RRGGBB [--scale S] IN OUT"),
         QStringLiteral("Applies a blur effect to a screen snapshot and writes it as PNG."),
         [](QCommandLineParser& parser) { parser.addOption(scaleOption); }, effect},
    };
}

} // namespace tolvane::cli
