// Threads synchronise on several loops in one fixed order, with nested levels, while events and functions of all modes
// are in flight and functions are destroyed. Each loop's data have no lock: they add up only if nobody touches them but
// the loop's thread and whoever has stopped it.

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/function.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/events/timeout_event.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <random>
#include <thread>
#include <vector>

namespace
{
constexpr int THREADS = 8;
constexpr int LOOPS = 4;

std::atomic<int> s_faults = 0;

void require(bool holds, char const* what)
{
    if (!holds && s_faults.fetch_add(1) < 10)
        std::fprintf(stderr, "broken: %s\n", what);
}

class Station
{
public:
    explicit Station(String const& name) : m_loop(name, 64, 10, 100, 1000, 64)
    {
        m_timer = new _ZKTimeoutEvent(m_loop, EventPrio::LOW, &TICK, this);
        m_timer->start(10, true, false);
        m_loop.start();
    }

    ~Station()
    {
        m_loop.stop();
        m_timer->destroy();
    }

    ZKEventLoop& loop() { return m_loop; }

    /// For the loop's thread or one that is synchronised to it.
    void visit()
    {
        require(isCurrentThreadSynchronizedTo(m_loop), "a visitor is synchronised");
        require(++m_visitors == 1, "one visitor at a time");
        m_visits++;
        require(--m_visitors == 0, "nobody comes in between");
    }

    uint64_t visits() const { return m_visits; }

    uint64_t ticks() const { return m_ticks; }

private:
    static void TICK(void* station)
    {
        auto* self = static_cast<Station*>(station);
        self->visit();
        self->m_ticks++;
    }

    ZKEventLoop m_loop;
    _ZKTimeoutEvent* m_timer;
    int m_visitors = 0;
    uint64_t m_visits = 0;
    uint64_t m_ticks = 0;
};

using Stations = std::array<Station, LOOPS>;
using Visit = ZK::Function<void()>;

class Traveller
{
public:
    Traveller(Stations& stations, unsigned int seed) : m_stations(stations), m_random(seed)
    {
        for (int i = 0; i < LOOPS; i++)
        {
            m_kept[i] = makeVisit(i, ZK::FunctionContext::Type::ASYNC, m_served[i]);
            m_kept[i].setDontCancelOnDestruction(true);
            m_sync[i] = makeVisit(i, ZK::FunctionContext::Type::SYNC, m_served[i]);
        }
    }

    void run(std::atomic<bool> const& done)
    {
        while (!done)
        {
            callFunctions();
            travel(0);
        }
    }

    /// Calls that are sure to be served by the time that the loops have drained.
    uint64_t callsOf(int loop) const { return m_called[loop]; }

    /// Visits of any kind that were made in this traveller's name.
    uint64_t visitsOf(int loop) const { return m_visited[loop] + m_served[loop] + m_lossy[loop]; }

    uint64_t servedOf(int loop) const { return m_served[loop]; }

private:
    Visit makeVisit(int loop, ZK::FunctionContext::Type type, uint64_t& counter)
    {
        Station& station = m_stations[loop];
        return ZK::bindArgs(ZK::FunctionContext{type, &station.loop()},
                            [&station, &counter]
                            {
                                station.visit();
                                counter++;
                            });
    }

    void callFunctions()
    {
        int const loop = pick(LOOPS);
        m_kept[loop]();
        m_called[loop]++;
        m_sync[loop]();
        m_called[loop]++;
        Visit dropped = makeVisit(loop, ZK::FunctionContext::Type::ASYNC, m_lossy[loop]);
        for (int calls = pick(4); calls > 0; calls--)
            dropped();
    }

    /// Stops some of the loops from `first` on, lowest first, and goes through them.
    void travel(int first)
    {
        for (int loop = first; loop < LOOPS; loop++)
        {
            if (pick(2) != 0)
                continue;
            ZKAutoLock<ZKEventSync> stop(eventSync(loop));
            visit(loop);
            if (pick(2) == 0)
            {
                ZKAutoLock<ZKEventSync> nested(eventSync(loop));
                m_sync[loop]();
                m_called[loop]++;
                visit(loop);
            }
            travel(loop + 1);
            visit(loop);
            return;
        }
    }

    void visit(int loop)
    {
        m_stations[loop].visit();
        m_visited[loop]++;
    }

    ZKEventSync& eventSync(int loop)
    {
        return m_stations[loop].loop().getEventSync(static_cast<EventPrio::Type>(pick(EventPrio::COUNT)));
    }

    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned int>(count)); }

    Stations& m_stations;
    std::minstd_rand m_random;
    std::array<Visit, LOOPS> m_kept;
    std::array<Visit, LOOPS> m_sync;
    std::array<uint64_t, LOOPS> m_called{};
    std::array<uint64_t, LOOPS> m_visited{};
    std::array<uint64_t, LOOPS> m_served{}; // these two are counted under the loop's protection
    std::array<uint64_t, LOOPS> m_lossy{};
};

void check(Stations& stations, std::deque<Traveller> const& travellers)
{
    for (int loop = 0; loop < LOOPS; loop++)
    {
        ZKAutoLock<ZKEventLoop> stop(stations[loop].loop());
        uint64_t visits = stations[loop].ticks();
        for (Traveller const& traveller : travellers)
        {
            visits += traveller.visitsOf(loop);
            require(traveller.servedOf(loop) == traveller.callsOf(loop), "every kept call was served once");
        }
        require(visits == stations[loop].visits(), "the visits add up");
        std::printf("%s: %llu visits\n", stations[loop].loop().getName().c_str(),
                    static_cast<unsigned long long>(visits));
    }
}

void run(int seconds)
{
    Stations stations{Station("A"), Station("B"), Station("C"), Station("D")};
    std::atomic<bool> done = false;
    std::deque<Traveller> travellers;
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < THREADS; i++)
        travellers.emplace_back(stations, i + 1);
    for (Traveller& traveller : travellers)
        threads.emplace_back([&traveller, &done] { traveller.run(done); });
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    for (Station& station : stations)
        ZKAutoLock<ZKEventSync> behindAllOthers(station.loop().getEventSync(EventPrio::LOW));
    check(stations, travellers);
}
}

int main(int argc, char** argv)
{
    int const seconds = argc == 1 ? 1 : argc == 3 && String(argv[1]) == "--seconds" ? std::atoi(argv[2]) : 0;
    if (seconds < 1)
    {
        std::fprintf(stderr, "usage: %s [--seconds N]\n", argv[0]);
        return 2;
    }
    run(seconds);
    return s_faults == 0 ? 0 : 1;
}
