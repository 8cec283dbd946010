#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

namespace tolvane {

// The main screen as the URL hand-off sees it: every action of a hand-off is carried out
// through these operations.
class HandoffTarget {
public:
    virtual ~HandoffTarget() = default;

    virtual bool directoryPickerIsOn() const = 0;
    virtual void dismissViewControllerAnimated(bool animated, std::function<void()> completion) = 0;
    virtual void browseToFileWithPath(const QString& folder) = 0;
    // A recorded download and its media kind.
    virtual void loadImportViewControllerWithDictionary(const QVariantMap& record,
                                                        const QString& mediaKind) = 0;
    // A file handed over by another application, with the record already whole.
    virtual void loadImportViewControllerWithDictionary(const QVariantMap& record) = 0;
};

} // namespace tolvane
