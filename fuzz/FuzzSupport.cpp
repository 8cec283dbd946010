#include "FuzzSupport.h"

#include "app/DemoDevice.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvane::fuzz {

namespace {

struct SpecialFile {
    const char* folder; // in the device
    const char* name;
    const char* linkTarget; // none: a FIFO
};
constexpr SpecialFile specialFiles[] = {
    {"var/mobile/Downloads", "stream.mp3", nullptr},
    {"var/mobile/Downloads", "zero.m4a", "/dev/zero"},
    {"var/mobile/Library/Preferences", "zero.plist", "/dev/zero"},
    {"var/mobile/Library/Preferences", "mem.plist", "/proc/self/mem"},
};

void makeSpecialFiles(const QString& device) {
    for (const SpecialFile& file : specialFiles) {
        const QByteArray path = QFile::encodeName(
            QStringLiteral("%1/%2/%3")
                .arg(device, QLatin1String(file.folder), QLatin1String(file.name)));
        const int made = file.linkTarget ? ::symlink(file.linkTarget, path.constData())
                                         : ::mkfifo(path.constData(), 0644);
        if (made != 0)
            fail("cannot make %s", path.constData());
    }
}

void quietMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type != QtFatalMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(message));
    std::abort();
}

} // namespace

void fail(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::fputs("tolvane fuzz: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    std::abort();
}

void startQt(int* argc, char*** argv) {
    // The application keeps a reference to its argument count: give it one of its own.
    static int count = 1;
    static char* arguments[] = {(argc && *argc > 0) ? (*argv)[0] : const_cast<char*>("fuzz"),
                                nullptr};
    static QCoreApplication application(count, arguments);
    if (qEnvironmentVariableIntValue("TOLVANE_FUZZ_VERBOSE") == 0)
        qInstallMessageHandler(quietMessages);
}

QString scratchFolder() {
    static const std::unique_ptr<QTemporaryDir> folder = [] {
        auto made = std::make_unique<QTemporaryDir>(QDir::tempPath() +
                                                    QStringLiteral("/tolvane-fuzz-XXXXXX"));
        if (!made->isValid())
            fail("cannot make a scratch folder in %s", qPrintable(QDir::tempPath()));
        return made;
    }();
    return folder->path();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size() || !file.flush())
        fail("cannot write %s: %s", qPrintable(path), qPrintable(file.errorString()));
}

QString writeScratchFile(const QString& name, const QByteArray& bytes) {
    const QString path = scratchFolder() + QLatin1Char('/') + name;
    writeFile(path, bytes);
    return path;
}

QString demoDevice() {
    static const QString device = [] {
        const QString folder = scratchFolder() + QStringLiteral("/device");
        const Status made = DemoDevice::create(folder, DemoDevice::systemDataFolder());
        if (!made)
            fail("cannot make the demo device: %s", qPrintable(made.errorText()));
        makeSpecialFiles(folder);
        return folder;
    }();
    Paths::setDeviceRoot(device);
    return device;
}

} // namespace tolvane::fuzz
