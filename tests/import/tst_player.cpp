#include "import/ui/PlayerWindow.h"
#include "platform/ui/Screen.h"

#include <QMediaPlayer>
#include <QPointer>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace tolvane;

namespace {

QString fixture(const char* name) {
    return QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + QString::fromUtf8(name);
}

} // namespace

class TestPlayer : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void fileThatCannotPlaySaysSo_data();
    void fileThatCannotPlaySaysSo();
    void audioShowsItsArtwork();
    void startsByItselfAndPauses();
    void videoShowsItsPicture();
    void closeDismissesThePresentedPlayer();
};

void TestPlayer::fileThatCannotPlaySaysSo_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << fixture("no-such-file.mp3");
    QTest::newRow("a folder") << QStringLiteral(TOLVANE_MEDIA_FIXTURES);
    QTest::newRow("text named mp3") << fixture("not-media.mp3");
    QTest::newRow("empty file") << fixture("zero.m4a");
}

void TestPlayer::fileThatCannotPlaySaysSo() {
    QFETCH(QString, path);
    PlayerWindow player(path);
    player.resize(320, 480);
    player.show();
    QTRY_COMPARE_WITH_TIMEOUT(player.errorText(), PlayerWindow::cannotPlayText(), 10000);
    QVERIFY(!player.playPauseButton()->isEnabled());
    QVERIFY(!player.positionSlider()->isEnabled());
    QVERIFY(player.player()->playbackState() != QMediaPlayer::PlayingState);
}

void TestPlayer::audioShowsItsArtwork() {
    PlayerWindow player(fixture("id3v24.mp3"));
    player.setShouldAutoplay(false);
    QSignalSpy loaded(&player, &PlayerWindow::artworkLoaded);
    player.resize(320, 480);
    player.show();
    QVERIFY(loaded.wait(5000) || loaded.size() == 1);
    QCOMPARE(player.artwork().size(), QSize(64, 64));
    QCOMPARE(player.player()->source(), QUrl::fromLocalFile(fixture("id3v24.mp3")));
    QCOMPARE(player.player()->playbackState(), QMediaPlayer::StoppedState);
}

void TestPlayer::startsByItselfAndPauses() {
    PlayerWindow player(fixture("tags.ogg"));
    player.resize(320, 480);
    player.show();
    QTRY_VERIFY_WITH_TIMEOUT(player.player()->playbackState() == QMediaPlayer::PlayingState ||
                                 !player.errorText().isEmpty(),
                             5000);
    if (!player.errorText().isEmpty())
        QSKIP("this machine has no decoder for Ogg Vorbis");
    player.playPauseButton()->click();
    QCOMPARE(player.player()->playbackState(), QMediaPlayer::PausedState);
    player.playPauseButton()->click();
    QCOMPARE(player.player()->playbackState(), QMediaPlayer::PlayingState);
}

void TestPlayer::videoShowsItsPicture() {
    PlayerWindow player(fixture("video.m4v"));
    player.setShouldAutoplay(false);
    player.resize(320, 480);
    player.show();
    QTRY_VERIFY_WITH_TIMEOUT(player.player()->hasVideo() || !player.errorText().isEmpty(), 5000);
    if (!player.errorText().isEmpty())
        QSKIP("this machine has no decoder for H.264 in MPEG-4");
    QTRY_VERIFY(player.positionSlider()->isEnabled());
    QCOMPARE(player.player()->playbackState(), QMediaPlayer::StoppedState);
}

void TestPlayer::closeDismissesThePresentedPlayer() {
    auto window = std::make_unique<Screen>();
    window->resize(320, 480);
    window->show();
    QPointer<PlayerWindow> player = new PlayerWindow(fixture("id3v23.mp3"));
    QVERIFY(window->presentViewController(player, false));
    QTRY_COMPARE(window->presentedViewController(), player.data());
    QSignalSpy closed(player.data(), &PlayerWindow::closed);
    QTest::mouseClick(player->closeButton(), Qt::LeftButton);
    QCOMPARE(closed.size(), 1);
    QTRY_VERIFY(player.isNull() || !player->isVisible());
    QCOMPARE(window->presentedViewController(), nullptr);
}

QTEST_MAIN(TestPlayer)
#include "tst_player.moc"
