#include "TestSupport.h"
#include "import/PlaybackSupport.h"
#include "import/ui/PlayerWindow.h"
#include "platform/ui/Screen.h"

#include <QLabel>
#include <QMediaPlayer>
#include <QPointer>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSlider>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QVideoFrame>
#include <QVideoSink>
#include <QVideoWidget>

#include <memory>

using namespace tolvane;
using tolvane::test::s;

namespace {

QString fixture(const char* name) {
    return QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + QString::fromUtf8(name);
}

// Skips the running test when this process cannot play media, saying why.
#define SKIP_WITHOUT_PLAYBACK()                                                                    \
    do {                                                                                           \
        if (!PlaybackSupport::isAvailable())                                                       \
            QSKIP(qPrintable(QStringLiteral("media cannot be played here: ") +                     \
                             PlaybackSupport::status().errorText()));                              \
    } while (false)

} // namespace

class TestPlayer : public QObject {
    Q_OBJECT
public:
    // Which of the machine's GStreamer plugins a child process sees.
    enum class Installed { None, AllButPlayback, Machine };
    Q_ENUM(Installed)
    // Whether a child process must play: never, exactly when this process can, or either.
    enum class Playable { No, AsHere, Either };
    Q_ENUM(Playable)

private Q_SLOTS:
    void fileThatCannotPlaySaysSo_data();
    void fileThatCannotPlaySaysSo();
    void noPlayerWithoutPlayback();
    void playsAndTheClockRuns_data();
    void playsAndTheClockRuns();
    void framesOfTheClipReachTheVideoWidget();
    void audioShowsItsArtwork();
    void startsByItselfAndPauses();
    void videoShowsItsPicture();
    void closeDismissesThePresentedPlayer();
    void controlsReadOnBlack_data();
    void controlsReadOnBlack();
    void staysUpWithoutUsablePlayback_data();
    void staysUpWithoutUsablePlayback();
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
    if (player.player())
        QVERIFY(player.player()->playbackState() != QMediaPlayer::PlayingState);
}

// A process that cannot play media (no back end, or GStreamer without its playback plugins)
// makes no player at all, and says so for a file it could otherwise play.
void TestPlayer::noPlayerWithoutPlayback() {
    if (PlaybackSupport::isAvailable())
        QSKIP("media can be played here; staysUpWithoutUsablePlayback runs this test in "
              "processes that cannot play");
    PlayerWindow player(fixture("id3v24.mp3"));
    player.resize(320, 480);
    player.show();
    QCOMPARE(player.errorText(), PlayerWindow::cannotPlayText());
    QCOMPARE(player.player(), nullptr);
    QVERIFY(!player.playPauseButton()->isEnabled());
    QVERIFY(!player.positionSlider()->isEnabled());
    auto* pages = player.findChild<QStackedWidget*>();
    QVERIFY(pages);
    auto* shown = qobject_cast<QLabel*>(pages->currentWidget());
    QVERIFY(shown);
    QCOMPARE(shown->text(), PlayerWindow::cannotPlayText());
    QCOMPARE(player.findChild<QVideoWidget*>(), nullptr);
    // Play, pause and close stay harmless without a player.
    player.play();
    player.pause();
    QSignalSpy closed(&player, &PlayerWindow::closed);
    player.closeButton()->click();
    QCOMPARE(closed.size(), 1);
}

void TestPlayer::playsAndTheClockRuns_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("video");
    QTest::newRow("MP3") << fixture("id3v24.mp3") << false;
    QTest::newRow("MP4, H.264 and AAC") << fixture("clip.mp4") << true;
}

void TestPlayer::playsAndTheClockRuns() {
    QFETCH(QString, path);
    QFETCH(bool, video);
    SKIP_WITHOUT_PLAYBACK();
    PlayerWindow player(path);
    player.resize(320, 480);
    player.show();
    QVERIFY(player.player());
    QSignalSpy positions(player.player(), &QMediaPlayer::positionChanged);
    QTRY_VERIFY_WITH_TIMEOUT(player.player()->playbackState() == QMediaPlayer::PlayingState ||
                                 !player.errorText().isEmpty(),
                             10000);
    QCOMPARE(player.errorText(), QString());
    // The clock passes half a second of the file, and the slider follows it.
    const auto furthest = [&positions] {
        qint64 most = 0;
        for (const QList<QVariant>& position : positions)
            most = qMax(most, position.first().toLongLong());
        return most;
    };
    QTRY_VERIFY_WITH_TIMEOUT(furthest() >= 500, 10000);
    QVERIFY(player.positionSlider()->isEnabled());
    QVERIFY(player.positionSlider()->maximum() >= 1000);
    QTRY_VERIFY(player.positionSlider()->value() > 0);
    QCOMPARE(player.player()->hasVideo(), video);
    auto* pages = player.findChild<QStackedWidget*>();
    QVERIFY(pages);
    QCOMPARE(qobject_cast<QVideoWidget*>(pages->currentWidget()) != nullptr, video);
    QCOMPARE(player.errorText(), QString());
}

