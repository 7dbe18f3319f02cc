#include "zekovar/threads/conditional_expression.h"

#include "zekovar/foundation/string.h"

namespace
{
/// Shows the calling thread as waiting for a lock, for a scope.
class ShownAsWaiting
{
public:
    explicit ShownAsWaiting(ZKLock& lock) : m_lock(lock) { m_lock.onWait(0); }

    ~ShownAsWaiting() { m_lock.onWaitCanceled(); }

    ShownAsWaiting(ShownAsWaiting const&) = delete;
    ShownAsWaiting& operator=(ShownAsWaiting const&) = delete;

private:
    ZKLock& m_lock;
};
}

namespace ZK
{
ConditionalExpression::ConditionalExpression(Time::Source source)
    : ZKLock(Type::COND_VAR), m_source(source), m_mutex(true), m_condition(m_mutex, source)
{
}

ConditionalExpression::~ConditionalExpression()
{
    leaveReport();
}

XCode ConditionalExpression::lock()
{
    return m_mutex.lock();
}

void ConditionalExpression::unlock()
{
    m_condition.signal();
    m_mutex.unlock();
}

XCode ConditionalExpression::broadcast()
{
    return m_condition.broadcast();
}

XCode ConditionalExpression::wait()
{
    ShownAsWaiting guard(*this);
    return m_condition.wait();
}

XCode ConditionalExpression::waitUntil(Time const& deadline)
{
    ShownAsWaiting guard(*this);
    return m_condition.waitUntil(deadline);
}

XCode ConditionalExpression::waitFor(int milliseconds)
{
    ShownAsWaiting guard(*this);
    return m_condition.waitFor(milliseconds);
}
}
