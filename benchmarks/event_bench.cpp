// Posting to a loop from another thread and from its own handlers, and passing an event to and fro between two loops. The
// floor is what the kernel takes for the same with bare epoll and pipes; the peers are what a user would pick instead.

#include "benchmarks/countdown.h"
#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <memory>
#include <sys/epoll.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_ASIO
#include <asio.hpp>
#endif
#ifdef ZEKOVAR_BENCH_HAS_UV
#include <uv.h>
#endif

namespace
{
constexpr int BURST = 1000;
constexpr int SELF_POSTS = 1000000;
constexpr int ROUND_TRIPS = 2000;

class Loop : public ZKEventLoop
{
public:
    Loop() : ZKEventLoop("Bench", 0, 100, 1000, 10000, 0) { start(); }

    ~Loop() override { stop(); }
};

void finishItems(benchmark::State& state, int itemsEach)
{
    state.SetItemsProcessed(state.iterations() * itemsEach);
}

void PostFromAnotherThread_Zekovar(benchmark::State& state)
{
    Loop loop;
    Countdown countdown;
    std::vector<ZKEvent*> events; // as many as the peer allocates for its posts
    for (int i = 0; i < BURST; ++i)
        events.push_back(new ZKEvent(loop, EventPrio::NORMAL, &Countdown::CALL, &countdown));
    for (auto _ : state)
    {
        countdown.left = BURST;
        for (ZKEvent* event : events)
            event->set();
        countdown.finish.wait();
    }
    finishItems(state, BURST);
    loop.stop();
    for (ZKEvent* event : events)
        event->destroy();
}

/// Posts the next burst in the last call of the one before.
struct SelfPoster
{
    ZKEvent* event = nullptr;
    int left = 0;
    int leftOfBurst = 0;
    Finish finish;

    static void CALL(void* argument)
    {
        auto* const self = static_cast<SelfPoster*>(argument);
        if (--self->leftOfBurst > 0)
            return;
        if (self->left == 0)
        {
            self->finish.signal();
            return;
        }
        self->left -= BURST;
        self->leftOfBurst = BURST;
        for (int i = 0; i < BURST; ++i)
            self->event->set();
    }
};

void SelfPostsInBursts_Zekovar(benchmark::State& state)
{
    Loop loop;
    SelfPoster poster;
    poster.event = new ZKEvent(loop, EventPrio::NORMAL, &SelfPoster::CALL, &poster);
    for (auto _ : state)
    {
        poster.left = SELF_POSTS;
        poster.leftOfBurst = 1;
        poster.event->set();
        poster.finish.wait();
    }
    finishItems(state, SELF_POSTS);
    loop.stop();
    poster.event->destroy();
}

/// One side of a ping-pong: its event posts the other's.
struct Player
{
    ZKEvent* event = nullptr;
    Player* other = nullptr;
    Countdown* countdown = nullptr; // the serving side counts

    static void CALL(void* argument)
    {
        auto* const self = static_cast<Player*>(argument);
        if (self->countdown == nullptr || self->countdown->call())
            self->other->event->set();
    }
};

void PingPong_Zekovar(benchmark::State& state)
{
    Loop loops[2];
    Countdown countdown;
    Player players[2];
    for (int i : {0, 1})
    {
        players[i].event = new ZKEvent(loops[i], EventPrio::NORMAL, &Player::CALL, &players[i]);
        players[i].other = &players[1 - i];
    }
    players[0].countdown = &countdown;
    for (auto _ : state)
    {
        countdown.left = ROUND_TRIPS + 1;
        players[0].event->set();
        countdown.finish.wait();
    }
    finishItems(state, ROUND_TRIPS);
    for (int i : {0, 1})
    {
        loops[i].stop();
        players[i].event->destroy();
    }
}

/// What passing a byte between two threads takes at least, if each sleeps in epoll.
class BareEpoll
{
public:
    BareEpoll() : m_epoll(epoll_create1(EPOLL_CLOEXEC))
    {
        if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
            std::abort();
        epoll_event event{};
        event.events = EPOLLIN | EPOLLET;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_pipe[0], &event);
    }

    ~BareEpoll()
    {
        for (int fd : {m_epoll, m_pipe[0], m_pipe[1]})
            close(fd);
    }

    void wake(char byte)
    {
        if (write(m_pipe[1], &byte, 1) != 1)
            std::abort();
    }

    char wait()
    {
        epoll_event events[64];
        epoll_wait(m_epoll, events, 64, -1);
        char bytes[64] = {};
        return read(m_pipe[0], bytes, sizeof(bytes)) > 0 ? bytes[0] : '\0';
    }

private:
    int m_epoll;
    int m_pipe[2] = {-1, -1};
};

void PingPong_BareEpoll(benchmark::State& state)
{
    BareEpoll near;
    BareEpoll far;
    Countdown countdown;
    std::thread echo(
        [&]
        {
            while (far.wait() != 'q')
                near.wake('x');
            near.wake('q');
        });
    std::thread server(
        [&]
        {
            while (near.wait() != 'q')
            {
                countdown.call();
                if (countdown.left != 0)
                    far.wake('x');
            }
        });
    for (auto _ : state)
    {
        countdown.left = ROUND_TRIPS + 1;
        near.wake('x');
        countdown.finish.wait();
    }
    finishItems(state, ROUND_TRIPS);
    far.wake('q');
    echo.join();
    server.join();
}

