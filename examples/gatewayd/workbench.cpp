#include "workbench.h"

#include "console.h"

#include <cctype>
#include <charconv>
#include <cstring>

namespace
{
constexpr unsigned int MAX_SECONDS = 3600;
constexpr unsigned int MAX_MILLISECONDS = 86400000;

bool parseNumber(String const& text, unsigned int highest, unsigned int& number)
{
    char const* const end = text.c_str() + text.length();
    unsigned int parsed = 0;
    auto const [rest, error] = std::from_chars(text.c_str(), end, parsed);
    if (error != std::errc() || rest != end || parsed == 0 || parsed > highest)
    {
        return false;
    }
    number = parsed;
    return true;
}

/// Takes the first word off `text`.
String takeWord(String& text)
{
    int const end = text.indexOf(&isspace);
    String const word = end < 0 ? text : text.substring(0, end);
    text = end < 0 ? String() : text.substring(end);
    text.leftTrim(&isspace);
    return word;
}
}

struct Workbench::Post
{
    Workbench* owner;
    unsigned int number;
    EventPrio::Type priority;
    unsigned int secondsToBlock;
    String text;
    ZKEvent* event;
};

Workbench::Command const Workbench::s_commands[] = {
    {"help", "", "lists the commands", &Workbench::help},
    {"threads", "", "shows the locks and the backtrace of every thread", &Workbench::threads},
    {"loops", "", "shows whether the event loops keep up", &Workbench::loops},
    {"post", "high|normal|low TEXT", "runs on the chosen loop, shows the order", &Workbench::post},
    {"timer", "MS [periodic] TEXT", "shows TEXT after that time, or again and again", &Workbench::timer},
    {"timers", "", "lists the timers", &Workbench::timers},
    {"cancel", "N", "ends timer N", &Workbench::cancel},
    {"sync", "", "stops the chosen loop from another thread and lets it go", &Workbench::sync},
    {"block", "SECONDS", "blocks the chosen loop in a handler; look at 'loops' and 'threads' meanwhile",
     &Workbench::block},
    {"lock", "SECONDS", "lets two threads contend for a lock; look at 'threads' meanwhile", &Workbench::lock},
    {"signal", "", "emits a signal to direct, sync and async slots", &Workbench::signal},
    {"wait", "MS", "takes no further command for that time; for scripts", &Workbench::wait},
    {"quit", "", "ends the daemon", &Workbench::quit},
};

Workbench::Workbench(ZKEventLoop& loop, Console& console)
    : m_loop(loop),
      m_console(console),
      m_timers(loop, console),
      m_ending(0, 1, ZK::Time::Source::MONOTONIC),
      m_contended(false),
      m_isHeld(0, 1, ZK::Time::Source::MONOTONIC),
      m_holder("Lock holder"),
      m_waiter("Lock waiter"),
      m_synchroniser("Synchroniser"),
      m_emitter("Emitter")
{
}

void Workbench::execute(String const& line)
{
    String arguments = line;
    arguments.trim(&isspace);
    String const name = takeWord(arguments);
    if (name.isEmpty())
    {
        return;
    }
    for (Command const& command : s_commands)
    {
        if (name == command.name)
        {
            (this->*command.run)(command, arguments);
            return;
        }
    }
    m_console.say(String(String::Formatted(), "no command '%.40s', try 'help'", name.c_str()));
}

void Workbench::end()
{
    m_isEnding = true;
    m_ending.signal();
    for (TaskThread* task : {&m_holder, &m_waiter, &m_synchroniser, &m_emitter})
    {
        task->join();
    }
    // at low priority the loop stops behind everything that has been posted to it
    ZKAutoLock<ZKEventSync> stopped(m_loop.getEventSync(EventPrio::LOW));
    m_timers.clear();
}

