// Threads and loops add, enable, disable and remove monitors and observers while others log in tight loops, also while
// they hold a lock that handlers on CRIT take. Observers change the repository from inside their notifications.

#include "tests/stress/stress.h"
#include "zekovar/diagnostics/log.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/events/event.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

#include <chrono>
#include <cstring>
#include <deque>
#include <functional>
#include <random>
#include <syslog.h>
#include <thread>
#include <vector>

namespace
{
using Event = ObserverEvent<RTD::Monitor>;

constexpr RtdMonitorID IDS[] = {MON_SYSTEM, MON_TEST, MON_JOB, MON_TSI};

std::atomic<uint64_t> s_lines = 0;
ZKMutex s_daemonMutex(true); // loggers hold it, and handlers on CRIT want it

unsigned int pick(unsigned int count)
{
    thread_local std::minstd_rand t_random(static_cast<unsigned int>(ZKThread::CURRENT_ID()));
    return static_cast<unsigned int>(t_random() % count);
}

RtdMonitorID anyId()
{
    return IDS[pick(std::size(IDS))];
}

void logSomething()
{
    RtdMonitorID const id = anyId();
    RTD_DEBUG(id, static_cast<int>(pick(4)), "debug %d", id);
    RTD::error(id, "error %d", id);
    ZK::Detail::logToSystemMonitor(LOG_CRIT, "system");
    ZKPPtr<RTD::Monitor> const held = RTD::REPOSITORY::GET_MONITOR(id); // may be the last reference
    RTD_DEBUG_MONITOR(held.getObj(), 0, "held %d", id);
}

void changeSomething(unsigned int depth);

class Watcher : public RTD::Monitor::Observer
{
public:
    ~Watcher() { m_alive = false; }

    void onMonitorAdded(Event& event) override { react(event); }

    void onMonitorRemoved(Event& event) override { react(event); }

    void onSessionAdded(Event& event) override { react(event); }

    void onSessionRemoved(Event& event) override { react(event); }

    void onDebugLevelChanged(Event& event) override { react(event); }

private:
    void react(Event& event)
    {
        thread_local unsigned int t_depth = 0;
        require(m_alive, "an observer is told nothing once it has been removed");
        require(isCurrentThreadSynchronizedTo(CRIT::INSTANCE()), "observers are told while CRIT stands still");
        String session;
        event.getMarshaller().unmarshal(session);
        logSomething();
        t_depth++;
        if (t_depth < 4 && pick(4) == 0)
            changeSomething(t_depth);
        t_depth--;
    }

    std::atomic<bool> m_alive = true;
};

Watcher s_watchers[4]; // removed and added by everybody

void changeSomething(unsigned int depth)
{
    auto& repository = RTD::REPOSITORY::_INSTANCE();
    RtdMonitorID const id = anyId();
    unsigned int const slot = pick(2) == 0 ? RTD::NO_SLOT : 1;
    unsigned int const port = slot == 1 ? pick(3) : RTD::NO_PORT;
    String const session = pick(2) == 0 ? "cli" : "web";
    Watcher brief;
    switch (pick(depth == 0 ? 10 : 9))
    {
    case 0:
        repository->addMonitor(id, slot, port);
        break;
    case 1:
        repository->removeMonitor(id, slot, port);
        break;
    case 2:
        repository->enableMonitor(id, slot, port, session, 0, LOG_DEBUG);
        break;
    case 3:
        repository->disableMonitor(id, slot, port, session);
        break;
    case 4:
        repository->disableMonitor(session);
        break;
    case 5:
        repository->setMinDebugLevel(id, static_cast<int>(pick(4)) - 1);
        break;
    case 6:
        repository->addObserver(&s_watchers[pick(std::size(s_watchers))]);
        break;
    case 7:
    case 8: // more often than the above, so that few uses pile up
        repository->removeObserver(&s_watchers[pick(std::size(s_watchers))]);
        break;
    default:
        repository->addObserver(&brief);
        repository->addMonitor(id, slot, port);
        repository->removeObserver(&brief);
    }
}

/// A handler that runs over and over on a loop, between the loop's other events.
class Station
{
public:
    Station(ZKEventLoop& loop, std::function<void()> body)
        : m_body(std::move(body)), m_event(new ZKEvent(loop, EventPrio::LOW, &RUN, this))
    {
        m_event->set();
    }

    ~Station()
    {
        m_done = true;
        while (!m_left)
            std::this_thread::yield();
        m_event->destroy();
    }

private:
    static void RUN(void* station) { static_cast<Station*>(station)->run(); }

    void run()
    {
        m_body();
        if (m_done)
            m_left = true;
        else
            m_event->set();
    }

    std::function<void()> m_body;
    ZKEvent* m_event;
    std::atomic<bool> m_done = false;
    std::atomic<bool> m_left = false;
};

void logUnderTheMutex()
{
    ZKAutoLock<ZKMutex> guard(s_daemonMutex);
    logSomething();
}

void empty()
{
    auto& repository = RTD::REPOSITORY::_INSTANCE();
    ZKLockPtr<RTD::REPOSITORY> const locked = repository.getLock();
    for (Watcher& watcher : s_watchers)
    {
        for (int i = 0; i < 10000; i++)
            locked->removeObserver(&watcher);
    }
    for (RtdMonitorID const id : IDS)
    {
        while (RTD::Monitor* const monitor = locked->getMonitor(id, RTD::NO_SLOT, RTD::NO_PORT).getObj())
            locked->removeMonitor(monitor);
        require(!RTD::REPOSITORY::GET_MONITOR(id), "what is removed isn't found");
    }
}

void run(int seconds)
{
    RTD::REPOSITORY::_INSTANCE();
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    {
        Station const crit(CRIT::INSTANCE(), &logUnderTheMutex);
        Station const io(IO::INSTANCE(), &logSomething);
        Station const mgmt(MGMT::INSTANCE(), [] { changeSomething(0); });
        Station const changer(CRIT::INSTANCE(), [] { changeSomething(0); });
        for (void (*body)() :
             {+[] { changeSomething(0); }, +[] { changeSomething(0); }, &logUnderTheMutex, &logSomething})
            threads.emplace_back(
                [&done, body]
                {
                    while (!done)
                        body();
                });
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        done = true;
        for (std::thread& thread : threads)
            thread.join();
    }
    empty();
    require(s_lines > 0, "lines were written");
    std::printf("%llu lines\n", static_cast<unsigned long long>(s_lines));
}
}

// The program's own definition comes before that of the C library, for the library under test as well.
extern "C" __attribute__((used)) void syslog(int, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char const* const prefix = va_arg(arguments, char const*);
    va_end(arguments);
    require(std::strncmp(prefix + 10, " # ", 3) == 0, "every line has a prompt");
    s_lines++;
}

int main(int argc, char** argv)
{
    return stress(argc, argv, &run);
}
