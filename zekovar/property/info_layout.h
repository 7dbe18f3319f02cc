#pragma once

#include "zekovar/foundation/string.h"

#include <array>
#include <vector>

/// What the layouts of reports have in common.
namespace ZK::Detail
{
inline constexpr unsigned int INFO_MAX_COLUMNS = 32;

using InfoCells = std::array<String, INFO_MAX_COLUMNS>;

/// Makes room for `count` characters, and for as many as there are already: a string by itself grows in small steps, so
/// that a long report would be copied again and again.
void makeInfoRoom(String& out, int count);

/// Appends the text, a line feed, as many "=", and an empty line.
void appendInfoTitle(String& out, String const& title);

/// Appends a cell for each of `widths`, which isn't empty: filled up with blanks, parted by two, with a line feed at
/// the end. A longer cell stands as it is.
void appendInfoRow(String& out, InfoCells const& cells, std::vector<unsigned int> const& widths);

/// Appends a line of "-" below such a row.
void appendInfoRule(String& out, std::vector<unsigned int> const& widths);
}
