#include "regex_commands.h"

#include "console.h"

using CommandLine::takeArgument;

namespace
{
/// The narrowness of the pattern at each byte of the match.
String weightsOf(ZKRegEx::Matcher const& matcher, int start)
{
    String text = "weights";
    for (int i = start; i < matcher.getWeights().length(); ++i)
    {
        text.concatf(" %d", static_cast<unsigned char>(matcher.getWeights()[i]));
    }
    return text;
}
}

RegexCommands::RegexCommands(Console& console) : CommandGroup(console)
{
    add("match", "PATTERN TEXT", "shows the groups and weights of a match; quote a PATTERN with blanks",
        &RegexCommands::match);
    add("subst", "PATTERN FORMAT TEXT", "shows TEXT with the match replaced by FORMAT", &RegexCommands::subst);
}

void RegexCommands::match(Command const& command, String const& arguments)
{
    String text = arguments;
    ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(takeArgument(text));
    if (!pattern)
    {
        refuse(command, "PATTERN has a syntax error");
        return;
    }
    ZKPtr<ZKRegEx::Matcher> const matcher = pattern->createMatcher(text, 0);
    if (matcher->match().isErr())
    {
        m_console.say("no match");
        return;
    }
    int start = -1;
    int end = -1;
    for (unsigned int group = 0; group < pattern->getCaptureCount(); ++group)
    {
        if (matcher->getCapture(group, start, end).isSuccess())
        {
            m_console.say(String(String::Formatted(), "group %u from %d to %d: '%s'", group, start, end,
                                 text.substring(start, end).c_str()));
        }
        else
        {
            m_console.say(String(String::Formatted(), "group %u is unset", group));
        }
    }
    matcher->getCapture(0, start, end);
    m_console.say(weightsOf(*matcher, start));
}

void RegexCommands::subst(Command const& command, String const& arguments)
{
    String text = arguments;
    ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(takeArgument(text));
    if (!pattern)
    {
        refuse(command, "PATTERN has a syntax error");
        return;
    }
    ZKPtr<ZKRegEx::Formatter> const formatter = ZKRegEx::COMPILE_SUBSTITUTION(takeArgument(text));
    ZKPtr<ZKRegEx::Matcher> const matcher = pattern->createMatcher(text, 0);
    if (matcher->match().isErr())
    {
        m_console.say("no match");
        return;
    }
    String result;
    m_console.say(formatter->format(matcher, result));
}
