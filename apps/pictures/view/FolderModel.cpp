#include "pictures/view/FolderModel.h"

#include "pictures/folder/PathText.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace pictures {

namespace {

constexpr qint64 kNanosecondsInSecond = 1'000'000'000;

// Seconds by a camera's clock have no zone: they are shown as they are read, as if in UTC.
QDateTime shownTime(qint64 seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

// The reading of this machine's clock, for times that count from 1970 in UTC. Zones change on full
// quarters of an hour, and asking for each of many thousand files takes a noticeable time.
class LocalClock {
public:
    qint64 seconds(qint64 modified)
    {
        constexpr qint64 kQuarter = 900;
        const qint64 seconds = modified / kNanosecondsInSecond;
        const auto [entry, isNew] = m_offsets.try_emplace(seconds / kQuarter, 0);
        if (isNew)
            entry->second = QDateTime::fromSecsSinceEpoch(seconds).offsetFromUtc();
        return seconds + entry->second;
    }

private:
    std::unordered_map<qint64, int> m_offsets; // by quarters of an hour since 1970
};

// Without the folders below in which it may lie.
QString shownName(const PictureGroup& group)
{
    return displayText(group.name.mid(group.name.lastIndexOf(u'/') + 1));
}

QString headingOf(qint64 seconds)
{
    return QLocale().toString(shownTime(seconds).date(), QLocale::LongFormat);
}

} // namespace

FolderModel::FolderModel(QObject* parent)
    : QAbstractListModel(parent)
{
}

void FolderModel::setContents(FolderContents contents)
{
    if (contents == m_contents)
        return;
    beginResetModel();
    m_contents = std::move(contents);
    m_rows = sortedRows();
    m_sections = sectionsOf(m_rows);
    endResetModel();
}

void FolderModel::setOrder(Order order)
{
    if (order == m_order)
        return;
    m_order = order;
    sortAnew();
}

void FolderModel::setTimes(TimeOf times)
{
    m_times = std::move(times);
}

void FolderModel::sortAnew()
{
    std::vector<Row> rows = sortedRows();
    std::vector<Section> sections = sectionsOf(rows);
    const bool isSame = std::ranges::equal(rows, m_rows, {}, &Row::group, &Row::group)
        && std::ranges::equal(sections, m_sections, [](const Section& a, const Section& b) {
               return a.count == b.count && a.heading == b.heading;
           });
    if (isSame) {
        m_rows = std::move(rows); // the times may be other ones
        return;
    }
    beginResetModel();
    m_rows = std::move(rows);
    m_sections = std::move(sections);
    endResetModel();
}

// The contents are sorted by name.
std::vector<FolderModel::Row> FolderModel::sortedRows() const
{
    std::vector<Row> rows;
    rows.reserve(m_contents.groups.size());
    LocalClock clock;
    for (std::size_t i = 0; i < m_contents.groups.size(); ++i) {
        const PictureGroup& group = m_contents.groups[i];
        const auto taken = takenSeconds(group);
        rows.push_back({i, taken ? *taken : clock.seconds(group.modified)});
    }
    if (m_order == Order::kByTime)
        std::ranges::stable_sort(rows, {}, &Row::seconds);
    return rows;
}

std::vector<FolderModel::Section> FolderModel::sectionsOf(const std::vector<Row>& rows) const
{
    constexpr qint64 kDay = 86400;
    const auto dayOf = [](qint64 seconds) {
        return (seconds - (seconds < 0 ? kDay - 1 : 0)) / kDay;
    };
    std::vector<Section> sections;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool isNew = i == 0
            || (m_order == Order::kByTime && dayOf(rows[i].seconds) != dayOf(rows[i - 1].seconds));
        if (isNew) {
            const bool hasDay =
                m_order == Order::kByTime && m_contents.groups[rows[i].group].bytes >= 0;
            sections.push_back(
                {static_cast<int>(i), 0, hasDay ? headingOf(rows[i].seconds) : QString()});
        }
        ++sections.back().count;
    }
    return sections;
}

std::optional<qint64> FolderModel::takenSeconds(const PictureGroup& group) const
{
    if (!m_times || group.bytes < 0)
        return std::nullopt;
    return m_times(m_contents.folder + u'/' + group.name, group.modified);
}

const PictureGroup& FolderModel::group(int row) const
{
    return m_contents.groups[m_rows.at(static_cast<std::size_t>(row)).group];
}

QString FolderModel::path(int row) const
{
    return m_contents.folder + u'/' + group(row).name;
}

qint64 FolderModel::seconds(int row) const
{
    return m_rows.at(static_cast<std::size_t>(row)).seconds;
}

int FolderModel::rowOf(const QString& path) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (path.endsWith(group(row).name) && this->path(row) == path)
            return row;
    }
    return -1;
}

int FolderModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant FolderModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return shownName(group(index.row()));
    case Qt::AccessibleTextRole:
        return accessibleText(index.row());
    case kPath:
        return path(index.row());
    default:
        return {};
    }
}

// Such as "IMG_0001.JPG, 4/8/21 2:51 PM".
QString FolderModel::accessibleText(int row) const
{
    if (group(row).bytes < 0)
        return shownName(group(row));
    return QStringLiteral("%1, %2").arg(
        shownName(group(row)), QLocale().toString(shownTime(seconds(row)), QLocale::ShortFormat));
}

} // namespace pictures
