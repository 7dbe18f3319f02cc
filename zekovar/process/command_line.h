#pragma once

#include "zekovar/foundation/string.h"

#include <vector>

namespace ZK::Detail
{
/// Splits a line at blanks and tabs into a command and its arguments; double quotes keep text together. What was in
/// `arguments` is replaced. A line without any text gives an empty command.
void splitCommandLine(String const& line, String& command, std::vector<String>& arguments);

/// What `exec` takes: pointers into the texts, which must outlive the array, and a null behind them.
std::vector<char*> argumentArray(String const& command, std::vector<String> const& arguments);
std::vector<char*> environmentArray(std::vector<String> const& environment);
}
