// Where the tiles of a grid lie: rows of equal tiles below the headings of their sections. Plain
// geometry in the coordinates of the whole content, in device-independent pixels.
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

#include <utility>
#include <vector>

namespace pictures {

class GridLayout {
public:
    struct Metrics {
        int width = 0; // of the content
        QSize tile;
        int spacing = 0; // between tiles, and around them
        int headingHeight = 0; // 0: sections have no headings

        friend bool operator==(const Metrics&, const Metrics&) = default;
    };

    // Rows are numbered through all sections; each count is above 0.
    void arrange(const Metrics& metrics, const std::vector<int>& sectionCounts);

    int rowCount() const { return m_rowCount; }
    int columns() const { return m_columns; }
    int height() const { return m_height; }

    // Requires: 0 <= row < rowCount().
    QRect tile(int row) const;
    QRect heading(int section) const;

    // -1 where there is no tile.
    int rowAt(QPoint point) const;
    // The first and the last row with a part between these heights; last < first: none.
    std::pair<int, int> rowsBetween(int top, int bottom) const;
    // Likewise for sections.
    std::pair<int, int> sectionsBetween(int top, int bottom) const;

    // The tile above or below in the same column, or the last of a shorter line; the row itself
    // where there is none.
    int rowAbove(int row) const;
    int rowBelow(int row) const;

private:
    struct Section {
        int first = 0; // row
        int count = 0;
        int top = 0;
    };

    int lineHeight() const { return m_metrics.tile.height() + m_metrics.spacing; }
    int linesOf(const Section& section) const;
    int linesTop(const Section& section) const { return section.top + m_metrics.headingHeight; }
    std::size_t sectionOf(int row) const;
    std::size_t sectionAt(int y) const;
    int rowNearLine(const Section& section, int line, int column) const;

    Metrics m_metrics;
    std::vector<Section> m_sections;
    int m_rowCount = 0;
    int m_columns = 1;
    int m_left = 0; // of the first column: the rest of the width is shared out
    int m_height = 0;
};

} // namespace pictures
