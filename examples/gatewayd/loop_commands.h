#pragma once

#include "command_group.h"
#include "task_thread.h"

#include <atomic>

/// Posts, synchronisation, locks and signals on the chosen loop, and the reports on loops and threads.
class LoopCommands : public CommandGroup
{
public:
    LoopCommands(Console& console, ZKEventLoop& loop);

    void end() override;

private:
    struct Post;

    void threads(Command const& command, String const& arguments);
    void loops(Command const& command, String const& arguments);
    void post(Command const& command, String const& arguments);
    void sync(Command const& command, String const& arguments);
    void block(Command const& command, String const& arguments);
    void lock(Command const& command, String const& arguments);
    void signal(Command const& command, String const& arguments);

    static void ON_POST(void* post);
    void onPost(Post const& post);
    void synchronise();
    void holdLock(unsigned int seconds);
    void waitForLock();
    void emit();
    void sleepUnlessEnding(unsigned int seconds);
    void sayWhetherSynchronised(char const* moment);

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
