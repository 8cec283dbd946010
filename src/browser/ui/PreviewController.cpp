#include "PreviewController.h"

#include "browser/FileTypeTable.h"
#include "imaging/ImageDecoder.h"
#include "imaging/THEOSImage.h"
#include "import/ui/PlayerWindow.h"
#include "platform/Localisation.h"
#include "platform/OffScreen.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLocale>
#include <QMimeDatabase>
#include <QPlainTextEdit>
#include <QPointer>
#include <QToolButton>
#include <QVBoxLayout>

namespace tolvane {

namespace {

// Pictures larger than this are read scaled down.
const QSize largestPicture(2048, 2048);

PreviewController::Kind kindOf(const QString& path, const QMimeType& type) {
    if (!QFileInfo(path).isFile())
        return PreviewController::Kind::Other;
    const QString name = type.name();
    if (name.startsWith(QLatin1String("audio/")) || name.startsWith(QLatin1String("video/")))
        return PreviewController::Kind::Media;
    if (name.startsWith(QLatin1String("image/")) &&
        QImageReader::supportedMimeTypes().contains(name.toLatin1()))
        return PreviewController::Kind::Image;
    if (type.inherits(QStringLiteral("text/plain")))
        return PreviewController::Kind::Text;
    return PreviewController::Kind::Other;
}

} // namespace

PreviewController::PreviewController(const QUrl& url, QWidget* parent)
    : Screen(parent)
    , m_url(url)
    , m_done(new QToolButton(this)) {
    const QString path = url.toLocalFile();
    setTitle(QFileInfo(path).fileName());
    auto* done = static_cast<QToolButton*>(m_done);
    done->setText(localized("Done"));
    done->setAutoRaise(true);
    done->setCursor(Qt::PointingHandCursor);
    connect(done, &QToolButton::clicked, this, [this] {
        if (presentingViewController())
            dismissViewControllerAnimated(true);
        else
            close();
    });
    auto* name = new QLabel(QFileInfo(path).fileName(), this);
    name->setTextFormat(Qt::PlainText);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(12, 8, 8, 8);
    bar->addWidget(name, 1);
    bar->addWidget(done);

    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    m_kind = kindOf(path, type);
    switch (m_kind) {
    case Kind::Image:
        buildImagePage(path);
        break;
    case Kind::Text:
        buildTextPage(path);
        break;
    case Kind::Media:
        m_player = new PlayerWindow(path, this);
        m_player->closeButton()->hide();
        m_page = m_player;
        break;
    case Kind::Other:
        buildOtherPage(path);
        break;
    }
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(bar);
    column->addWidget(m_page, 1);
}

QString PreviewController::shownText() const {
    return m_text;
}

void PreviewController::buildImagePage(const QString& path) {
    m_image = new QLabel(this);
    m_image->setAlignment(Qt::AlignCenter);
    m_image->setText(localized("Loading..."));
    m_page = m_image;
    // Pictures can be large: they are decoded off the main thread.
    runOffScreen(
        this,
        [path] {
            return ImageDecoder::decodeFile(path, ImageDecoder::Request::fitting(largestPicture))
                .valueOr({});
        },
        [this](const QImage& image) {
            if (image.isNull())
                m_image->setText(localized("This picture cannot be shown."));
            else
                m_image->setPixmap(QPixmap::fromImage(image).scaled(
                    m_image->size().expandedTo(QSize(1, 1)), Qt::KeepAspectRatio,
                    Qt::SmoothTransformation));
            Q_EMIT imageShown();
        });
}

void PreviewController::buildTextPage(const QString& path) {
    auto* text = new QPlainTextEdit(this);
    text->setReadOnly(true);
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        m_text = QString::fromUtf8(file.read(textLimit));
    text->setPlainText(m_text);
    m_page = text;
}

void PreviewController::buildOtherPage(const QString& path) {
    const QFileInfo info(path);
    const QString iconFile =
        FileTypeTable::installed()->iconFileForExtension(PathString::pathExtension(path));
    auto* page = new QWidget(this);
    auto* column = new QVBoxLayout(page);
    column->addStretch(1);
    auto* icon = new QLabel(page);
    icon->setAlignment(Qt::AlignCenter);
    const QImage image = THEOSImage::imageWithName(iconFile, Paths::iconsFolder());
    if (!image.isNull())
        icon->setPixmap(QPixmap::fromImage(image));
    column->addWidget(icon);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    const QStringList lines{info.fileName(),
                            QLocale().formattedDataSize(info.exists() ? info.size() : 0),
                            type.comment()};
    m_text = lines.join(QLatin1Char('\n'));
    for (const QString& line : lines) {
        auto* label = new QLabel(line, page);
        label->setTextFormat(Qt::PlainText);
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
        column->addWidget(label);
    }
    column->addStretch(2);
    m_page = page;
}

bool PreviewController::performKeyCommand(KeyCommand command) {
    if (command != KeyCommand::Cancel)
        return false;
    static_cast<QToolButton*>(m_done)->click();
    return true;
}

} // namespace tolvane
