#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

// What the fuzz targets share: Qt started as tolvane-cli starts it, a scratch folder for the
// files an input becomes, and the demo device the hand-off reads.
namespace tolvane::fuzz {

// Once per process, from LLVMFuzzerInitialize: a QCoreApplication (as tolvane-cli has) and
// Qt's messages dropped, so that the warnings a damaged input earns do not slow the run down.
// TOLVANE_FUZZ_VERBOSE=1 keeps the messages.
void startQt(int* argc, char*** argv);

// The process's own scratch folder under the temporary folder (TMPDIR), made on first use and
// removed when the process exits normally.
QString scratchFolder();

// Writes the bytes into the file, replacing what it held. Aborts when the file cannot be
// written: a fuzzer that cannot set up its input tests nothing.
void writeFile(const QString& path, const QByteArray& bytes);
// The same for a file of that name in the scratch folder; returns its path.
QString writeScratchFile(const QString& name, const QByteArray& bytes);

// The demo device, made once per process in the scratch folder (as `tolvane-cli demo` makes
// it, from the system data of the build), with the paths pointing at it. Beside the demo's
// files it holds files that are not regular files, where a record or a URL can name them: a
// FIFO "Downloads/stream.mp3", links "Downloads/zero.m4a" and "Preferences/zero.plist" to
// /dev/zero and "Preferences/mem.plist" to /proc/self/mem.
QString demoDevice();

// The input as a byte array, without copying.
inline QByteArray bytesOf(const uint8_t* data, size_t size) {
    return QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
}

// The media kinds an import can be filed as: the six the editor offers and "videoPodcast"
// (accepted in records), then a kind nobody knows.
inline constexpr const char* mediaKinds[] = {"song",         "music-video", "feature-movie",
                                             "tv-episode",   "ringtone",    "podcast",
                                             "videoPodcast", "no-such-kind"};
inline constexpr size_t mediaKindCount = sizeof(mediaKinds) / sizeof(mediaKinds[0]);

// Stops the process with a finding the fuzzer reports (a crash with this line above it).
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace tolvane::fuzz
