#include "FuzzSupport.h"

#include "app/DemoDevice.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tolvane::fuzz {

namespace {

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
        const QString problem = DemoDevice::create(folder, DemoDevice::systemDataFolder());
        if (!problem.isEmpty())
            fail("cannot make the demo device: %s", qPrintable(problem));
        return folder;
    }();
    Paths::setDeviceRoot(device);
    return device;
}

} // namespace tolvane::fuzz
