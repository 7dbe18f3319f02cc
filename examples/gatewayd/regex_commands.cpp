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

/// One line a group, and the weights.
String groupsOf(ZKRegEx::Pattern const& pattern, ZKRegEx::Matcher const& matcher, String const& text)
{
    String result;
    int start = -1;
    int end = -1;
    for (unsigned int group = 0; group < pattern.getCaptureCount(); ++group)
    {
        if (matcher.getCapture(group, start, end).isSuccess())
        {
            result.concatf("group %u from %d to %d: '%s'\n", group, start, end, text.substring(start, end).c_str());
        }
        else
        {
            result.concatf("group %u is unset\n", group);
        }
    }
    matcher.getCapture(0, start, end);
    result += weightsOf(matcher, start);
    return result;
}
}

RegexCommands::RegexCommands(Console& console) : CommandGroup(console), m_matcher("Matcher")
{
    add("match", "PATTERN TEXT", "shows the groups and weights of a match; quote a PATTERN with blanks",
        &RegexCommands::match);
    add("subst", "PATTERN FORMAT TEXT", "shows TEXT with the match replaced by FORMAT; quote what has blanks",
        &RegexCommands::subst);
}

void RegexCommands::end()
{
    m_matcher.join();
}

void RegexCommands::match(Command const& command, String const& arguments)
{
    answerLater(
        [this, &command, text = arguments]() mutable
        {
            ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(takeArgument(text));
            if (!pattern)
            {
                refuse(command, "PATTERN has a syntax error");
                return;
            }
            ZKPtr<ZKRegEx::Matcher> const matcher = pattern->createMatcher(text, 0);
            m_console.say(matcher->match().isErr() ? String("no match")
                                                   : groupsOf(*pattern.getObj(), *matcher.getObj(), text));
        });
}

void RegexCommands::subst(Command const& command, String const& arguments)
{
    answerLater(
        [this, &command, text = arguments]() mutable
        {
            ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(takeArgument(text));
            if (!pattern)
            {
                refuse(command, "PATTERN has a syntax error");
                return;
            }
            ZKPtr<ZKRegEx::Formatter> const formatter = ZKRegEx::COMPILE_SUBSTITUTION(takeArgument(text));
            ZKPtr<ZKRegEx::Matcher> const matcher = pattern->createMatcher(text, 0);
            String result;
            m_console.say(matcher->match().isErr() ? String("no match") : formatter->format(matcher, result));
        });
}

/// Nested repetition can take longer than anyone waits. So a match has a thread of its own, to which its pattern belongs: no
/// further line is taken meanwhile, but the console's loop serves the signal that ends the daemon.
void RegexCommands::answerLater(std::function<void()> const& answer)
{
    m_console.pause();
    auto const task = [this, answer]
    {
        answer();
        m_matcher.takeNext();
        m_console.resume();
    };
    if (XCode code = m_matcher.run(task); code.isErr())
    {
        m_console.say(code.toString());
        m_console.resume();
    }
}
