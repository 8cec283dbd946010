#include "ImagePickerController.h"

#include "imaging/ImageDecoder.h"
#include "platform/Localisation.h"
#include "platform/Paths.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QImageReader>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcPicker, "tolvane.picker")
} // namespace

const QString ImagePickerController::originalImageKey = QStringLiteral("originalImage");
const QString ImagePickerController::pathKey = QStringLiteral("path");

ImagePickerController::ImagePickerController(QWidget* parent)
    : Screen(parent)
    , m_dialog(new QFileDialog(this)) {
    setTitle(localized("Photos"));
    // Embedded as a page of this screen rather than as a window of its own.
    m_dialog->setWindowFlags(Qt::Widget);
    m_dialog->setOption(QFileDialog::DontUseNativeDialog);
    m_dialog->setFileMode(QFileDialog::ExistingFile);
    m_dialog->setAcceptMode(QFileDialog::AcceptOpen);
    QStringList patterns;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        patterns.append(QStringLiteral("*.") + QString::fromLatin1(format));
    m_dialog->setNameFilter(localized("Images") + QStringLiteral(" (") +
                            patterns.join(QLatin1Char(' ')) + QLatin1Char(')'));
    m_dialog->setDirectory(defaultFolder());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_dialog);
    connect(m_dialog, &QFileDialog::fileSelected, this, &ImagePickerController::fileChosen);
    connect(m_dialog, &QFileDialog::rejected, this, &ImagePickerController::cancelled);
}

QString ImagePickerController::defaultFolder() {
    const QString library = Paths::photoLibraryFolder();
    if (QFileInfo(library).isDir())
        return library;
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (!pictures.isEmpty() && QFileInfo(pictures).isDir())
        return pictures;
    return QDir::homePath();
}

void ImagePickerController::fileChosen(const QString& path) {
    if (m_answered)
        return;
    const Result<QImage> image = ImageDecoder::decodeFile(path);
    if (!image) {
        qCWarning(lcPicker).noquote() << image.errorText();
        cancelled();
        return;
    }
    m_answered = true;
    if (m_delegate)
        m_delegate->imagePickerController(this, {{originalImageKey, *image}, {pathKey, path}});
}

void ImagePickerController::cancelled() {
    if (m_answered)
        return;
    m_answered = true;
    if (m_delegate)
        m_delegate->imagePickerControllerDidCancel(this);
}

} // namespace tolvane
