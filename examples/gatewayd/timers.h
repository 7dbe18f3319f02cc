#pragma once

#include "command_group.h"

/// The operator's timers on one loop. The table is guarded by a mutex; an event is destroyed on the loop's thread only, or while
/// that thread is stopped, so that its handler never meets a timer that has gone.
class Timers
{
public:
    static constexpr unsigned int MAX_COUNT = 100;

    explicit Timers(ZKEventLoop& loop);
    ~Timers();

    /// What the timer tells goes to the caller.
    void start(Call const& call, unsigned int milliseconds, bool isPeriodic, String const& text);

    /// Hands the cancellation to the loop; false if no timer has that number.
    bool cancel(unsigned int number);

    /// One line a timer.
    String report() const;

    /// Destroys all timers; the caller has stopped the loop or is synchronised to it.
    void clear();

private:
    struct Timer
    {
        Timers* owner;
        Call call;
        unsigned int number;
        unsigned int milliseconds;
        bool isPeriodic;
        String text;
        unsigned int runs;
        _ZKTimeoutEvent* event;
    };

    static void ON_TIMEOUT(void* timer);
    void onTimeout(Timer& timer);
    void remove(unsigned int number);

    ZKEventLoop& m_loop;
    mutable ZKMutex m_mutex; // guards m_timers, m_nextNumber and each timer's runs
    ZKUIntHashTable<Timer*> m_timers;
    unsigned int m_nextNumber = 1;
    ZK::Function<void(unsigned int)> m_removeOnLoop;
};
