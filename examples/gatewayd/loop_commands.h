#pragma once

#include "command_group.h"
#include "task_thread.h"

#include <atomic>

/// Posts, synchronisation, locks and signals on the chosen loop, and the reports on loops and threads.
class LoopCommands : public CommandGroup
{
public:
    explicit LoopCommands(ZKEventLoop& loop);

    void end() override;

private:
    struct Post;

    void threads(Call const& call, String const& arguments);
    void loops(Call const& call, String const& arguments);
    void post(Call const& call, String const& arguments);
    void sync(Call const& call, String const& arguments);
    void block(Call const& call, String const& arguments);
    void lock(Call const& call, String const& arguments);
    void signal(Call const& call, String const& arguments);

    static void ON_POST(void* post);
    void onPost(Post const& post);
    void synchronise(Call const& call);
    void holdLock(Call const& call, unsigned int seconds);
    void waitForLock(Call const& call);
    static void emit(Call const& call, ZKEventLoop& loop);
    void sleepUnlessEnding(unsigned int seconds);
    void sayWhetherSynchronised(Call const& call, char const* moment);

    ZKEventLoop& m_loop;
    std::atomic<bool> m_isEnding{false};
    ZKSemaphore m_ending;       // wakes whoever sleeps in sleepUnlessEnding
    unsigned int m_posts = 0;   // belongs to the console's loop
    unsigned int m_handled = 0; // belongs to the chosen loop
    ZKMutex m_contended;
    ZKSemaphore m_isHeld;
    TaskThread m_holder;
    TaskThread m_waiter;
    TaskThread m_synchroniser;
    TaskThread m_emitter;
};
