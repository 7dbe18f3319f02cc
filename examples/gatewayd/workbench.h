#pragma once

#include "task_thread.h"
#include "timers.h"

#include "zekovar/zekovar.h"

#include <atomic>

class Console;

/// The console's commands: each puts one piece of the runtime to work on the chosen loop.
///
/// `execute` runs on the console's loop and never waits for the chosen one, so that the console can watch a blocked loop; what has
/// to wait does so on a thread of its own.
class Workbench
{
public:
    Workbench(ZKEventLoop& loop, Console& console);

    /// Runs one command line; whatever is wrong with it is answered in one line.
    void execute(String const& line);

    /// Lets every command that is under way come to its end and drops the timers. Called once, not on the console's loop.
    void end();

private:
    struct Command
    {
        char const* name;
        char const* arguments;
        char const* purpose;
        void (Workbench::*run)(Command const& command, String const& arguments);
    };
    struct Post;

    static Command const s_commands[];

    void help(Command const& command, String const& arguments);
    void threads(Command const& command, String const& arguments);
    void loops(Command const& command, String const& arguments);
    void post(Command const& command, String const& arguments);
    void timer(Command const& command, String const& arguments);
    void timers(Command const& command, String const& arguments);
    void cancel(Command const& command, String const& arguments);
    void sync(Command const& command, String const& arguments);
    void block(Command const& command, String const& arguments);
    void lock(Command const& command, String const& arguments);
    void signal(Command const& command, String const& arguments);
    void wait(Command const& command, String const& arguments);
    void quit(Command const& command, String const& arguments);

    bool takesNone(Command const& command, String const& arguments);
    void refuse(Command const& command, char const* what);

    static void ON_POST(void* post);
    void onPost(Post const& post);
    void synchronise();
    void holdLock(unsigned int seconds);
    void waitForLock();
    void emit();
    void sleepUnlessEnding(unsigned int seconds);
    void sayWhetherSynchronised(char const* moment);

    ZKEventLoop& m_loop;
    Console& m_console;
    Timers m_timers;
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
