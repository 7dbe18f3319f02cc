#pragma once

#include "zekovar/zekovar.h"

#include <functional>

/// A link that takes its time to come up, and to recover from an error.
///
///     top
///      |-- down        waits for "up"
///      |-- active      "down" and "error" end it
///      |    |-- connecting  defers "down" until it is up
///      |    `-- up
///      `-- failed      defers "up" until it has recovered to down
///
/// It runs on its loop and takes signals from any thread. The destructor runs while that loop stands still.
class LinkMachine : public ZK::QHsmDispatchAsync
{
public:
    enum Signal : unsigned short
    {
        UP = Q_USER_SIG,
        DOWN,
        ERROR_SEEN,
        TIMEOUT
    };

    /// `tell` gets each new state's name on the loop's thread.
    LinkMachine(ZKEventLoop& loop, RTD::Monitor* monitor, std::function<void(char const*)> tell);
    ~LinkMachine() override;

    char const* getEventName(unsigned short signal) override;
    char const* getStateName(QStateHandler state) override;

    char const* getLogPrefix() override { return "link 1"; }

private:
    static unsigned char initial(void* machine, QEvent const* event);
    static unsigned char down(void* machine, QEvent const* event);
    static unsigned char active(void* machine, QEvent const* event);
    static unsigned char connecting(void* machine, QEvent const* event);
    static unsigned char up(void* machine, QEvent const* event);
    static unsigned char failed(void* machine, QEvent const* event);

    static LinkMachine& from(void* machine);
    static void ON_TIMEOUT(void* machine);

    unsigned char enter(QStateHandler state);
    unsigned char enterFor(QStateHandler state, unsigned int milliseconds);

    std::function<void(char const*)> m_tell;
    _ZKTimeoutEvent* m_timer;
};
