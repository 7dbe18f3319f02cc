#include "regex_commands.h"

#include "session.h"

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

RegexCommands::RegexCommands() : m_matchers("Matcher")
{
    add("match", "PATTERN TEXT", "shows the groups and weights of a match; quote a PATTERN with blanks",
        &RegexCommands::match);
    add("subst", "PATTERN FORMAT TEXT", "shows TEXT with the match replaced by FORMAT; quote what has blanks",
        &RegexCommands::subst);
}

void RegexCommands::end()
{
    m_matchers.join();
}

void RegexCommands::match(Call const& call, String const& arguments)
{
    answerLater(call, arguments,
                [call](ZKRegEx::Pattern& pattern, String& text)
                {
                    ZKPtr<ZKRegEx::Matcher> const matcher = pattern.createMatcher(text, 0);
                    call.say(matcher->match().isErr() ? String("no match")
                                                      : groupsOf(pattern, *matcher.getObj(), text));
                });
}

void RegexCommands::subst(Call const& call, String const& arguments)
{
    answerLater(call, arguments,
                [call](ZKRegEx::Pattern& pattern, String& text)
                {
                    ZKPtr<ZKRegEx::Formatter> const formatter = ZKRegEx::COMPILE_SUBSTITUTION(takeArgument(text));
                    ZKPtr<ZKRegEx::Matcher> const matcher = pattern.createMatcher(text, 0);
                    String result;
                    call.say(matcher->match().isErr() ? String("no match") : formatter->format(matcher, result));
                });
}

/// Nested repetition can take longer than anyone waits. So a match has a thread of its own, to which its pattern belongs: no
/// further line is taken meanwhile, but the console's loop serves the signal that ends the daemon.
void RegexCommands::answerLater(Call const& call, String const& arguments, Answer const& answer)
{
    call.session->pause();
    auto const task = [call, text = arguments, answer]() mutable
    {
        if (ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(takeArgument(text)))
            answer(*pattern.getObj(), text);
        else
            refuse(call, "PATTERN has a syntax error");
        call.session->resume();
    };
    if (XCode code = m_matchers.run(task); code.isErr())
    {
        call.say(code.getValue() == XCODE_FAILURE ? String("too many matches are under way") : code.toString());
        call.session->resume();
    }
}
