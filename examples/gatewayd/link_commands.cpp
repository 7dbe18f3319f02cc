#include "link_commands.h"

#include "console.h"

namespace
{
constexpr unsigned int SLOT = 0;
constexpr unsigned int PORT = 1;
}

LinkCommands::LinkCommands(Console& console, ZKEventLoop& loop) : m_loop(loop)
{
    add("link", "up|down|error", "happens to the link; 'debug ethernet 0 1 me debug 1' logs what it does",
        &LinkCommands::link);

    RTD::Monitor* const monitor = RTD::REPOSITORY::_INSTANCE()->addMonitor(MON_ETHERNET, SLOT, PORT);
    m_machine = std::make_unique<LinkMachine>(loop, monitor,
                                              [&console](char const* state)
                                              { console.tellAll(String(String::Formatted(), "link 1 is %s", state)); });
    m_machine->init(nullptr);
}

LinkCommands::~LinkCommands()
{
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(MON_ETHERNET, SLOT, PORT);
}

void LinkCommands::end()
{
    ZKAutoLock<ZKEventSync> stopped(m_loop.getEventSync(EventPrio::LOW));
    m_machine.reset();
}

void LinkCommands::link(Call const& call, String const& arguments)
{
    for (auto const& [name, signal] : {std::pair("up", LinkMachine::UP), std::pair("down", LinkMachine::DOWN),
                                       std::pair("error", LinkMachine::ERROR_SEEN)})
    {
        if (arguments == name)
        {
            m_machine->dispatch(signal);
            return;
        }
    }
    refuse(call, "it takes what happens to the link");
}
