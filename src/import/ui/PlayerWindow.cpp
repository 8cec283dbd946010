#include "PlayerWindow.h"

#include "imaging/ImageDecoder.h"
#include "import/MetadataReader.h"
#include "import/PlaybackSupport.h"
#include "platform/Localisation.h"
#include "platform/OffScreen.h"

#include <QAudioOutput>
#include <QCoreApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMediaPlayer>
#include <QPointer>
#include <QSlider>
#include <QStackedWidget>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QVideoWidget>

namespace tolvane {

namespace {

QString clock(qint64 ms) {
    const qint64 seconds = qMax<qint64>(0, ms / 1000);
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString PlayerWindow::cannotPlayText() {
    return localized("This file cannot be played.");
}

PlayerWindow::PlayerWindow(const QString& path, QWidget* parent)
    : Screen(parent)
    , m_path(path)
    , m_pages(new QStackedWidget(this))
    , m_artwork(new QLabel(m_pages))
    , m_error(new QLabel(m_pages))
    , m_playPause(new QToolButton(this))
    , m_close(new QToolButton(this))
    , m_slider(new QSlider(Qt::Horizontal, this))
    , m_time(new QLabel(this)) {
    setTitle(QFileInfo(path).fileName());
    QPalette dark = palette();
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::ButtonText, Qt::white);
    setPalette(dark);

    m_artwork->setAlignment(Qt::AlignCenter);
    m_artwork->setText(QFileInfo(path).fileName());
    m_artwork->setWordWrap(true);
    m_error->setAlignment(Qt::AlignCenter);
    m_error->setWordWrap(true);
    m_pages->addWidget(m_artwork);
    m_pages->addWidget(m_error);

    m_playPause->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    m_playPause->setAutoRaise(true);
    m_close->setText(localized("Close"));
    m_close->setAutoRaise(true);
    m_slider->setEnabled(false);
    m_time->setText(clock(0));

    auto* controls = new QHBoxLayout;
    controls->setContentsMargins(8, 4, 8, 8);
    controls->addWidget(m_playPause);
    controls->addWidget(m_slider, 1);
    controls->addWidget(m_time);
    controls->addWidget(m_close);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_pages, 1);
    column->addLayout(controls);

    connect(m_playPause, &QToolButton::clicked, this, [this] {
        if (m_player && m_player->playbackState() == QMediaPlayer::PlayingState)
            pause();
        else
            play();
    });
    connect(m_close, &QToolButton::clicked, this, &PlayerWindow::closePlayer);

    if (!QFileInfo(path).isFile()) {
        showError();
        return;
    }
    readArtwork();
    if (!PlaybackSupport::isAvailable()) {
        showError();
        return;
    }
    makePlayer();
    m_player->setSource(QUrl::fromLocalFile(path));
    // Started from the event loop, so that a caller may still turn autoplay off.
    QTimer::singleShot(0, this, [this] {
        if (m_shouldAutoplay && !m_failed)
            play();
    });
}

PlayerWindow::~PlayerWindow() {
    if (m_player)
        m_player->stop();
}

void PlayerWindow::makePlayer() {
    // The video widget asks the media back end for its sink, so it is made with the player.
    m_player = new QMediaPlayer(this);
    m_audio = new QAudioOutput(this);
    m_video = new QVideoWidget(m_pages);
    m_pages->insertWidget(1, m_video);
    m_player->setAudioOutput(m_audio);
    m_player->setVideoOutput(m_video);

    connect(m_slider, &QSlider::sliderMoved, m_player, &QMediaPlayer::setPosition);
    connect(m_player, &QMediaPlayer::durationChanged, this, [this](qint64 duration) {
        m_slider->setRange(0, int(qMin<qint64>(duration, INT_MAX)));
        m_slider->setEnabled(duration > 0 && !m_failed);
    });
    connect(m_player, &QMediaPlayer::positionChanged, this, [this](qint64 position) {
        if (!m_slider->isSliderDown())
            m_slider->setValue(int(qMin<qint64>(position, INT_MAX)));
        m_time->setText(clock(position));
    });
    connect(m_player, &QMediaPlayer::playbackStateChanged, this, &PlayerWindow::updateControls);
    connect(m_player, &QMediaPlayer::hasVideoChanged, this, [this](bool video) {
        if (!m_failed)
            m_pages->setCurrentWidget(video ? static_cast<QWidget*>(m_video) : m_artwork);
    });
    connect(m_player, &QMediaPlayer::errorOccurred, this, &PlayerWindow::showError);
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus s) {
        if (s == QMediaPlayer::InvalidMedia)
            showError();
    });
}

QString PlayerWindow::errorText() const {
    return m_failed ? m_error->text() : QString();
}

QPixmap PlayerWindow::artwork() const {
    return m_artwork->pixmap();
}

void PlayerWindow::play() {
    if (m_player && !m_failed)
        m_player->play();
}

void PlayerWindow::pause() {
    if (m_player)
        m_player->pause();
}

void PlayerWindow::closePlayer() {
    if (m_player)
        m_player->stop();
    Q_EMIT closed();
    if (presentingViewController())
        dismissViewControllerAnimated(true);
    else
        close();
}

void PlayerWindow::showError() {
    if (m_failed)
        return;
    m_failed = true;
    if (m_player)
        m_player->stop();
    m_error->setText(cannotPlayText());
    m_pages->setCurrentWidget(m_error);
    m_slider->setEnabled(false);
    updateControls();
}

void PlayerWindow::updateControls() {
    const bool playing = m_player && m_player->playbackState() == QMediaPlayer::PlayingState;
    m_playPause->setIcon(
        style()->standardIcon(playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
    m_playPause->setToolTip(playing ? localized("Pause") : localized("Play"));
    m_playPause->setEnabled(!m_failed);
}

void PlayerWindow::readArtwork() {
    // Tags are read off the main thread; the answer comes back only while the window lives.
    runOffScreen(
        this,
        [path = m_path] {
            const Result<Tags> tags = MetadataReader::tagsForFile(path);
            const QSize bound(512, 512);
            return tags ? ImageDecoder::decode(tags->artwork.value_or(QByteArray()),
                                               ImageDecoder::Request::fitting(bound))
                              .valueOr({})
                        : QImage();
        },
        [this](const QImage& image) {
            if (!image.isNull())
                m_artwork->setPixmap(QPixmap::fromImage(image));
            Q_EMIT artworkLoaded();
        });
}

bool PlayerWindow::performKeyCommand(KeyCommand command) {
    if (command != KeyCommand::Cancel)
        return false;
    m_close->click();
    return true;
}

} // namespace tolvane
