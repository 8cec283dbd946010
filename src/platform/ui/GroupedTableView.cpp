#include "GroupedTableView.h"

#include "platform/ui/TableViewCell.h"

#include <QLabel>
#include <QResizeEvent>
#include <QScrollBar>

#include <cmath>

namespace tolvane {

namespace {
const QColor headerTextColour(109, 109, 114);
constexpr int headerFontSize = 13;
constexpr int headerTextGap = 3;
} // namespace

GroupedTableView::GroupedTableView(QWidget* parent)
    : QScrollArea(parent)
    , m_content(new QWidget) {
    setFrameShape(QFrame::NoFrame);
    // Scrolled by wheel and by the focus moving, as a phone's table is, without a bar that
    // would narrow the rows.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(false);
    m_content->setAutoFillBackground(true);
    setWidget(m_content);
    viewport()->setAutoFillBackground(true);
    viewport()->setBackgroundRole(QPalette::Window);
}

void GroupedTableView::setDataSource(TableViewDataSource* dataSource) {
    m_dataSource = dataSource;
}

int GroupedTableView::numberOfRowsInSection(int section) const {
    if (section < 0 || section >= m_sections.size())
        return 0;
    return int(m_sections.at(section).rows.size());
}

TableViewCell* GroupedTableView::cellForRowAtIndexPath(TableIndexPath indexPath) const {
    if (indexPath.row < 0 || indexPath.row >= numberOfRowsInSection(indexPath.section))
        return nullptr;
    return m_sections.at(indexPath.section).rows.at(indexPath.row).cell;
}

QRect GroupedTableView::rectForRowAtIndexPath(TableIndexPath indexPath) const {
    if (indexPath.row < 0 || indexPath.row >= numberOfRowsInSection(indexPath.section))
        return {};
    return m_sections.at(indexPath.section).rows.at(indexPath.row).frame;
}

QRect GroupedTableView::rectForHeaderInSection(int section) const {
    if (section < 0 || section >= m_sections.size())
        return {};
    return m_sections.at(section).header;
}

QLabel* GroupedTableView::headerLabelInSection(int section) const {
    if (section < 0 || section >= m_sections.size())
        return nullptr;
    return m_sections.at(section).title;
}

void GroupedTableView::reloadData() {
    const QList<SectionLayout> previous = m_sections;
    m_sections.clear();
    if (m_dataSource) {
        const int sections = qMax(0, m_dataSource->numberOfSectionsInTableView());
        for (int section = 0; section < sections; ++section) {
            SectionLayout layout;
            const int rows = qMax(0, m_dataSource->numberOfRowsInSection(section));
            for (int row = 0; row < rows; ++row) {
                Row entry;
                entry.cell = m_dataSource->cellForRowAtIndexPath({section, row});
                layout.rows.append(entry);
            }
            m_sections.append(layout);
        }
    }
    // Cells that are no longer listed leave the screen but stay with their owner.
    for (const SectionLayout& section : previous) {
        for (const Row& row : section.rows) {
            bool kept = false;
            for (const SectionLayout& now : std::as_const(m_sections)) {
                for (const Row& shown : now.rows)
                    kept = kept || shown.cell == row.cell;
            }
            if (row.cell && !kept) {
                row.cell->hide();
                row.cell->setSelected(false);
            }
        }
    }
    if (m_selected && !cellForRowAtIndexPath(*m_selected))
        m_selected.reset();
    placeRows();
}

void GroupedTableView::placeRows() {
    const int width = viewport()->width();
    qreal y = 0;
    const auto span = [](qreal from, qreal height) {
        const int top = int(std::lround(from));
        return std::pair<int, int>(top, int(std::lround(from + height)) - top);
    };
    for (int section = 0; section < m_sections.size(); ++section) {
        SectionLayout& layout = m_sections[section];
        const qreal headerHeight = m_dataSource->heightForHeaderInSection(section);
        const auto [headerTop, headerSpan] = span(y, headerHeight);
        layout.header = QRect(0, headerTop, width, headerSpan);
        y += headerHeight;

        const QString title = m_dataSource->titleForHeaderInSection(section);
        while (m_headerLabels.size() <= section)
            m_headerLabels.append(nullptr);
        QPointer<QLabel>& label = m_headerLabels[section];
        if (!title.isEmpty()) {
            if (!label) {
                label = new QLabel(m_content);
                QFont font = label->font();
                font.setPixelSize(headerFontSize);
                label->setFont(font);
                QPalette palette = label->palette();
                palette.setColor(QPalette::WindowText, headerTextColour);
                label->setPalette(palette);
                label->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
            }
            label->setText(title);
            label->setGeometry(layout.header.adjusted(TableViewCell::horizontalMargin, 0,
                                                      -TableViewCell::horizontalMargin,
                                                      -headerTextGap));
            label->show();
            layout.title = label;
        } else if (label) {
            label->hide();
        }

        for (int row = 0; row < layout.rows.size(); ++row) {
            Row& entry = layout.rows[row];
            const qreal height = m_dataSource->heightForRowAtIndexPath({section, row});
            const auto [top, rowSpan] = span(y, height);
            entry.frame = QRect(0, top, width, rowSpan);
            y += height;
            TableViewCell* cell = entry.cell;
            if (!cell)
                continue;
            if (cell->parentWidget() != m_content)
                cell->setParent(m_content);
            connect(cell, &TableViewCell::tapped, this, &GroupedTableView::onCellTapped,
                    Qt::UniqueConnection);
            cell->setGeometry(entry.frame);
            cell->setShowsSeparator(row + 1 < layout.rows.size());
            cell->setSelected(m_selected == TableIndexPath{section, row});
            cell->show();
        }
    }
    m_content->resize(width, int(std::ceil(y)) + bottomInset);
}

void GroupedTableView::onCellTapped() {
    auto* cell = qobject_cast<TableViewCell*>(sender());
    for (int section = 0; section < m_sections.size(); ++section) {
        for (int row = 0; row < m_sections.at(section).rows.size(); ++row) {
            if (m_sections.at(section).rows.at(row).cell != cell)
                continue;
            selectRowAtIndexPath({section, row});
            if (m_dataSource)
                m_dataSource->didSelectRowAtIndexPath({section, row});
            return;
        }
    }
}

void GroupedTableView::selectRowAtIndexPath(TableIndexPath indexPath) {
    if (m_selected)
        deselectRowAtIndexPath(*m_selected, false);
    TableViewCell* cell = cellForRowAtIndexPath(indexPath);
    if (!cell || cell->selectionStyle() == TableViewCell::SelectionStyle::None)
        return;
    m_selected = indexPath;
    cell->setSelected(true);
}

void GroupedTableView::deselectRowAtIndexPath(TableIndexPath indexPath, bool animated) {
    Q_UNUSED(animated);
    if (TableViewCell* cell = cellForRowAtIndexPath(indexPath))
        cell->setSelected(false);
    if (m_selected == indexPath)
        m_selected.reset();
}

void GroupedTableView::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    if (m_dataSource && event->size().width() != event->oldSize().width())
        placeRows();
}

} // namespace tolvane
