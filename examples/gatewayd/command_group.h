#pragma once

#include "zekovar/zekovar.h"

#include <functional>
#include <memory>
#include <vector>

class Session;
struct Command;

/// A command that an operator has typed. Copies go to other threads and loops with what the command starts there: the answer finds
/// its operator, and gets lost once that session is closed.
struct Call
{
    Command const& command;
    std::shared_ptr<Session> session;

    void say(String const& text) const;
    void write(String const& text) const;
};

/// One command of the console.
struct Command
{
    char const* name;
    char const* arguments;
    char const* purpose;
    std::function<void(Call const& call, String const& arguments)> run;
};

/// The commands of one theme.
///
/// Commands run on the console's loop and never wait for another loop, so that the console can watch a blocked one; what has to wait
/// does so on a thread of its own.
class CommandGroup
{
public:
    CommandGroup() = default;

    CommandGroup(CommandGroup const&) = delete;
    CommandGroup& operator=(CommandGroup const&) = delete;

    virtual ~CommandGroup() = default;

    std::vector<Command> const& commands() const { return m_commands; }

    /// Lets what is under way come to its end. Called once, not on the console's loop, when no further command comes.
    virtual void end() {}

protected:
    /// To be called in the constructor, in the order of `help`.
    template <class Group>
    void add(char const* name, char const* arguments, char const* purpose,
             void (Group::*method)(Call const&, String const&))
    {
        auto* const self = static_cast<Group*>(this);
        m_commands.push_back({name, arguments, purpose, std::bind_front(method, self)});
    }

    /// Whether there are no arguments; refuses the command otherwise.
    bool takesNone(Call const& call, String const& arguments);

    /// Answers what is wrong with a command line, in one line with the command's usage.
    static void refuse(Call const& call, char const* what);

private:
    std::vector<Command> m_commands;
};

namespace CommandLine
{
constexpr unsigned int MAX_SECONDS = 3600;
constexpr unsigned int MAX_MILLISECONDS = 86400000;

/// Reads all of `text` as a decimal number from `lowest` to `highest`; otherwise false, with `number` unchanged.
bool parseNumber(String const& text, unsigned int lowest, unsigned int highest, unsigned int& number);

/// Takes the first word off `text`.
String takeWord(String& text);

/// As above; an argument that begins with a quotation mark ends with the next one and is returned without both.
String takeArgument(String& text);

/// All words of `text`.
std::vector<String> wordsOf(String text);
}
