#include "link_machine.h"

#include <utility>

namespace
{
constexpr unsigned int CONNECT_MILLISECONDS = 300;
constexpr unsigned int RECOVER_MILLISECONDS = 500;
constexpr unsigned int MAX_DEFERRED = 8;
constexpr int DETAIL_LEVEL = 1;
}

LinkMachine::LinkMachine(ZKEventLoop& loop, RTD::Monitor* monitor, std::function<void(char const*)> tell)
    : QHsmDispatchAsync(&LinkMachine::initial, monitor, DETAIL_LEVEL, MAX_DEFERRED, loop, EventPrio::NORMAL),
      m_tell(std::move(tell)),
      m_timer(new _ZKTimeoutEvent(loop, EventPrio::NORMAL, &LinkMachine::ON_TIMEOUT, this))
{
}

LinkMachine::~LinkMachine()
{
    m_timer->destroy();
}

char const* LinkMachine::getEventName(unsigned short signal)
{
    switch (signal)
    {
    case UP:
        return "up";
    case DOWN:
        return "down";
    case ERROR_SEEN:
        return "error";
    case TIMEOUT:
        return "timeout";
    default:
        return EVENT_NAME(signal);
    }
}

char const* LinkMachine::getStateName(QStateHandler state)
{
    static constexpr std::pair<QStateHandler, char const*> NAMES[] = {{&LinkMachine::down, "down"},
                                                                      {&LinkMachine::active, "active"},
                                                                      {&LinkMachine::connecting, "connecting"},
                                                                      {&LinkMachine::up, "up"},
                                                                      {&LinkMachine::failed, "failed"}};
    for (auto const& [handler, name] : NAMES)
    {
        if (handler == state)
        {
            return name;
        }
    }
    return "top";
}

unsigned char LinkMachine::initial(void* machine, QEvent const*)
{
    return from(machine).transitionTo(&LinkMachine::down);
}

unsigned char LinkMachine::down(void* machine, QEvent const* event)
{
    LinkMachine& self = from(machine);
    switch (event->sig)
    {
    case Q_ENTRY_SIG:
        self.recall();
        return self.enter(&LinkMachine::down);
    case UP:
        return self.transitionTo(&LinkMachine::connecting);
    case DOWN:
        return Q_HANDLED_NO_ACTION;
    default:
        return self.superstate(&QHsm::top);
    }
}

unsigned char LinkMachine::active(void* machine, QEvent const* event)
{
    LinkMachine& self = from(machine);
    switch (event->sig)
    {
    case Q_EXIT_SIG:
        self.m_timer->stop();
        return Q_HANDLED;
    case UP:
        return Q_HANDLED_NO_ACTION;
    case DOWN:
        return self.transitionTo(&LinkMachine::down);
    case ERROR_SEEN:
        return self.transitionTo(&LinkMachine::failed);
    default:
        return self.superstate(&QHsm::top);
    }
}

unsigned char LinkMachine::connecting(void* machine, QEvent const* event)
{
    LinkMachine& self = from(machine);
    switch (event->sig)
    {
    case Q_ENTRY_SIG:
        return self.enterFor(&LinkMachine::connecting, CONNECT_MILLISECONDS);
    case DOWN:
        self.defer(event, true);
        return Q_HANDLED;
    case TIMEOUT:
        return self.transitionTo(&LinkMachine::up);
    default:
        return self.superstate(&LinkMachine::active);
    }
}

unsigned char LinkMachine::up(void* machine, QEvent const* event)
{
    LinkMachine& self = from(machine);
    switch (event->sig)
    {
    case Q_ENTRY_SIG:
        self.recall();
        return self.enter(&LinkMachine::up);
    default:
        return self.superstate(&LinkMachine::active);
    }
}

unsigned char LinkMachine::failed(void* machine, QEvent const* event)
{
    LinkMachine& self = from(machine);
    switch (event->sig)
    {
    case Q_ENTRY_SIG:
        return self.enterFor(&LinkMachine::failed, RECOVER_MILLISECONDS);
    case UP:
        self.defer(event, true);
        return Q_HANDLED;
    case TIMEOUT:
        return self.transitionTo(&LinkMachine::down);
    default:
        return self.superstate(&QHsm::top);
    }
}

LinkMachine& LinkMachine::from(void* machine)
{
    return *static_cast<LinkMachine*>(static_cast<QHsm*>(machine));
}

void LinkMachine::ON_TIMEOUT(void* machine)
{
    static_cast<LinkMachine*>(machine)->dispatch(TIMEOUT);
}

unsigned char LinkMachine::enter(QStateHandler state)
{
    m_tell(getStateName(state));
    return Q_HANDLED;
}

unsigned char LinkMachine::enterFor(QStateHandler state, unsigned int milliseconds)
{
    if (m_timer->start(milliseconds, false, false).isErr())
    {
        // the state isn't left behind for want of a timer
        dispatch(TIMEOUT);
    }
    return enter(state);
}
