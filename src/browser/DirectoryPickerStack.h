#pragma once

#include <QStringList>

namespace tolvane {

enum class InterfaceOrientation {
    Unknown = 0,
    Portrait = 1,
    PortraitUpsideDown = 2,
    LandscapeRight = 3,
    LandscapeLeft = 4,
};

// The rules of the picker's navigation stack.
class DirectoryPickerStack {
public:
    // The folders stacked under a root: "/" first, then, from the first component equal to
    // `anchor` ("var" on the device: the first component of the user root) to the end, each
    // component joined onto the previous folder. Components before the anchor are dropped;
    // without the anchor the stack is "/" alone. Empty components are kept, so a trailing "/"
    // stacks the last folder once more with a "/" at its end.
    static QStringList foldersForRootDirectory(const QString& rootDirectory, const QString& anchor);

    // Every orientation but portrait upside down (and unknown values).
    static bool shouldAutorotateToInterfaceOrientation(InterfaceOrientation orientation);
};

} // namespace tolvane
