#pragma once

#include "command_group.h"
#include "task_thread.h"

/// Regular expressions on what the operator types.
class RegexCommands : public CommandGroup
{
public:
    explicit RegexCommands(Console& console);

    void end() override;

private:
    void match(Command const& command, String const& arguments);
    void subst(Command const& command, String const& arguments);
    void answerLater(std::function<void()> const& answer);

    TaskThread m_matcher;
};
