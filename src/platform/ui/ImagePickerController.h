#pragma once

#include "platform/ui/Screen.h"

#include <QVariantMap>

class QFileDialog;

namespace tolvane {

class ImagePickerController;

// Told what the user picked; the picker does not close itself, its delegate does.
class ImagePickerControllerDelegate {
public:
    virtual ~ImagePickerControllerDelegate() = default;
    // info holds the image as it was read under originalImageKey and its file under pathKey.
    virtual void imagePickerController(ImagePickerController* picker, const QVariantMap& info) {
        Q_UNUSED(picker);
        Q_UNUSED(info);
    }
    virtual void imagePickerControllerDidCancel(ImagePickerController* picker) { Q_UNUSED(picker); }
};

// The photo library: an image file chooser opened in the user's photo folder. A chosen file
// that cannot be read as an image counts as a cancel.
class ImagePickerController : public Screen {
    Q_OBJECT
public:
    static const QString originalImageKey;
    static const QString pathKey;

    explicit ImagePickerController(QWidget* parent = nullptr);

    // Not owned.
    void setDelegate(ImagePickerControllerDelegate* delegate) { m_delegate = delegate; }
    ImagePickerControllerDelegate* delegate() const { return m_delegate; }
    QFileDialog* fileDialog() const { return m_dialog; }

    // The photo library when it exists, else the desktop's pictures folder, else home.
    static QString defaultFolder();

private:
    void fileChosen(const QString& path);
    void cancelled();

    ImagePickerControllerDelegate* m_delegate = nullptr;
    QFileDialog* m_dialog;
    bool m_answered = false;
};

} // namespace tolvane
