#pragma once

#include "command_group.h"
#include "link_machine.h"

#include <memory>

class Console;

/// A link on the chosen loop, whose transitions show in the system log once its monitor is enabled.
class LinkCommands : public CommandGroup
{
public:
    LinkCommands(Console& console, ZKEventLoop& loop);
    ~LinkCommands() override;

    void end() override;

private:
    void link(Call const& call, String const& arguments);

    ZKEventLoop& m_loop;
    std::unique_ptr<LinkMachine> m_machine;
};