#ifdef ZEKOVAR_BENCH_HAS_ASIO
/// A context with its thread. The pending read makes it wait in epoll; without one it would wait on a condition variable.
class AsioLoop
{
public:
    AsioLoop() : m_read(context), m_write(context)
    {
        asio::connect_pipe(m_read, m_write);
        m_read.async_read_some(asio::buffer(m_byte), [](asio::error_code, std::size_t) {});
        m_thread = std::thread([this] { context.run(); });
    }

    ~AsioLoop()
    {
        context.stop();
        m_thread.join();
    }

    asio::io_context context;

private:
    asio::readable_pipe m_read;
    asio::writable_pipe m_write;
    char m_byte[1] = {};
    std::thread m_thread;
};

void PostFromAnotherThread_Asio(benchmark::State& state)
{
    Countdown countdown;
    AsioLoop loop;
    for (auto _ : state)
    {
        countdown.left = BURST;
        for (int i = 0; i < BURST; ++i)
            asio::post(loop.context, [&countdown] { countdown.call(); });
        countdown.finish.wait();
    }
    finishItems(state, BURST);
}

struct AsioSelfPoster
{
    asio::io_context& context;
    int left = 0;
    int leftOfBurst = 0;
    Finish finish{};

    void call()
    {
        if (--leftOfBurst > 0)
            return;
        if (left == 0)
        {
            finish.signal();
            return;
        }
        left -= BURST;
        leftOfBurst = BURST;
        for (int i = 0; i < BURST; ++i)
            asio::post(context, [this] { call(); });
    }
};

void SelfPostsInBursts_Asio(benchmark::State& state)
{
    AsioLoop loop;
    AsioSelfPoster poster{loop.context};
    for (auto _ : state)
    {
        poster.left = SELF_POSTS;
        poster.leftOfBurst = 1;
        asio::post(loop.context, [&poster] { poster.call(); });
        poster.finish.wait();
    }
    finishItems(state, SELF_POSTS);
}

struct AsioPlayer
{
    asio::io_context& context;
    AsioPlayer* other = nullptr;
    Countdown* countdown = nullptr;

    void serve()
    {
        if (countdown == nullptr || countdown->call())
            asio::post(other->context, [target = other] { target->serve(); });
    }
};

void PingPong_Asio(benchmark::State& state)
{
    Countdown countdown;
    AsioLoop loops[2];
    AsioPlayer players[2] = {{loops[0].context, nullptr, &countdown}, {loops[1].context}};
    players[0].other = &players[1];
    players[1].other = &players[0];
    for (auto _ : state)
    {
        countdown.left = ROUND_TRIPS + 1;
        asio::post(loops[0].context, [&players] { players[0].serve(); });
        countdown.finish.wait();
    }
    finishItems(state, ROUND_TRIPS);
}
#endif

#ifdef ZEKOVAR_BENCH_HAS_UV
class UvPlayer
{
public:
    explicit UvPlayer(Countdown* countdown) : m_countdown(countdown)
    {
        uv_loop_init(&m_loop);
        uv_async_init(&m_loop, &m_ball, [](uv_async_t* ball) { static_cast<UvPlayer*>(ball->data)->serve(); });
        uv_async_init(&m_loop, &m_quit, [](uv_async_t* quit) { uv_stop(quit->loop); });
        m_ball.data = this;
    }

    ~UvPlayer()
    {
        uv_async_send(&m_quit);
        m_thread.join();
        uv_close(reinterpret_cast<uv_handle_t*>(&m_ball), nullptr);
        uv_close(reinterpret_cast<uv_handle_t*>(&m_quit), nullptr);
        uv_run(&m_loop, UV_RUN_DEFAULT);
        uv_loop_close(&m_loop);
    }

    void play(UvPlayer& other)
    {
        m_other = &other;
        m_thread = std::thread([this] { uv_run(&m_loop, UV_RUN_DEFAULT); });
    }

    void pass() { uv_async_send(&m_ball); }

private:
    void serve()
    {
        if (m_countdown == nullptr || m_countdown->call())
            m_other->pass();
    }

    Countdown* m_countdown;
    UvPlayer* m_other = nullptr;
    uv_loop_t m_loop{};
    uv_async_t m_ball{};
    uv_async_t m_quit{};
    std::thread m_thread;
};

void PingPong_Uv(benchmark::State& state)
{
    Countdown countdown;
    UvPlayer server(&countdown);
    UvPlayer echo(nullptr);
    server.play(echo);
    echo.play(server);
    for (auto _ : state)
    {
        countdown.left = ROUND_TRIPS + 1;
        server.pass();
        countdown.finish.wait();
    }
    finishItems(state, ROUND_TRIPS);
}
#endif
}

BENCHMARK(PostFromAnotherThread_Zekovar)->MeasureProcessCPUTime()->UseRealTime();
#ifdef ZEKOVAR_BENCH_HAS_ASIO
BENCHMARK(PostFromAnotherThread_Asio)->MeasureProcessCPUTime()->UseRealTime();
#endif
BENCHMARK(SelfPostsInBursts_Zekovar)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
#ifdef ZEKOVAR_BENCH_HAS_ASIO
BENCHMARK(SelfPostsInBursts_Asio)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(PingPong_BareEpoll)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PingPong_Zekovar)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
#ifdef ZEKOVAR_BENCH_HAS_ASIO
BENCHMARK(PingPong_Asio)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
#endif
#ifdef ZEKOVAR_BENCH_HAS_UV
BENCHMARK(PingPong_Uv)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
#endif
