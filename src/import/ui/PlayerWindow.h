#pragma once

#include "platform/ui/Screen.h"

#include <QString>

class QAudioOutput;
class QLabel;
class QMediaPlayer;
class QSlider;
class QStackedWidget;
class QToolButton;
class QVideoWidget;

namespace tolvane {

// Plays one media file: a video with its picture, an audio file with the artwork read from its
// tags (or its name when it has none), under play/pause, a position slider and Close. Playing
// starts by itself once the window is made. A file that cannot be played says so in the window
// instead, and so does every file when this process cannot play media at all (PlaybackSupport):
// then no player is made. Close dismisses the window when it was presented, else closes it.
class PlayerWindow : public Screen {
    Q_OBJECT
public:
    explicit PlayerWindow(const QString& path, QWidget* parent = nullptr);
    ~PlayerWindow() override;

    QString path() const { return m_path; }
    // True by default; turning it off before the event loop runs keeps the player still.
    bool shouldAutoplay() const { return m_shouldAutoplay; }
    void setShouldAutoplay(bool autoplay) { m_shouldAutoplay = autoplay; }

    // Empty while the file plays or may still play.
    QString errorText() const;
    static QString cannotPlayText();

    // Null when no player was made: the path is not a file, or media cannot be played here.
    QMediaPlayer* player() const { return m_player; }
    QToolButton* playPauseButton() const { return m_playPause; }
    QToolButton* closeButton() const { return m_close; }
    // Escape is Close.
    bool performKeyCommand(KeyCommand command) override;
    QSlider* positionSlider() const { return m_slider; }
    // The artwork shown for an audio file, once read; null before and for none.
    QPixmap artwork() const;

    void play();
    void pause();
    void closePlayer();

Q_SIGNALS:
    // The artwork (or its absence) is known.
    void artworkLoaded();
    void closed();

private:
    void makePlayer();
    void showError();
    void updateControls();
    void readArtwork();

    QString m_path;
    bool m_shouldAutoplay = true;
    bool m_failed = false;
    QMediaPlayer* m_player = nullptr;
    QAudioOutput* m_audio = nullptr;
    QStackedWidget* m_pages;
    QVideoWidget* m_video = nullptr;
    QLabel* m_artwork;
    QLabel* m_error;
    QToolButton* m_playPause;
    QToolButton* m_close;
    QSlider* m_slider;
    QLabel* m_time;
};

} // namespace tolvane
