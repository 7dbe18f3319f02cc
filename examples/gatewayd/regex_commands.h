#pragma once

#include "command_group.h"

/// Regular expressions on what the operator types.
class RegexCommands : public CommandGroup
{
public:
    explicit RegexCommands(Console& console);

private:
    void match(Command const& command, String const& arguments);
    void subst(Command const& command, String const& arguments);
};