void Workbench::help(Command const& command, String const& arguments)
{
    if (!takesNone(command, arguments))
    {
        return;
    }
    String text;
    for (Command const& each : s_commands)
    {
        String const usage = String(String::Formatted(), "%s %s", each.name, each.arguments);
        text.concatf("  %-28s %s\n", usage.c_str(), each.purpose);
    }
    m_console.write(text);
}

void Workbench::threads(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        ZKVector<ZKThreadSupervisor::Report> reports;
        ZKThreadSupervisor::INSTANCE().getStatus(reports);
        String text;
        ZKThreadSupervisor::GET_STATUS(text, reports);
        m_console.write(text);
    }
}

void Workbench::loops(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        String text;
        ZKEventLoopSupervisor::INSTANCE().getStatus(text);
        m_console.write(text);
    }
}

void Workbench::post(Command const& command, String const& arguments)
{
    String text = arguments;
    String const name = takeWord(text);
    for (EventPrio::Type priority : {EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW})
    {
        if (name == EventPrio::NAME(priority) && !text.isEmpty())
        {
            auto* post = new Post{this, ++m_posts, priority, 0, text, nullptr};
            post->event = new ZKEvent(m_loop, priority, &Workbench::ON_POST, post);
            post->event->set();
            return;
        }
    }
    refuse(command, "it takes a priority and a text");
}

void Workbench::block(Command const& command, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, MAX_SECONDS, seconds))
    {
        refuse(command, "SECONDS is a number from 1 to 3600");
        return;
    }
    auto* post = new Post{this, ++m_posts, EventPrio::NORMAL, seconds, "the loop was blocked", nullptr};
    post->event = new ZKEvent(m_loop, EventPrio::NORMAL, &Workbench::ON_POST, post);
    post->event->set();
}

void Workbench::ON_POST(void* post)
{
    auto* self = static_cast<Post*>(post);
    self->owner->onPost(*self);
    self->event->destroy();
    delete self;
}

void Workbench::onPost(Post const& post)
{
    if (post.secondsToBlock > 0)
    {
        sleepUnlessEnding(post.secondsToBlock);
    }
    ++m_handled;
    m_console.say(String(String::Formatted(), "%u. handled: post %u, priority %s, on thread %s: %s", m_handled,
                         post.number, EventPrio::NAME(post.priority), ZKThread::CURRENT_NAME().c_str(),
                         post.text.c_str()));
}

void Workbench::timer(Command const& command, String const& arguments)
{
    String text = arguments;
    unsigned int milliseconds = 0;
    if (!parseNumber(takeWord(text), MAX_MILLISECONDS, milliseconds))
    {
        refuse(command, "MS is a number from 1 to 86400000");
        return;
    }
    String rest = text;
    bool const isPeriodic = takeWord(rest) == "periodic";
    if (isPeriodic)
    {
        text = rest;
    }
    if (text.isEmpty())
    {
        refuse(command, "a text is missing");
        return;
    }
    m_timers.start(milliseconds, isPeriodic, text);
}

void Workbench::timers(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        m_console.write(m_timers.report());
    }
}

void Workbench::cancel(Command const& command, String const& arguments)
{
    unsigned int number = 0;
    if (!parseNumber(arguments, 0xffffffff, number))
    {
        refuse(command, "N is the number of a timer");
    }
    else if (!m_timers.cancel(number))
    {
        m_console.say(String(String::Formatted(), "no timer %u, 'timers' lists them", number));
    }
}

void Workbench::sync(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments) && m_synchroniser.run([this] { synchronise(); }).isErr())
    {
        m_console.say("a synchronisation is under way");
    }
}

void Workbench::synchronise()
{
    sayWhetherSynchronised("before");
    {
        ZKAutoLock<ZKEventLoop> stopped(m_loop);
        sayWhetherSynchronised("while the loop stands");
    }
    sayWhetherSynchronised("after");
}

