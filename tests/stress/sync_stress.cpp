// Threads synchronise on several loops in one fixed order, with nested levels, while events and functions of all modes
// are in flight and functions are destroyed. Each loop's data have no lock: they add up only if nobody touches them but
// the loop's thread and whoever has stopped it.

#include "tests/stress/stress.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/function.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/events/timeout_event.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <random>
#include <thread>
#include <vector>

namespace
{
constexpr unsigned int THREADS = 8;
constexpr unsigned int LOOPS = 4;

/// A loop with data of its own, which a timer visits too.
struct Station
{
    explicit Station(char const* name) : loop(name, 64, 10, 100, 1000, 64)
    {
        timer->start(10, true, false);
        loop.start();
    }

    ~Station()
    {
        loop.stop();
        timer->destroy();
    }

    /// For the loop's thread or one that is synchronised to it.
    void visit()
    {
        require(isCurrentThreadSynchronizedTo(loop), "a visitor is synchronised");
        require(++visitors == 1, "one visitor at a time");
        started.fetch_add(1, std::memory_order_relaxed);
        visits++;
        require(--visitors == 0, "nobody comes in between");
    }

    static void TICK(void* station) { static_cast<Station*>(station)->visit(); }

    ZKEventLoop loop;
    ZK::FunctionContext sync{ZK::FunctionContext::Type::SYNC, &loop};
    ZK::FunctionContext async{ZK::FunctionContext::Type::ASYNC, &loop};
    _ZKTimeoutEvent* timer = new _ZKTimeoutEvent(loop, EventPrio::LOW, &TICK, this);
    int visitors = 0;
    uint64_t visits = 0;
    std::atomic<uint64_t> started = 0;
};

using Visit = ZK::Function<void()>;

/// One traveller's functions on one station.
struct Route
{
    explicit Route(Station& to) : station(to) { kept.setDontCancelOnDestruction(true); }

    void serve()
    {
        station.visit();
        served++;
    }

    void call(Visit const& function)
    {
        function();
        called++;
    }

    Station& station;
    uint64_t called = 0;
    uint64_t served = 0; // under the loop's protection
    Visit kept = ZK::bindArgs(station.async, &Route::serve, this);
    Visit sync = ZK::bindArgs(station.sync, &Route::serve, this);
};

class Traveller
{
public:
    Traveller(std::deque<Station>& stations, unsigned int seed) : m_random(seed)
    {
        for (Station& station : stations)
            routes.emplace_back(station);
    }

    void run(std::atomic<bool> const& done)
    {
        while (!done)
        {
            callFunctions(routes[pick(LOOPS)]);
            travel(0);
        }
    }

    std::deque<Route> routes;

private:
    void callFunctions(Route& to)
    {
        to.call(to.kept);
        to.call(to.sync);
        Visit const dropped = ZK::bindArgs(to.station.async, &Station::visit, &to.station);
        for (unsigned int calls = pick(4); calls > 0; calls--)
            dropped();
    }

    /// Stops some of the loops from `first` on, lowest first, and goes through them.
    void travel(unsigned int first)
    {
        while (first < LOOPS && pick(2) != 0)
            first++;
        if (first == LOOPS)
            return;
        Route& to = routes[first];
        auto const anySync = [&]() -> ZKEventSync&
        { return to.station.loop.getEventSync(static_cast<EventPrio::Type>(pick(EventPrio::COUNT))); };
        ZKAutoLock<ZKEventSync> stop(anySync());
        to.station.visit();
        if (pick(2) == 0)
        {
            ZKAutoLock<ZKEventSync> nested(anySync());
            to.call(to.sync);
            to.station.visit();
        }
        travel(first + 1);
        to.station.visit();
    }

    unsigned int pick(unsigned int count) { return static_cast<unsigned int>(m_random() % count); }

    std::minstd_rand m_random;
};

void check(Station& station, std::deque<Traveller> const& travellers, unsigned int loop)
{
    ZKAutoLock<ZKEventSync> behindAllOthers(station.loop.getEventSync(EventPrio::LOW));
    for (Traveller const& traveller : travellers)
        require(traveller.routes[loop].served == traveller.routes[loop].called, "every kept call was served once");
    require(station.visits == station.started, "the visits add up");
    std::printf("%s: %llu visits\n", station.loop.getName().c_str(), static_cast<unsigned long long>(station.visits));
}

void run(int seconds)
{
    std::deque<Station> stations;
    for (char const* name : {"A", "B", "C", "D"})
        stations.emplace_back(name);
    std::atomic<bool> done = false;
    std::deque<Traveller> travellers;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < THREADS; i++)
    {
        Traveller& traveller = travellers.emplace_back(stations, i + 1);
        threads.emplace_back([&] { traveller.run(done); });
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    for (unsigned int loop = 0; loop < LOOPS; loop++)
        check(stations[loop], travellers, loop);
}
}

int main(int argc, char** argv)
{
    return stress(argc, argv, "--seconds", 1, &run);
}
