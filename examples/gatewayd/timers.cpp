#include "timers.h"

Timers::Timers(ZKEventLoop& loop)
    : m_loop(loop),
      m_mutex(false),
      m_removeOnLoop(ZK::bindArgs(ZK::FunctionContext{ZK::FunctionContext::Type::ASYNC, &loop}, &Timers::remove, this,
                                  std::placeholders::_1))
{
}

Timers::~Timers()
{
    clear();
}

void Timers::start(Call const& call, unsigned int milliseconds, bool isPeriodic, String const& text)
{
    auto* timer = new Timer{this, call, 0, milliseconds, isPeriodic, text, 0, nullptr};
    timer->event = new _ZKTimeoutEvent(m_loop, EventPrio::NORMAL, &Timers::ON_TIMEOUT, timer);
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (m_timers.size() >= MAX_COUNT)
        {
            timer->event->destroy();
            delete timer;
            call.say(String(String::Formatted(), "there are %u timers already, cancel one first", MAX_COUNT));
            return;
        }
        timer->number = m_nextNumber++;
        m_timers.add(timer->number, timer);
    }
    unsigned int const number = timer->number;
    call.say(String(String::Formatted(), "timer %u runs %s %u ms on %s", number, isPeriodic ? "every" : "once, after",
                    milliseconds, m_loop.getName().c_str()));
    // from here on a one-shot timer may be gone at any moment
    if (XCode code = timer->event->start(milliseconds, isPeriodic, false); code.isErr())
    {
        call.say(String(String::Formatted(), "timer %u can't be started: %s", number, code.toString().c_str()));
        m_removeOnLoop(number);
    }
}

bool Timers::cancel(unsigned int number)
{
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (!m_timers.contains(number))
        {
            return false;
        }
    }
    m_removeOnLoop(number);
    return true;
}

String Timers::report() const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    String text;
    for (auto const& entry : m_timers)
    {
        Timer const& timer = *entry.value();
        text.concatf("%3u  %-8s %8u ms  %6u runs  %s\n", timer.number, timer.isPeriodic ? "periodic" : "once",
                     timer.milliseconds, timer.runs, timer.text.c_str());
    }
    return text.isEmpty() ? String("no timers\n") : text;
}

void Timers::clear()
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    for (auto const& entry : m_timers)
    {
        entry.value()->event->destroy();
        delete entry.value();
    }
    m_timers.clear();
}

void Timers::ON_TIMEOUT(void* timer)
{
    auto* self = static_cast<Timer*>(timer);
    self->owner->onTimeout(*self);
}

void Timers::onTimeout(Timer& timer)
{
    unsigned int runs = 0;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        runs = ++timer.runs;
    }
    timer.call.say(String(String::Formatted(), "timer %u, run %u, on thread %s: %s", timer.number, runs,
                          ZKThread::CURRENT_NAME().c_str(), timer.text.c_str()));
    if (!timer.isPeriodic)
    {
        remove(timer.number);
    }
}

void Timers::remove(unsigned int number)
{
    Timer* timer = nullptr;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (!m_timers.remove(number, timer))
        {
            return;
        }
    }
    timer->call.say(String(String::Formatted(), "timer %u is gone", number));
    timer->event->destroy();
    delete timer;
}
