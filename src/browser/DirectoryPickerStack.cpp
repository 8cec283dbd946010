#include "DirectoryPickerStack.h"

namespace tolvane {

QStringList DirectoryPickerStack::foldersForRootDirectory(const QString& rootDirectory,
                                                          const QString& anchor) {
    QStringList folders{QStringLiteral("/")};
    const QStringList components = rootDirectory.split(QLatin1Char('/'));
    const qsizetype start = anchor.isEmpty() ? -1 : components.indexOf(anchor);
    if (start < 0)
        return folders;
    QString folder;
    for (qsizetype i = start; i < components.size(); ++i) {
        folder = QStringLiteral("%1/%2").arg(folder, components.at(i));
        folders.append(folder);
    }
    return folders;
}

bool DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(
    InterfaceOrientation orientation) {
    switch (orientation) {
    case InterfaceOrientation::Portrait:
    case InterfaceOrientation::LandscapeLeft:
    case InterfaceOrientation::LandscapeRight:
        return true;
    default:
        return false;
    }
}

} // namespace tolvane