void Workbench::sayWhetherSynchronised(char const* moment)
{
    m_console.say(String(String::Formatted(), "%s: thread %s is %ssynchronised to %s", moment,
                         ZKThread::CURRENT_NAME().c_str(), isCurrentThreadSynchronizedTo(m_loop) ? "" : "not ",
                         m_loop.getName().c_str()));
}

void Workbench::lock(Command const& command, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, MAX_SECONDS, seconds))
    {
        refuse(command, "SECONDS is a number from 1 to 3600");
    }
    else if (m_holder.isBusy() || m_waiter.isBusy() || m_holder.run([this, seconds] { holdLock(seconds); }).isErr() ||
             m_waiter.run([this] { waitForLock(); }).isErr())
    {
        m_console.say("the lock is contended for already");
    }
}

void Workbench::holdLock(unsigned int seconds)
{
    {
        ZKAutoLock<ZKMutex> guard(m_contended);
        m_console.say(String(String::Formatted(), "thread %s holds the lock", ZKThread::CURRENT_NAME().c_str()));
        m_isHeld.signal();
        sleepUnlessEnding(seconds);
    }
    m_console.say(String(String::Formatted(), "thread %s has let go of the lock", ZKThread::CURRENT_NAME().c_str()));
}

void Workbench::waitForLock()
{
    m_isHeld.wait();
    ZKAutoLock<ZKMutex> guard(m_contended);
    m_console.say(String(String::Formatted(), "thread %s has got the lock", ZKThread::CURRENT_NAME().c_str()));
}

void Workbench::signal(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments) && m_emitter.run([this] { emit(); }).isErr())
    {
        m_console.say("an emission is under way");
    }
}

void Workbench::emit()
{
    ZKSemaphore asyncDone(0, 1, ZK::Time::Source::MONOTONIC);
    auto const report = [this](char const* mode, String const& text)
    {
        m_console.say(String(String::Formatted(), "%s slot on thread %s got '%s'", mode,
                             ZKThread::CURRENT_NAME().c_str(), text.c_str()));
    };
    ZK::Sig::Signal<void(String)> signal;
    signal.connect(ZK::bindArgs(ZK::directCall(), [&](String const& text) { report("direct", text); }), 1);
    signal.connect(ZK::bindArgs(ZK::FunctionContext{ZK::FunctionContext::Type::SYNC, &m_loop},
                                [&](String const& text) { report("sync", text); }),
                   1);
    signal.connect(ZK::bindArgs(ZK::FunctionContext{ZK::FunctionContext::Type::ASYNC, &m_loop},
                                [&](String const& text)
                                {
                                    report("async", text);
                                    asyncDone.signal();
                                }),
                   1);
    m_console.say(String(String::Formatted(), "thread %s emits", ZKThread::CURRENT_NAME().c_str()));
    signal("hello");
    m_console.say("the emission is over");
    asyncDone.wait();
}

void Workbench::wait(Command const& command, String const& arguments)
{
    unsigned int milliseconds = 0;
    if (!parseNumber(arguments, MAX_MILLISECONDS, milliseconds))
    {
        refuse(command, "MS is a number from 1 to 86400000");
        return;
    }
    m_console.pause(milliseconds);
}

void Workbench::quit(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        m_console.end("quit");
    }
}

bool Workbench::takesNone(Command const& command, String const& arguments)
{
    if (!arguments.isEmpty())
    {
        refuse(command, "it takes no argument");
    }
    return arguments.isEmpty();
}

void Workbench::refuse(Command const& command, char const* what)
{
    m_console.say(String(String::Formatted(), "%s: %s (usage: %s%s%s)", command.name, what, command.name,
                         *command.arguments ? " " : "", command.arguments));
}

void Workbench::sleepUnlessEnding(unsigned int seconds)
{
    if (!m_isEnding)
    {
        m_ending.waitFor(static_cast<int>(seconds * 1000));
    }
    if (m_isEnding)
    {
        // the next sleeper wants to be woken, too
        m_ending.signal();
    }
}
