#pragma once

#include "command_group.h"
#include "task_thread.h"

/// Regular expressions on what the operator types.
class RegexCommands : public CommandGroup
{
public:
    RegexCommands();

    void end() override;

private:
    /// Takes a pattern and what the operator typed behind it.
    using Answer = std::function<void(ZKRegEx::Pattern& pattern, String& text)>;

    void match(Call const& call, String const& arguments);
    void subst(Call const& call, String const& arguments);
    void answerLater(Call const& call, String const& arguments, Answer const& answer);

    TaskThreads m_matchers;
};
