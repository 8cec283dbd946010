#include "app/Preferences.h"
#include "cli/Command.h"
#include "import/library/MediaLibrary.h"
#include "platform/Paths.h"
#include "platform/PreferencesFile.h"

#include <QDir>
#include <QVariantMap>

namespace tolvane::cli {

namespace {

int paths(const QCommandLineParser& parser, Format format) {
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("paths takes no arguments"));
    const QString library = MediaLibrary::defaultFolder();
    print(
        QVariantMap{
            {QStringLiteral("layout"),
             Paths::isDesktopLayout() ? QStringLiteral("desktop") : QStringLiteral("device")},
            {QStringLiteral("userRoot"), Paths::userRoot()},
            {QStringLiteral("preferencesFile"), Paths::preferencesFile()},
            {QStringLiteral("preferencesFolder"), Paths::preferencesFolder()},
            {QStringLiteral("destination"), Preferences::getTheFullDestinationPath()},
            {QStringLiteral("photoLibrary"), Paths::photoLibraryFolder()},
            {QStringLiteral("library"), library},
            {QStringLiteral("catalogue"), MediaLibrary(library).catalogueFile()},
            {QStringLiteral("cache"), Paths::cacheFolder()},
            {QStringLiteral("inbox"), Paths::inboxFolder()},
            {QStringLiteral("systemRoot"), Paths::systemRoot()},
        },
        format);
    return Success;
}

// Keys whose value is a folder: a relative one would be read from whatever folder the
// application happens to start in.
bool namesAFolder(const QString& key) {
    return key == QLatin1String("savePath") || key == QLatin1String("libraryPath");
}

int prefs(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    const QString action = arguments.value(0);
    const PreferencesFile file(Paths::preferencesFile());
    if (action == QLatin1String("get") && arguments.size() == 2) {
        const Result<std::optional<QVariant>> found = file.value(arguments.at(1));
        if (!found)
            return fail(found.errorText());
        print(QVariantMap{{QStringLiteral("key"), arguments.at(1)},
                          {QStringLiteral("value"), found->value_or(QVariant())}},
              format);
        return found->has_value() ? Success : Rejected;
    }
    if (action == QLatin1String("set") && arguments.size() == 3) {
        const QString& key = arguments.at(1);
        const QString& value = arguments.at(2);
        if (key.isEmpty())
            return fail(QStringLiteral("prefs set needs a key"));
        if (namesAFolder(key) && !QDir::isAbsolutePath(value))
            return fail(QStringLiteral("%1 must be an absolute path, not \"%2\"").arg(key, value));
        if (const Status set = file.setValue(key, value); !set)
            return fail(set.errorText());
        print(QVariantMap{{QStringLiteral("key"), key}, {QStringLiteral("value"), value}}, format);
        return Success;
    }
    if (action == QLatin1String("unset") && arguments.size() == 2) {
        const Result<bool> removed = file.remove(arguments.at(1));
        if (!removed)
            return fail(removed.errorText());
        print(QVariantMap{{QStringLiteral("key"), arguments.at(1)},
                          {QStringLiteral("removed"), *removed}},
              format);
        return Success;
    }
    return fail(QStringLiteral("prefs takes get KEY, set KEY VALUE or unset KEY"));
}

} // namespace

QList<Command> settingsCommands() {
    return {
        {QStringLiteral("paths"), QStringLiteral("paths [--root DIR]"),
         QStringLiteral("Every path Tolvane uses, as resolved for the desktop or a device folder."),
         nullptr, paths},
        {QStringLiteral("prefs"),
         QStringLiteral("prefs [--root DIR] get KEY | set KEY VALUE | unset KEY"),
         QStringLiteral("Reads or changes one key of the preferences file."), nullptr, prefs},
    };
}

} // namespace tolvane::cli
