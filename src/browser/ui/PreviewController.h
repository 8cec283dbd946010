#pragma once

#include "platform/ui/Screen.h"

#include <QUrl>

class QLabel;

namespace tolvane {

class PlayerWindow;

// A quick look at one file: a picture shown whole, a text file as text, audio and video in
// the player, anything else as its type icon with its name, size and kind. Done closes it.
class PreviewController : public Screen {
    Q_OBJECT
public:
    enum class Kind { Image, Text, Media, Other };

    explicit PreviewController(const QUrl& url, QWidget* parent = nullptr);

    QUrl url() const { return m_url; }
    Kind kind() const { return m_kind; }
    // The texts of the "other" page, or of the text page: what a user reads there.
    QString shownText() const;
    PlayerWindow* player() const { return m_player; }
    QWidget* doneButton() const { return m_done; }
    // Escape is Done.
    bool performKeyCommand(KeyCommand command) override;

    // Text files are shown up to this many bytes.
    static constexpr qint64 textLimit = 512 * 1024;

Q_SIGNALS:
    // The picture has been read and is shown.
    void imageShown();

private:
    void buildImagePage(const QString& path);
    void buildTextPage(const QString& path);
    void buildOtherPage(const QString& path);

    QUrl m_url;
    Kind m_kind = Kind::Other;
    QWidget* m_done;
    QWidget* m_page = nullptr;
    QLabel* m_image = nullptr;
    PlayerWindow* m_player = nullptr;
    QString m_text;
};

} // namespace tolvane
