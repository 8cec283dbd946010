#include "browser/DirectoryListing.h"
#include "browser/ExportabilityCache.h"
#include "browser/FileActionSheet.h"
#include "browser/FileTypeTable.h"
#include "cli/Command.h"

#include <QFileInfo>

namespace tolvane::cli {

namespace {

int list(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("list takes exactly one DIR"));
    const QString folder = arguments.first();
    if (!QFileInfo(folder).isDir())
        return fail(QStringLiteral("%1: not a folder").arg(folder));
    const Result<QList<PSDirectoryPickerEntry>> listed = DirectoryListing::rebuildFileList(folder);
    if (!listed)
        return fail(listed.errorText());
    const std::shared_ptr<const FileTypeTable> table = FileTypeTable::installed();
    QVariantList rows;
    for (const PSDirectoryPickerEntry& entry : *listed) {
        rows.append(QVariantMap{
            {QStringLiteral("name"), entry.name()},
            {QStringLiteral("path"), entry.path()},
            {QStringLiteral("isDir"), entry.isDir()},
            {QStringLiteral("icon"), table->listingIconFile(entry.name(), entry.isDir())},
            {QStringLiteral("enabled"),
             entry.isDir() || ExportabilityCache::isExportable(entry.path())},
        });
    }
    print(rows, format);
    return Success;
}

int actions(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("actions takes exactly one FILE"));
    const QFileInfo file(arguments.first());
    if (!file.exists() && !file.isSymLink())
        return fail(QStringLiteral("%1: no such file").arg(arguments.first()));
    if (file.isDir())
        return fail(QStringLiteral("%1: is a folder (folders open, they have no actions)")
                        .arg(arguments.first()));
    const FileActionSheet sheet = FileActionSheet::compose(arguments.first());
    QStringList types;
    for (const Activity* activity : sheet.offeredActivities())
        types.append(activity->activityType());
    print(types, format);
    return Success;
}

} // namespace

QList<Command> browserCommands() {
    return {
        {QStringLiteral("list"), QStringLiteral("list [--root DIR] DIR"),
         QStringLiteral("A folder's listing in the file system's order: name, path, isDir, icon "
                        "and enabled per row."),
         nullptr, list},
        {QStringLiteral("actions"), QStringLiteral("actions [--root DIR] FILE"),
         QStringLiteral("The activity types the file-action sheet offers for a file, in order."),
         nullptr, actions},
    };
}

} // namespace tolvane::cli
