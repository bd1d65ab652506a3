#include "pictures/view/GridLayout.h"

#include <algorithm>

namespace pictures {

void GridLayout::arrange(const Metrics& metrics, const std::vector<int>& sectionCounts)
{
    m_metrics = metrics;
    const int step = metrics.tile.width() + metrics.spacing;
    m_columns = std::max(1, (metrics.width - metrics.spacing) / std::max(step, 1));
    m_left = std::max(metrics.spacing, (metrics.width - m_columns * step + metrics.spacing) / 2);
    m_sections.clear();
    m_rowCount = 0;
    m_height = 0;
    for (const int count : sectionCounts) {
        const Section section{m_rowCount, count, m_height};
        m_sections.push_back(section);
        m_rowCount += count;
        m_height = linesTop(section) + linesOf(section) * lineHeight();
    }
    m_height += metrics.spacing;
}

int GridLayout::linesOf(const Section& section) const
{
    return (section.count + m_columns - 1) / m_columns;
}

std::size_t GridLayout::sectionOf(int row) const
{
    const auto after = std::ranges::upper_bound(m_sections, row, {}, &Section::first);
    return static_cast<std::size_t>(after - m_sections.begin()) - 1;
}

// The last one that begins at or above y; the first for what lies above all.
std::size_t GridLayout::sectionAt(int y) const
{
    const auto after = std::ranges::upper_bound(m_sections, y, {}, &Section::top);
    return after == m_sections.begin() ? 0
                                       : static_cast<std::size_t>(after - m_sections.begin()) - 1;
}

QRect GridLayout::tile(int row) const
{
    const Section& section = m_sections[sectionOf(row)];
    const int place = row - section.first;
    const int step = m_metrics.tile.width() + m_metrics.spacing;
    return {{m_left + place % m_columns * step,
                linesTop(section) + m_metrics.spacing + place / m_columns * lineHeight()},
        m_metrics.tile};
}

QRect GridLayout::heading(int section) const
{
    const Section& wanted = m_sections[static_cast<std::size_t>(section)];
    return {m_left, wanted.top, std::max(0, m_metrics.width - 2 * m_left), m_metrics.headingHeight};
}

int GridLayout::rowAt(QPoint point) const
{
    if (m_sections.empty())
        return -1;
    const Section& section = m_sections[sectionAt(point.y())];
    const int y = point.y() - linesTop(section) - m_metrics.spacing;
    const int x = point.x() - m_left;
    if (x < 0 || y < 0)
        return -1;
    const int column = x / (m_metrics.tile.width() + m_metrics.spacing);
    const int place = y / lineHeight() * m_columns + column;
    if (column >= m_columns || place >= section.count)
        return -1;
    const int row = section.first + place;
    return tile(row).contains(point) ? row : -1;
}

std::pair<int, int> GridLayout::rowsBetween(int top, int bottom) const
{
    if (m_sections.empty())
        return {0, -1};
    const Section& first = m_sections[sectionAt(top)];
    const Section& last = m_sections[sectionAt(bottom)];
    const int lineOfTop = std::max(0, (top - linesTop(first)) / lineHeight());
    const int lineOfBottom =
        bottom < linesTop(last) ? -1 : (bottom - linesTop(last)) / lineHeight();
    return {std::min(first.first + lineOfTop * m_columns, first.first + first.count),
        std::min(last.first + (lineOfBottom + 1) * m_columns, last.first + last.count) - 1};
}

std::pair<int, int> GridLayout::sectionsBetween(int top, int bottom) const
{
    if (m_sections.empty())
        return {0, -1};
    return {static_cast<int>(sectionAt(top)), static_cast<int>(sectionAt(bottom))};
}

int GridLayout::rowNearLine(const Section& section, int line, int column) const
{
    return section.first + std::min(line * m_columns + column, section.count - 1);
}

int GridLayout::rowAbove(int row) const
{
    const std::size_t index = sectionOf(row);
    const Section& section = m_sections[index];
    const int place = row - section.first;
    if (place >= m_columns)
        return row - m_columns;
    if (index == 0)
        return row;
    const Section& above = m_sections[index - 1];
    return rowNearLine(above, linesOf(above) - 1, place);
}

int GridLayout::rowBelow(int row) const
{
    const std::size_t index = sectionOf(row);
    const Section& section = m_sections[index];
    const int place = row - section.first;
    const int line = place / m_columns;
    if (line + 1 < linesOf(section))
        return rowNearLine(section, line + 1, place % m_columns);
    if (index + 1 == m_sections.size())
        return row;
    return rowNearLine(m_sections[index + 1], 0, place % m_columns);
}

} // namespace pictures