// The decoded picture itself reaches the window's video widget: the clip's ground, its bar and
// its sliding box, where the frame's time puts the box.
void TestPlayer::framesOfTheClipReachTheVideoWidget() {
    SKIP_WITHOUT_PLAYBACK();
    PlayerWindow player(fixture("clip.mp4"));
    player.resize(320, 480);
    player.show();
    auto* video = player.findChild<QVideoWidget*>();
    QVERIFY(video);
    QVideoFrame shown;
    // Frames come from the decoder's thread; they are taken on this one, and no longer once
    // this test is over.
    QObject receiver;
    connect(video->videoSink(), &QVideoSink::videoFrameChanged, &receiver,
            [&shown](const QVideoFrame& frame) { shown = frame; });
    QTRY_VERIFY_WITH_TIMEOUT(shown.isValid() && shown.startTime() >= 1000000, 10000);
    const QVideoFrame frame = shown;
    const QImage image = frame.toImage();
    QCOMPARE(image.size(), QSize(160, 90));
    const auto near = [&image](int x, int y, QRgb expected) {
        const QColor seen = image.pixelColor(x, y);
        const QColor wanted(expected);
        return qAbs(seen.red() - wanted.red()) <= 24 && qAbs(seen.green() - wanted.green()) <= 24 &&
               qAbs(seen.blue() - wanted.blue()) <= 24;
    };
    const int boxLeft = 8 + int(frame.startTime() * 40 / 1000000);
    QVERIFY2(near(2, 4, 0x264653), "the ground");
    QVERIFY2(near(80, 77, 0xe76f51), "the bar");
    QVERIFY2(near(boxLeft + 16, 36, 0xe9c46a),
             qPrintable(QStringLiteral("the box at x=%1").arg(boxLeft)));
    QVERIFY2(near(boxLeft - 6, 36, 0x264653), "the ground left of the box");
}

void TestPlayer::audioShowsItsArtwork() {
    PlayerWindow player(fixture("id3v24.mp3"));
    player.setShouldAutoplay(false);
    QSignalSpy loaded(&player, &PlayerWindow::artworkLoaded);
    player.resize(320, 480);
    player.show();
    QVERIFY(loaded.wait(5000) || loaded.size() == 1);
    QCOMPARE(player.artwork().size(), QSize(64, 64));
    QCOMPARE(player.player() != nullptr, PlaybackSupport::isAvailable());
    if (player.player()) {
        QCOMPARE(player.player()->source(), QUrl::fromLocalFile(fixture("id3v24.mp3")));
        QCOMPARE(player.player()->playbackState(), QMediaPlayer::StoppedState);
    }
}

void TestPlayer::startsByItselfAndPauses() {
    SKIP_WITHOUT_PLAYBACK();
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
    SKIP_WITHOUT_PLAYBACK();
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

void TestPlayer::controlsReadOnBlack_data() {
    QTest::addColumn<QString>("control");
    QTest::newRow("Close") << s("close");
    QTest::newRow("the clock") << s("clock");
}

// The window is black; what it writes on it is drawn light.
void TestPlayer::controlsReadOnBlack() {
    QFETCH(QString, control);
    PlayerWindow player(fixture("id3v23.mp3"));
    player.setShouldAutoplay(false);
    player.resize(320, 480);
    player.show();
    QVERIFY(QTest::qWaitForWindowExposed(&player));
    QWidget* shown = player.closeButton();
    if (control == QLatin1String("clock")) {
        const QList<QLabel*> labels = player.findChildren<QLabel*>();
        const auto clock = std::find_if(labels.begin(), labels.end(), [](QLabel* label) {
            return label->text() == QLatin1String("0:00");
        });
        QVERIFY(clock != labels.end());
        shown = *clock;
    }
    const QImage image = player.grab(shown->geometry()).toImage();
    int light = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            light += QColor(image.pixel(x, y)).lightness() > 160 ? 1 : 0;
    }
    QVERIFY2(light >= 10, qPrintable(QStringLiteral("%1 light pixels").arg(light)));
}

