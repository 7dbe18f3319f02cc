#include "command_group.h"

#include "session.h"

#include <cctype>
#include <charconv>

void Call::say(String const& text) const
{
    session->say(text);
}

void Call::write(String const& text) const
{
    session->write(text);
}

bool CommandGroup::takesNone(Call const& call, String const& arguments)
{
    if (!arguments.isEmpty())
    {
        refuse(call, "it takes no argument");
    }
    return arguments.isEmpty();
}

void CommandGroup::refuse(Call const& call, char const* what)
{
    Command const& command = call.command;
    call.say(String(String::Formatted(), "%s: %s (usage: %s%s%s)", command.name, what, command.name,
                    *command.arguments ? " " : "", command.arguments));
}

bool CommandLine::parseNumber(String const& text, unsigned int lowest, unsigned int highest, unsigned int& number)
{
    char const* const end = text.c_str() + text.length();
    unsigned int parsed = 0;
    auto const [rest, error] = std::from_chars(text.c_str(), end, parsed);
    if (error != std::errc() || rest != end || parsed < lowest || parsed > highest)
    {
        return false;
    }
    number = parsed;
    return true;
}

String CommandLine::takeWord(String& text)
{
    int const end = text.indexOf(&isspace);
    String const word = end < 0 ? text : text.substring(0, end);
    text = end < 0 ? String() : text.substring(end);
    text.leftTrim(&isspace);
    return word;
}

String CommandLine::takeArgument(String& text)
{
    int const end = !text.isEmpty() && text[0] == '"' ? text.indexOf('"', 1) : -1;
    if (end < 0)
    {
        return takeWord(text);
    }
    String const argument = text.substring(1, end);
    text = text.substring(end + 1);
    text.leftTrim(&isspace);
    return argument;
}

std::vector<String> CommandLine::wordsOf(String text)
{
    std::vector<String> words;
    while (!text.isEmpty())
    {
        words.push_back(takeWord(text));
    }
    return words;
}
