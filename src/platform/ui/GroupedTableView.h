#pragma once

#include "platform/ui/TableViewDataSource.h"

#include <QList>
#include <QPointer>
#include <QRect>
#include <QScrollArea>

#include <optional>

class QLabel;

namespace tolvane {

class TableViewCell;

// A grouped table for short lists: sections of rows on a plain background, each under an
// optional header, scrolling vertically. Rows are real widgets placed by the heights the data
// source gives; there is no reuse, so the data source keeps its cells and hands out the same
// ones on every reload. Cells that a reload does not show are hidden, not deleted.
class GroupedTableView : public QScrollArea {
    Q_OBJECT
public:
    // Room under the last section.
    static constexpr int bottomInset = 20;

    explicit GroupedTableView(QWidget* parent = nullptr);

    // Not owned; it must outlive the table or be unset first.
    void setDataSource(TableViewDataSource* dataSource);
    TableViewDataSource* dataSource() const { return m_dataSource; }

    // Asks the data source for everything again and places the rows.
    void reloadData();

    // The placed cell of a row, or null when the row is not shown.
    TableViewCell* cellForRowAtIndexPath(TableIndexPath indexPath) const;
    int numberOfSections() const { return int(m_sections.size()); }
    int numberOfRowsInSection(int section) const;
    // A row's and a header's rectangle in the table's content (empty when there is none).
    QRect rectForRowAtIndexPath(TableIndexPath indexPath) const;
    QRect rectForHeaderInSection(int section) const;
    // The header label of a section, or null when it has no title.
    QLabel* headerLabelInSection(int section) const;

    std::optional<TableIndexPath> indexPathForSelectedRow() const { return m_selected; }
    void selectRowAtIndexPath(TableIndexPath indexPath);
    void deselectRowAtIndexPath(TableIndexPath indexPath, bool animated);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Row {
        QPointer<TableViewCell> cell;
        QRect frame;
    };
    struct SectionLayout {
        QRect header;
        QPointer<QLabel> title;
        QList<Row> rows;
    };

    void placeRows();
    void onCellTapped();

    TableViewDataSource* m_dataSource = nullptr;
    QWidget* m_content;
    QList<SectionLayout> m_sections;
    QList<QPointer<QLabel>> m_headerLabels; // owned by the content, reused by section
    std::optional<TableIndexPath> m_selected;
};

} // namespace tolvane