// This test program runs again in a child process whose GStreamer sees only the plugins given
// here, with a registry of its own, or whose Qt Multimedia is told to use another back end: it
// must finish and pass, and it must make no player where media cannot be played.
void TestPlayer::staysUpWithoutUsablePlayback_data() {
    QTest::addColumn<Installed>("installed");
    QTest::addColumn<QStringList>("broken"); // broken plugin files in the child's plugin path
    QTest::addColumn<QString>("backend");    // QT_MEDIA_BACKEND; empty: not set
    QTest::addColumn<Playable>("playable");
    const QString noise = s("libgstnoise.so");
    const QString crashing = s("libgstcrashinit.so");
    QTest::newRow("no plugins") << Installed::None << QStringList() << QString() << Playable::No;
    QTest::newRow("random bytes named as a plugin")
        << Installed::None << QStringList{noise} << QString() << Playable::No;
    QTest::newRow("a plugin whose init crashes")
        << Installed::None << QStringList{crashing} << QString() << Playable::No;
    // Decoders and sinks are there, so Qt Multimedia lists formats it could decode, but the
    // elements its player is built from are not.
    QTest::newRow("every plugin but the playback plugin")
        << Installed::AllButPlayback << QStringList() << QString() << Playable::No;
    // As here, when this process too uses the platform's own back end.
    QTest::newRow("broken plugins beside the machine's own")
        << Installed::Machine << QStringList{noise, crashing} << QString() << Playable::AsHere;
    QTest::newRow("a back end Qt does not have")
        << Installed::Machine << QStringList() << s("none-such") << Playable::No;
    QTest::newRow("a back end named in the wrong case")
        << Installed::Machine << QStringList() << s("GStreamer") << Playable::No;
    // Not held to GStreamer's plugins: whether it plays depends on the machine's sound.
    QTest::newRow("ffmpeg without GStreamer plugins")
        << Installed::None << QStringList() << s("ffmpeg") << Playable::Either;
}

void TestPlayer::staysUpWithoutUsablePlayback() {
    QFETCH(Installed, installed);
    QFETCH(QStringList, broken);
    QFETCH(QString, backend);
    QFETCH(Playable, playable);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString systemFolder = dir.filePath(s("system"));
    const QString pluginFolder = dir.filePath(s("plugins"));
    QVERIFY(QDir().mkpath(systemFolder));
    QVERIFY(QDir().mkpath(pluginFolder));
    if (installed == Installed::AllButPlayback) {
        const QDir machine(QStringLiteral(TOLVANE_GST_PLUGINS_DIR));
        for (const QString& name : machine.entryList({s("libgst*.so")}, QDir::Files)) {
            if (name != QLatin1String("libgstplayback.so"))
                QVERIFY(QFile::link(machine.filePath(name), systemFolder + u'/' + name));
        }
    }
    for (const QString& name : broken) {
        const QString target = pluginFolder + u'/' + name;
        if (name == QLatin1String("libgstcrashinit.so")) {
            QVERIFY(QFile::copy(QStringLiteral(TOLVANE_CRASHING_GST_PLUGIN), target));
        } else {
            QByteArray bytes(16 * 1024, '\0');
            QRandomGenerator random(20240611);
            for (char& byte : bytes)
                byte = char(random.bounded(256));
            QVERIFY(test::writeFile(target, bytes));
        }
    }

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (installed != Installed::Machine)
        env.insert(s("GST_PLUGIN_SYSTEM_PATH_1_0"), systemFolder);
    env.insert(s("GST_PLUGIN_PATH_1_0"), pluginFolder);
    env.insert(s("GST_REGISTRY_1_0"), dir.filePath(s("registry.bin")));
    env.insert(s("QT_QPA_PLATFORM"), s("offscreen"));
    if (backend.isEmpty())
        env.remove(s("QT_MEDIA_BACKEND"));
    else
        env.insert(s("QT_MEDIA_BACKEND"), backend);

    // Playing itself is left out where it is not known whether the child can play.
    QStringList functions{s("noPlayerWithoutPlayback"), s("fileThatCannotPlaySaysSo")};
    if (playable != Playable::Either)
        functions.append(s("playsAndTheClockRuns"));
    QProcess child;
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), functions);
    QVERIFY(child.waitForStarted());
    QVERIFY2(child.waitForFinished(50000), "the child did not finish");
    const QString output = QString::fromUtf8(child.readAll());
    QVERIFY2(child.exitStatus() == QProcess::NormalExit, qPrintable(output));
    QVERIFY2(child.exitCode() == 0, qPrintable(output));

    const QString noPlayer = s("TestPlayer::noPlayerWithoutPlayback()");
    const bool madeNoPlayer = output.contains(s("PASS   : ") + noPlayer);
    QVERIFY2(madeNoPlayer || output.contains(s("SKIP   : ") + noPlayer), qPrintable(output));
    if (playable == Playable::No)
        QVERIFY2(madeNoPlayer, qPrintable(output));
    else if (playable == Playable::AsHere && qEnvironmentVariableIsEmpty("QT_MEDIA_BACKEND"))
        QCOMPARE(madeNoPlayer, !PlaybackSupport::isAvailable());
    // Whenever the child cannot play, it says why.
    if (madeNoPlayer)
        QVERIFY2(output.contains(s("media cannot be played: ")), qPrintable(output));
}

QTEST_MAIN(TestPlayer)
#include "tst_player.moc"
