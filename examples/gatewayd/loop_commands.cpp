#include "loop_commands.h"

#include "console.h"

using CommandLine::MAX_SECONDS;
using CommandLine::parseNumber;
using CommandLine::takeWord;

struct LoopCommands::Post
{
    LoopCommands* owner;
    unsigned int number;
    EventPrio::Type priority;
    unsigned int secondsToBlock;
    String text;
    ZKEvent* event;
};

LoopCommands::LoopCommands(Console& console, ZKEventLoop& loop)
    : CommandGroup(console),
      m_loop(loop),
      m_ending(0, 1, ZK::Time::Source::MONOTONIC),
      m_contended(false),
      m_isHeld(0, 1, ZK::Time::Source::MONOTONIC),
      m_holder("Lock holder"),
      m_waiter("Lock waiter"),
      m_synchroniser("Synchroniser"),
      m_emitter("Emitter")
{
    add("threads", "", "shows the locks and the backtrace of every thread", &LoopCommands::threads);
    add("loops", "", "shows whether the event loops keep up", &LoopCommands::loops);
    add("post", "high|normal|low TEXT", "has the chosen loop show TEXT, the most urgent first", &LoopCommands::post);
    add("sync", "", "stops the chosen loop from another thread and lets it go", &LoopCommands::sync);
    add("block", "SECONDS", "blocks the chosen loop in a handler; look at 'loops' and 'threads' meanwhile",
        &LoopCommands::block);
    add("lock", "SECONDS", "lets two threads contend for a lock; look at 'threads' meanwhile", &LoopCommands::lock);
    add("signal", "", "emits a signal to direct, sync and async slots", &LoopCommands::signal);
}

void LoopCommands::end()
{
    m_isEnding = true;
    m_ending.signal();
    for (TaskThread* task : {&m_holder, &m_waiter, &m_synchroniser, &m_emitter})
    {
        task->join();
    }
    // at low priority the loop stops behind everything that has been posted to it
    ZKAutoLock<ZKEventSync> stopped(m_loop.getEventSync(EventPrio::LOW));
}

void LoopCommands::threads(Command const& command, String const& arguments)
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

void LoopCommands::loops(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        String text;
        ZKEventLoopSupervisor::INSTANCE().getStatus(text);
        m_console.write(text);
    }
}

void LoopCommands::post(Command const& command, String const& arguments)
{
    String text = arguments;
    String const name = takeWord(text);
    for (EventPrio::Type priority : {EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW})
    {
        if (name == EventPrio::NAME(priority) && !text.isEmpty())
        {
            auto* post = new Post{this, ++m_posts, priority, 0, text, nullptr};
            post->event = new ZKEvent(m_loop, priority, &LoopCommands::ON_POST, post);
            post->event->set();
            return;
        }
    }
    refuse(command, "it takes a priority and a text");
}

void LoopCommands::block(Command const& command, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, 1, MAX_SECONDS, seconds))
    {
        refuse(command, "SECONDS is a number from 1 to 3600");
        return;
    }
    auto* post = new Post{this, ++m_posts, EventPrio::NORMAL, seconds, "the loop was blocked", nullptr};
    post->event = new ZKEvent(m_loop, EventPrio::NORMAL, &LoopCommands::ON_POST, post);
    post->event->set();
}

void LoopCommands::ON_POST(void* post)
{
    auto* self = static_cast<Post*>(post);
    self->owner->onPost(*self);
    self->event->destroy();
    delete self;
}

void LoopCommands::onPost(Post const& post)
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

void LoopCommands::sync(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments) && m_synchroniser.run([this] { synchronise(); }).isErr())
    {
        m_console.say("a synchronisation is under way");
    }
}

void LoopCommands::synchronise()
{
    sayWhetherSynchronised("before");
    {
        ZKAutoLock<ZKEventLoop> stopped(m_loop);
        sayWhetherSynchronised("while the loop stands");
    }
    sayWhetherSynchronised("after");
}

void LoopCommands::sayWhetherSynchronised(char const* moment)
{
    m_console.say(String(String::Formatted(), "%s: thread %s is %ssynchronised to %s", moment,
                         ZKThread::CURRENT_NAME().c_str(), isCurrentThreadSynchronizedTo(m_loop) ? "" : "not ",
                         m_loop.getName().c_str()));
}

void LoopCommands::lock(Command const& command, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, 1, MAX_SECONDS, seconds))
    {
        refuse(command, "SECONDS is a number from 1 to 3600");
    }
    else if (m_holder.isBusy() || m_waiter.isBusy() || m_holder.run([this, seconds] { holdLock(seconds); }).isErr() ||
             m_waiter.run([this] { waitForLock(); }).isErr())
    {
        m_console.say("the lock is contended for already");
    }
}

void LoopCommands::holdLock(unsigned int seconds)
{
    {
        ZKAutoLock<ZKMutex> guard(m_contended);
        m_console.say(String(String::Formatted(), "thread %s holds the lock", ZKThread::CURRENT_NAME().c_str()));
        m_isHeld.signal();
        sleepUnlessEnding(seconds);
    }
    m_console.say(String(String::Formatted(), "thread %s has let go of the lock", ZKThread::CURRENT_NAME().c_str()));
}

void LoopCommands::waitForLock()
{
    m_isHeld.wait();
    ZKAutoLock<ZKMutex> guard(m_contended);
    m_console.say(String(String::Formatted(), "thread %s has got the lock", ZKThread::CURRENT_NAME().c_str()));
}

void LoopCommands::signal(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments) && m_emitter.run([this] { emit(); }).isErr())
    {
        m_console.say("an emission is under way");
    }
}

void LoopCommands::emit()
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

void LoopCommands::sleepUnlessEnding(unsigned int seconds)
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
