// A GStreamer plugin that is a well-formed shared object with a valid plugin description, whose
// init brings down the process that loads it. The player tests put it in GStreamer's plugin path
// to show that a broken plugin on the machine never brings Tolvane down.

#include <csignal>
// The package name that GST_PLUGIN_DEFINE records.
#define PACKAGE "tolvane-tests"

#include <gst/gst.h>

namespace {

gboolean crashOnInit(GstPlugin*) {
    std::raise(SIGSEGV);
    return FALSE;
}

} // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, crashinit,
                  "Crashes in its init, for the player tests", crashOnInit, "1.0", "LGPL",
                  "tolvane-tests", "https://example.invalid/tolvane")
