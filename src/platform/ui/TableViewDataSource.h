#pragma once

#include <QString>
#include <QtGlobal>

namespace tolvane {

class TableViewCell;

// A row of a table: its section and its place in the section.
struct TableIndexPath {
    int section = 0;
    int row = 0;
    friend bool operator==(const TableIndexPath&, const TableIndexPath&) = default;
};

// What a table shows and what it does when a row is chosen; the screen that owns the table
// implements it. The cells it returns become children of the table.
class TableViewDataSource {
public:
    virtual ~TableViewDataSource() = default;

    virtual int numberOfSectionsInTableView() const = 0;
    virtual int numberOfRowsInSection(int section) const = 0;
    virtual TableViewCell* cellForRowAtIndexPath(TableIndexPath indexPath) = 0;

    virtual QString titleForHeaderInSection(int section) const {
        Q_UNUSED(section);
        return {};
    }
    virtual qreal heightForHeaderInSection(int section) const {
        Q_UNUSED(section);
        return 20;
    }
    virtual qreal heightForRowAtIndexPath(TableIndexPath indexPath) const {
        Q_UNUSED(indexPath);
        return 44;
    }
    virtual void didSelectRowAtIndexPath(TableIndexPath indexPath) { Q_UNUSED(indexPath); }
};

} // namespace tolvane
