#include "zekovar/property/info.h"
#include "zekovar/property/info_layout.h"

#include <algorithm>

namespace
{
using namespace ZK::Detail;

class ListLayout
{
public:
    explicit ListLayout(String& out) : m_out(out) {}

    void open(InfoLine const& line)
    {
        close();
        ++m_records;
        m_isShown = m_records == 1 || line.key == m_names[0];
        if (m_records == 1)
            addColumn(line.key);
        if (m_isShown)
            m_cells[0] = cut(line.value, 0);
    }

    void addField(InfoLine const& line)
    {
        if (!m_isShown)
            return;
        std::size_t const column = columnOf(line.key);
        if (column < m_widths.size())
            m_cells[column] = cut(line.value, column);
    }

    /// Prints the open record, the first one below the header.
    void close()
    {
        if (m_records == 1)
        {
            appendInfoRow(m_out, m_names, m_widths);
            appendInfoRule(m_out, m_widths);
        }
        if (m_isShown)
            appendInfoRow(m_out, m_cells, m_widths);
        m_cells.fill(String::s_empty);
        m_isShown = false;
    }

private:
    void addColumn(String const& name)
    {
        m_names[m_widths.size()] = name;
        m_widths.push_back(static_cast<unsigned int>(name.length()));
    }

    /// The column of a field, a new one while the first record is open; at the end if there is none. A field with the
    /// name of the first column doesn't take the place of the record's own value.
    std::size_t columnOf(String const& name)
    {
        auto const end = m_names.begin() + static_cast<std::ptrdiff_t>(m_widths.size());
        auto const position = std::find(m_names.begin() + 1, end, name);
        std::size_t const column = static_cast<std::size_t>(position - m_names.begin());
        if (position == end && m_records == 1 && column < INFO_MAX_COLUMNS)
            addColumn(name);
        return column;
    }

    String cut(String const& value, std::size_t column) const
    {
        return value.substring(0, static_cast<int>(m_widths[column]));
    }

    String& m_out;
    InfoCells m_names;
    InfoCells m_cells;
    std::vector<unsigned int> m_widths; // of as many columns as there are
    unsigned int m_records = 0;
    bool m_isShown = false; // whether the open record, if there is one, has the key of the first
};
}

void InfoContainer::getString_ListFormat(String& out) const
{
    out = "";
    ListLayout layout(out);
    for (InfoLine const& line : *this)
    {
        if (line.level == 0)
            ZK::Detail::appendInfoTitle(out, line.key);
        else if (line.level == 1)
            layout.open(line);
        else if (line.level == 2)
            layout.addField(line);
    }
    layout.close();
}
