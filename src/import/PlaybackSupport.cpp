#include "PlaybackSupport.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QMediaFormat>

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
        return Failure(QStringLiteral("GStreamer has no %1 element (install its plugins)")
                           .arg(missing.join(QStringLiteral(", "))));
    return {};
}

Status checkQtMultimedia() {
    if (QMediaFormat().supportedFileFormats(QMediaFormat::Decode).isEmpty())
        return Failure(QStringLiteral("the %1 media back end decodes no file format")
                           .arg(PlaybackSupport::backendName()));
    return {};
}

Status check() {
    // Qt's back end is asked only once GStreamer is known to be whole: asking it loads the back
    // end, which starts GStreamer on its own.
    if (PlaybackSupport::backendName() == QLatin1String("gstreamer")) {
        if (Status gstreamer = checkGStreamer(); !gstreamer)
            return gstreamer;
    }
    return checkQtMultimedia();
}

} // namespace

QString PlaybackSupport::backendName() {
    const QByteArray named = qgetenv("QT_MEDIA_BACKEND").trimmed().toLower();
    return named.isEmpty() ? QStringLiteral("gstreamer") : QString::fromLatin1(named);
}

QStringList PlaybackSupport::gstreamerElements() {
    QStringList names;
    for (const char* name : gstreamerElementNames)
        names.append(QString::fromLatin1(name));
    return names;
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
