#pragma once

#include "zekovar/property/info.h"

/// A report of lines like "0 Ports|1 Name=eth0": level, key and value.
inline InfoContainer reportOf(char const* text)
{
    InfoContainer report;
    ZKVector<String> lines;
    String(text).splitAtString(lines, "|");
    for (String const& line : lines)
        report.add(line.toUInt(), 0, line.after(' ').before('='), line.after('='));
    return report;
}

/// The lines in the same form.
inline String linesOf(InfoContainer const& report)
{
    String text;
    for (InfoLine const& line : report)
        text.concatf("%s%u %s%s%s", text.isEmpty() ? "" : "|", line.level, line.key.c_str(),
                     line.value.isEmpty() ? "" : "=", line.value.c_str());
    return text;
}
