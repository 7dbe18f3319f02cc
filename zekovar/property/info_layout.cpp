#include "zekovar/property/info_layout.h"

#include "zekovar/foundation/report_text.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <numeric>

namespace
{
constexpr unsigned int GAP = 2; // blanks between two columns
}

namespace ZK::Detail
{
void makeInfoRoom(String& out, int count)
{
    if (count > out.capacity() - out.length())
        out.reserve(static_cast<int>(std::min<int64_t>(int64_t{out.length()} * 2 + count, INT_MAX)));
}

void appendInfoTitle(String& out, String const& title)
{
    out.concat(title).concat("\n", 1);
    out.concat(DOUBLE_LINES(static_cast<unsigned int>(title.length()))).concat("\n\n", 2);
}

void appendInfoRow(String& out, InfoCells const& cells, std::vector<unsigned int> const& widths)
{
    makeInfoRoom(out, 1024); // of most rows
    for (std::size_t i = 0; i < widths.size(); ++i)
    {
        if (i > 0)
            out += SPACES(GAP);
        auto const length = static_cast<unsigned int>(cells[i].length());
        out += cells[i];
        out += SPACES(length < widths[i] ? widths[i] - length : 0);
    }
    out += '\n';
}

void appendInfoRule(String& out, std::vector<unsigned int> const& widths)
{
    // a column can be longer than what a sum of 32 bits holds
    uint64_t const gaps = GAP * (widths.size() - 1);
    uint64_t const total = std::accumulate(widths.begin(), widths.end(), gaps);
    out += LINES(static_cast<unsigned int>(std::min<uint64_t>(total, UINT32_MAX)));
    out += '\n';
}
}
