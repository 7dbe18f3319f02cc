#include "zekovar/zekovar.h"

#include <cstdio>
#include <getopt.h>
#include <semaphore.h>

class FirstDaemon : public ZKExecutable
{
public:
    FirstDaemon() : ZKExecutable("", s_options) { sem_init(&m_quit, 0, 0); }

    void waitForQuit()
    {
        while (sem_wait(&m_quit) != 0)
            ; // another signal came
    }

    void onQuitSignal(int) override { sem_post(&m_quit); } // in a signal handler, where little else is allowed

    void subclassHookA() override {}

    void subclassHookB() override {}

private:
    static inline option s_options[] = {{}};
    sem_t m_quit;
};

int main(int argc, char** argv)
{
    FirstDaemon daemon;
    daemon.setup(argc, argv);

    ZKEventLoop loop("Main", 0, 100, 1000, 10000, 0);
    loop.start();
    auto const say = [](void*) { std::fputs("the gateway is up\n", stderr); };
    auto* timer = new _ZKTimeoutEvent(loop, EventPrio::NORMAL, say, nullptr);
    if (timer->start(1000, true, true)) // at once, then each second
        daemon.waitForQuit();
    loop.stop();
    timer->destroy();
}
