// Threads and loops add, enable, disable and remove monitors and observers while others log in tight loops, also while
// they hold a lock that handlers on CRIT take. Observers change the repository from inside their notifications.

#include "tests/captured_syslog.h"
#include "tests/diagnostics/recorder.h"
#include "tests/stress/stress.h"
#include "zekovar/diagnostics/log.h"
#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/function.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/events/synchronized.h"

#include <thread>
#include <vector>

namespace
{
constexpr RtdMonitorID IDS[] = {MON_SYSTEM, MON_TEST, MON_JOB, MON_TSI};

std::atomic<bool> s_done = false;
ZKMutex s_daemonMutex(true); // loggers hold it, and handlers on CRIT want it

unsigned int pick(unsigned int count)
{
    return static_cast<unsigned int>(std::rand()) % count;
}

void logSomething()
{
    RtdMonitorID const id = IDS[pick(4)];
    RTD_DEBUG(id, static_cast<int>(pick(4)), "debug %d", id);
    RTD::error(id, "error %d", id);
    ZK::Detail::logToSystemMonitor(LOG_CRIT, "system");
    ZKPPtr<RTD::Monitor> const held = RTD::REPOSITORY::GET_MONITOR(id); // may become the last reference
    RTD_DEBUG_MONITOR(held.getObj(), 0, "held %d", id);
}

void logUnderTheMutex()
{
    ZKAutoLock<ZKMutex> guard(s_daemonMutex);
    logSomething();
}

void changeSomething();

struct Watcher : Recorder
{
    Watcher() : Recorder([this] { react(); }) {}

    void react()
    {
        static unsigned int s_depth = 0; // CRIT stands still
        heard();
        require(isCurrentThreadSynchronizedTo(CRIT::INSTANCE()), "observers are told while CRIT stands still");
        logSomething();
        if (s_depth++ < 3 && !s_done && pick(4) == 0)
            changeSomething();
        s_depth--;
    }
};

Watcher s_watchers[4]; // added and removed by everybody

void changeSomething()
{
    ZKPPtr<RTD::REPOSITORY>& all = RTD::REPOSITORY::_INSTANCE();
    RtdMonitorID const id = IDS[pick(4)];
    unsigned int const slot = pick(2) == 0 ? RTD::NO_SLOT : 1;
    unsigned int const port = slot == 1 ? pick(3) : RTD::NO_PORT;
    Watcher& watcher = s_watchers[pick(4)];
    auto brief = std::make_unique<Watcher>();
    ZKPtr<RTD::Monitor::Delegate> const delegate(
        ZK::MovePtr<RTD::Monitor::Delegate>(new RTD::Monitor::Delegate(brief.get())));
    std::function<void()> const changes[] = {
        [&] { all->addMonitor(id, slot, port); },
        [&] { all->removeMonitor(id, slot, port); },
        [&] { all->enableMonitor(id, slot, port, "cli", 0, 7); },
        [&] { all->disableMonitor("cli"); },
        [&] { all->setMinDebugLevel(id, static_cast<int>(pick(4)) - 1); },
        [&] { all->addObserver(&watcher); },
        [&] { all->removeObserver(&watcher); },
        [&] { all->removeObserver(&watcher); }, // more often, so that few uses pile up
        [&] { all->addObserver(delegate.getObj()); },
    };
    changes[pick(9)]();
    delegate->stopNotifications(); // enough for it to go, whatever it is being told on another thread
    brief.reset();
    all->removeObserver(delegate.getObj());
}

void repeat(void (*body)(), ZK::FunctionContext const& context)
{
    ZK::Function<void()> const call = ZK::bindArgs(context, body);
    while (!s_done)
    {
        call();
        if (context.loop != nullptr)
            ZKAutoLock<ZKEventLoop> const handled(*context.loop);
    }
}

void run(int seconds)
{
    std::vector<std::thread> threads;
    for (auto const& context : {CRIT::INSTANCE().getAsyncContext(), IO::INSTANCE().getAsyncContext(), ZK::directCall()})
    {
        for (auto* const body : {&changeSomething, &logUnderTheMutex, &logSomething})
            threads.emplace_back(&repeat, body, context);
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    s_done = true;
    for (std::thread& thread : threads)
        thread.join();
}
}

int main(int argc, char** argv)
{
    return stress(argc, argv, "--seconds", 1, &run);
}
