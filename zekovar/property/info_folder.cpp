#include "zekovar/foundation/tokenizer.h"
#include "zekovar/property/info.h"
#include "zekovar/property/info_layout.h"

#include <algorithm>

namespace
{
using namespace ZK::Detail;

unsigned int lengthOf(String const& text)
{
    return static_cast<unsigned int>(text.length());
}

class FolderLayout
{
public:
    FolderLayout(String& out, unsigned int maxLevel, bool wrapHeaders)
        : m_out(out), m_maxLevel(maxLevel), m_wrapHeaders(wrapHeaders)
    {
    }

    /// Prints a title, or has a column wide enough for the line; false if it would need one more than there can be.
    bool measure(InfoLine const& line)
    {
        if (line.level == 0)
        {
            appendInfoTitle(m_out, titleOf(line));
            return true;
        }
        if (line.level > m_maxLevel)
            return true;
        std::size_t const column = columnOf(line);
        if (column == INFO_MAX_COLUMNS)
            return false;
        if (column == m_columns.size())
            addColumn(line);
        m_widths[column] = std::max(m_widths[column], lengthOf(line.value));
        return true;
    }

    void printHeader()
    {
        std::size_t rows = 1;
        if (m_wrapHeaders)
        {
            rows = 0;
            for (std::size_t i = 0; i < m_columns.size(); ++i)
            {
                joinWords(m_columns[i].words, m_widths[i]);
                rows = std::max(rows, m_columns[i].words.size());
            }
        }
        for (std::size_t row = 0; row < rows; ++row)
        {
            InfoCells cells;
            for (std::size_t i = 0; i < m_columns.size(); ++i)
            {
                if (row < m_columns[i].words.size())
                    cells[i] = m_columns[i].words[row];
            }
            appendInfoRow(m_out, cells, m_widths);
        }
        appendInfoRule(m_out, m_widths);
    }

    void addToRow(InfoLine const& line)
    {
        if (line.level < m_lastLevel)
            printRow();
        m_lastLevel = line.level;
        if (std::size_t const column = columnOf(line); column < m_columns.size())
            m_cells[column] = line.value;
    }

    void printRow()
    {
        appendInfoRow(m_out, m_cells, m_widths);
        m_cells.fill(String::s_empty);
    }

    bool hasColumns() const { return !m_columns.empty(); }

private:
    struct Column
    {
        String const* name;
        unsigned int level;
        std::vector<String> words; // of the header, a row each
    };

    static String titleOf(InfoLine const& line)
    {
        String title = line.key;
        if (!line.value.isEmpty())
            title.concat(": ", 2).concat(line.value);
        return title;
    }

    /// The number of columns if there is none.
    std::size_t columnOf(InfoLine const& line) const
    {
        auto const isColumn = [&line](Column const& column)
        { return column.level == line.level && *column.name == line.key; };
        return static_cast<std::size_t>(std::find_if(m_columns.begin(), m_columns.end(), isColumn) - m_columns.begin());
    }

    void addColumn(InfoLine const& line)
    {
        std::vector<String> words{line.key};
        if (m_wrapHeaders)
            words = StringTokenizer(line.key).getTokens();
        unsigned int width = 0;
        for (String const& word : words)
            width = std::max(width, lengthOf(word));
        m_columns.push_back({&line.key, line.level, std::move(words)});
        m_widths.push_back(width);
    }

    /// Puts as many words into a row as leave something of its width.
    static void joinWords(std::vector<String>& words, unsigned int width)
    {
        std::vector<String> rows;
        for (String const& word : words)
        {
            if (!rows.empty() && uint64_t{lengthOf(rows.back())} + 1 + lengthOf(word) < width)
                (rows.back() += ' ') += word;
            else
                rows.push_back(word);
        }
        words.swap(rows);
    }

    String& m_out;
    unsigned int m_maxLevel;
    bool m_wrapHeaders;
    std::vector<Column> m_columns;
    std::vector<unsigned int> m_widths; // of the columns
    InfoCells m_cells;                  // of the row that is being collected
    unsigned int m_lastLevel = 0;
};
}

void InfoContainer::getString_FolderFormat(String& out, unsigned int maxLevel, bool wrapHeaders) const
{
    out = "";
    FolderLayout layout(out, maxLevel, wrapHeaders);
    InfoLine const* last = begin();
    while (last != end() && layout.measure(*last))
        ++last;
    if (!layout.hasColumns())
        return;
    layout.printHeader();
    for (InfoLine const* line = begin(); line != last; ++line)
        layout.addToRow(*line);
    layout.printRow();
}
