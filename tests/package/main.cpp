#include "zekovar/zekovar.h"

#include <cstdio>
#include <semaphore.h>

class FirstDaemon : public ZKExecutable
{
public:
    FirstDaemon() : ZKExecutable("", s_options) { sem_init(&m_quit, 0, 0); }

    /// Runs in a signal handler, where posting a semaphore is one of the few things that are safe.
    void onQuitSignal(int) override { sem_post(&m_quit); }

    XCode run()
    {
        ZKEventLoop loop("Main", 0, 100, 1000, 10000, 0);
        auto* timer = new _ZKTimeoutEvent(loop, EventPrio::NORMAL, &FirstDaemon::ON_SECOND, nullptr);
        loop.start();
        XCode code = timer->start(1000, true, true);
        while (code && sem_wait(&m_quit) != 0)
            ; // interrupted by another signal
        loop.stop();
        timer->destroy();
        return code;
    }

private:
    static void ON_SECOND(void*)
    {
        std::puts("the gateway is up");
        std::fflush(stdout);
    }

    void subclassHookA() override {}

    void subclassHookB() override {}

    static inline option s_options[] = {{}};
    sem_t m_quit;
};

int main(int argc, char** argv)
{
    FirstDaemon daemon;
    daemon.setup(argc, argv);
    return daemon.run() ? 0 : 1;
}
