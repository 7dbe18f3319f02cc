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
    void match(Call const& call, String const& arguments);
    void subst(Call const& call, String const& arguments);
    void answerLater(Call const& call, std::function<void()> const& answer);

    TaskThreads m_matchers;
};
