#include "PlaybackSupport.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QLoggingCategory>
#include <QMediaDevices>
#include <QMediaFormat>
#include <QPluginLoader>

#include <gst/gst.h>

namespace tolvane {

namespace {

Q_LOGGING_CATEGORY(lcPlayback, "tolvane.playback")

// What Qt Multimedia 6.4's GStreamer player is built from. Without the first two (GStreamer's
// playback plugin) the player is made from a null element and the process crashes; without any
// of the others every file fails, or plays without its sound or without its picture. A machine
// without sound still has autoaudiosink: it then plays into a sink that keeps time silently.
constexpr const char* gstreamerElementNames[] = {"playbin",      "uridecodebin", "input-selector",
                                                 "queue",        "audioconvert", "autoaudiosink",
                                                 "videoconvert", "videoscale"};

Status checkGStreamer() {
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        const QString why = error ? QString::fromUtf8(error->message) : QStringLiteral("no reason");
        g_clear_error(&error);
        return Failure(QStringLiteral("GStreamer does not start: %1").arg(why));
    }
    // An element is made once, so that a plugin that is registered but cannot be loaded counts
    // as missing.
    QStringList missing;
    for (const char* name : gstreamerElementNames) {
        GstElementFactory* factory = gst_element_factory_find(name);
        GstElement* element = factory ? gst_element_factory_create(factory, nullptr) : nullptr;
        if (element)
            gst_object_unref(gst_object_ref_sink(element));
        else
            missing.append(QString::fromLatin1(name));
        if (factory)
            gst_object_unref(factory);
    }
    if (!missing.isEmpty())
        return Failure(QStringLiteral("GStreamer lacks the elements %1 (install its base and "
                                      "good plugins)")
                           .arg(missing.join(QStringLiteral(", "))));
    return {};
}

// Whether Qt Multimedia has the back end of that name among its plugins. Asking Qt itself for
// a back end it cannot load ends the process (Qt 6.4 then falls back to a stand-in that aborts
// when asked for formats), so the plugins' own descriptions are read here, without loading them.
bool hasQtBackend(const QString& name) {
    for (const QString& folder : QCoreApplication::libraryPaths()) {
        const QDir plugins(folder + QStringLiteral("/multimedia"));
        for (const QFileInfo& file : plugins.entryInfoList(QDir::Files)) {
            if (!QLibrary::isLibrary(file.filePath()))
                continue;
            const QJsonObject description = QPluginLoader(file.filePath()).metaData();
            if (description.value(QLatin1String("IID")).toString() !=
                QLatin1String("org.qt-project.Qt.QPlatformMediaPlugin"))
                continue;
            const QJsonArray keys = description.value(QLatin1String("MetaData"))
                                        .toObject()
                                        .value(QLatin1String("Keys"))
                                        .toArray();
            for (const QJsonValue& key : keys) {
                if (key.toString() == name)
                    return true;
            }
        }
    }
    return false;
}

Status checkQtMultimedia() {
    if (QMediaFormat().supportedFileFormats(QMediaFormat::Decode).isEmpty())
        return Failure(QStringLiteral("the %1 media back end decodes no file format")
                           .arg(PlaybackSupport::backendName()));
    return {};
}

Status check() {
    const QString backend = PlaybackSupport::backendName();
    if (!hasQtBackend(backend))
        return Failure(QStringLiteral("Qt Multimedia has no %1 back end").arg(backend));
    // Qt's back end is asked only once GStreamer is known to be whole: asking it loads the back
    // end, which starts GStreamer on its own.
    if (backend == QLatin1String("gstreamer")) {
        if (Status gstreamer = checkGStreamer(); !gstreamer)
            return gstreamer;
    }
    // Qt 6.4's ffmpeg back end writes its sound into a device that is not there and crashes
    // when the machine has no audio output (GStreamer keeps time in a silent sink instead).
    if (backend == QLatin1String("ffmpeg") && QMediaDevices::audioOutputs().isEmpty())
        return Failure(QStringLiteral("the ffmpeg media back end cannot play without an audio "
                                      "output device"));
    return checkQtMultimedia();
}

} // namespace

// Taken as Qt takes it: the name as it is written, case and all, else Qt Multimedia 6.4's own
// choice for the platform.
QString PlaybackSupport::backendName() {
    const QString named = qEnvironmentVariable("QT_MEDIA_BACKEND");
    if (!named.isEmpty())
        return named;
#if defined(Q_OS_DARWIN)
    return QStringLiteral("darwin");
#elif defined(Q_OS_WIN)
    return QStringLiteral("windows");
#elif defined(Q_OS_ANDROID)
    return QStringLiteral("android");
#else
    return QStringLiteral("gstreamer");
#endif
}

const Status& PlaybackSupport::status() {
    static const Status answer = [] {
        Status status = check();
        if (status)
            qCDebug(lcPlayback) << "media can be played with the" << backendName() << "back end";
        else
            qCWarning(lcPlayback).noquote() << "media cannot be played:" << status.errorText();
        return status;
    }();
    return answer;
}

} // namespace tolvane
