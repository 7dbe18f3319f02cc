#include "zekovar/process/command_line.h"

#include "zekovar/foundation/tokenizer.h"

namespace
{
void addPointers(std::vector<char*>& array, std::vector<String> const& texts)
{
    for (String const& text : texts)
        array.push_back(const_cast<char*>(text.c_str())); // exec doesn't write
    array.push_back(nullptr);
}
}

namespace ZK::Detail
{
void splitCommandLine(String const& line, String& command, std::vector<String>& arguments)
{
    StringTokenizer words(line, " \t", false, false, "\"", "\"");
    arguments = words.getTokens();
    command = "";
    if (arguments.empty())
        return;
    command = arguments.front();
    arguments.erase(arguments.begin());
}

std::vector<char*> argumentArray(String const& command, std::vector<String> const& arguments)
{
    std::vector<char*> array;
    array.reserve(arguments.size() + 2);
    array.push_back(const_cast<char*>(command.c_str()));
    addPointers(array, arguments);
    return array;
}

std::vector<char*> environmentArray(std::vector<String> const& environment)
{
    std::vector<char*> array;
    array.reserve(environment.size() + 1);
    addPointers(array, environment);
    return array;
}
}
