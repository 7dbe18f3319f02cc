#include "zekovar/foundation/report_text.h"
#include "zekovar/property/info.h"
#include "zekovar/property/info_layout.h"

namespace
{
constexpr unsigned int MAX_INDENT = 250; // of `SPACES`

/// Blanks in front of a line; for the lines of a value, of the level below it.
unsigned int indentOf(unsigned int level)
{
    return level < MAX_INDENT / 2 ? level * 2 : MAX_INDENT;
}

/// The text of a line with its line feed.
String textOf(InfoLine const& line, bool isHeading, unsigned int valueColumn)
{
    String text = SPACES(indentOf(line.level));
    text += line.key;
    if (!line.value.isEmpty())
    {
        if (!line.key.isEmpty())
            text += ':';
        auto const length = static_cast<unsigned int>(text.length());
        text += SPACES(!isHeading && length < valueColumn ? valueColumn - length : 1);
        unsigned int const below = line.level < MAX_INDENT ? line.level + 1 : MAX_INDENT;
        text += INDENT(line.value, indentOf(below), true);
    }
    text += '\n';
    return text;
}

void appendUnderline(String& out, String const& text, unsigned int level)
{
    unsigned int const indent = indentOf(level);
    unsigned int const length = static_cast<unsigned int>(text.length()) - 1 - indent;
    out += SPACES(indent);
    out += level == 0 ? DOUBLE_LINES(length) : LINES(length);
    out.concat("\n\n", 2);
}
}

void InfoContainer::getString_TreeFormat(String& out, unsigned int valueColumn, unsigned int spacingLevels,
                                         unsigned int headingLevels) const
{
    out = "";
    for (InfoLine const* line = begin(); line != end(); ++line)
    {
        unsigned int const level = line->level;
        unsigned int const next = line + 1 != end() ? line[1].level : level;
        bool const isHeading = next > level && level < headingLevels;
        String const text = textOf(*line, isHeading, valueColumn);
        if (out.length() > 1 && !out.endsWith("\n\n") && next > level && level < spacingLevels)
            out += '\n';
        ZK::Detail::makeInfoRoom(out, text.length());
        out += text;
        if (isHeading)
            appendUnderline(out, text, level);
        if (next < level && next < spacingLevels)
            out += '\n';
    }
}
