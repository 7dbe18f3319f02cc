#include "loop_commands.h"

using CommandLine::MAX_SECONDS;
using CommandLine::parseNumber;
using CommandLine::takeWord;

struct LoopCommands::Post
{
    LoopCommands* owner;
    Call call;
    unsigned int number;
    EventPrio::Type priority;
    unsigned int secondsToBlock;
    String text;
    ZKEvent* event;
};

LoopCommands::LoopCommands(ZKEventLoop& loop)
    : m_loop(loop),
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

void LoopCommands::threads(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments))
    {
        ZKVector<ZKThreadSupervisor::Report> reports;
        ZKThreadSupervisor::INSTANCE().getStatus(reports);
        String text;
        ZKThreadSupervisor::GET_STATUS(text, reports);
        call.write(text);
    }
}

void LoopCommands::loops(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments))
    {
        String text;
        ZKEventLoopSupervisor::INSTANCE().getStatus(text);
        call.write(text);
    }
}

void LoopCommands::post(Call const& call, String const& arguments)
{
    String text = arguments;
    String const name = takeWord(text);
    for (EventPrio::Type priority : {EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW})
    {
        if (name == EventPrio::NAME(priority) && !text.isEmpty())
        {
            auto* post = new Post{this, call, ++m_posts, priority, 0, text, nullptr};
            post->event = new ZKEvent(m_loop, priority, &LoopCommands::ON_POST, post);
            post->event->set();
            return;
        }
    }
    refuse(call, "it takes a priority and a text");
}

void LoopCommands::block(Call const& call, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, 1, MAX_SECONDS, seconds))
    {
        refuse(call, "SECONDS is a number from 1 to 3600");
        return;
    }
    auto* post = new Post{this, call, ++m_posts, EventPrio::NORMAL, seconds, "the loop was blocked", nullptr};
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
    post.call.say(String(String::Formatted(), "%u. handled: post %u, priority %s, on thread %s: %s", m_handled,
                         post.number, EventPrio::NAME(post.priority), ZKThread::CURRENT_NAME().c_str(),
                         post.text.c_str()));
}

void LoopCommands::sync(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments) && m_synchroniser.run([this, call] { synchronise(call); }).isErr())
    {
        call.say("a synchronisation is under way");
    }
}

void LoopCommands::synchronise(Call const& call)
{
    sayWhetherSynchronised(call, "before");
    {
        ZKAutoLock<ZKEventLoop> stopped(m_loop);
        sayWhetherSynchronised(call, "while the loop stands");
    }
    sayWhetherSynchronised(call, "after");
}

void LoopCommands::sayWhetherSynchronised(Call const& call, char const* moment)
{
    call.say(String(String::Formatted(), "%s: thread %s is %ssynchronised to %s", moment,
                    ZKThread::CURRENT_NAME().c_str(), isCurrentThreadSynchronizedTo(m_loop) ? "" : "not ",
                    m_loop.getName().c_str()));
}

void LoopCommands::lock(Call const& call, String const& arguments)
{
    unsigned int seconds = 0;
    if (!parseNumber(arguments, 1, MAX_SECONDS, seconds))
    {
        refuse(call, "SECONDS is a number from 1 to 3600");
    }
    else if (m_holder.isBusy() || m_waiter.isBusy() ||
             m_holder.run([this, call, seconds] { holdLock(call, seconds); }).isErr() ||
             m_waiter.run([this, call] { waitForLock(call); }).isErr())
    {
        call.say("the lock is contended for already");
    }
}

void LoopCommands::holdLock(Call const& call, unsigned int seconds)
{
    {
        ZKAutoLock<ZKMutex> guard(m_contended);
        call.say(String(String::Formatted(), "thread %s holds the lock", ZKThread::CURRENT_NAME().c_str()));
        m_isHeld.signal();
        sleepUnlessEnding(seconds);
    }
    call.say(String(String::Formatted(), "thread %s has let go of the lock", ZKThread::CURRENT_NAME().c_str()));
}

void LoopCommands::waitForLock(Call const& call)
{
    m_isHeld.wait();
    ZKAutoLock<ZKMutex> guard(m_contended);
    call.say(String(String::Formatted(), "thread %s has got the lock", ZKThread::CURRENT_NAME().c_str()));
}

void LoopCommands::signal(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments) && m_emitter.run([call, &loop = m_loop] { emit(call, loop); }).isErr())
    {
        call.say("an emission is under way");
    }
}

void LoopCommands::emit(Call const& call, ZKEventLoop& loop)
{
    ZKSemaphore asyncDone(0, 1, ZK::Time::Source::MONOTONIC);
    auto const report = [&call](char const* mode, String const& text)
    {
        call.say(String(String::Formatted(), "%s slot on thread %s got '%s'", mode, ZKThread::CURRENT_NAME().c_str(),
                        text.c_str()));
    };
    ZK::Sig::Signal<void(String)> signal;
    signal.connect(ZK::bindArgs(ZK::directCall(), [&](String const& text) { report("direct", text); }), 1);
    signal.connect(ZK::bindArgs(ZK::FunctionContext{ZK::FunctionContext::Type::SYNC, &loop},
                                [&](String const& text) { report("sync", text); }),
                   1);
    signal.connect(ZK::bindArgs(ZK::FunctionContext{ZK::FunctionContext::Type::ASYNC, &loop},
                                [&](String const& text)
                                {
                                    report("async", text);
                                    asyncDone.signal();
                                }),
                   1);
    call.say(String(String::Formatted(), "thread %s emits", ZKThread::CURRENT_NAME().c_str()));
    signal("hello");
    call.say("the emission is over");
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
