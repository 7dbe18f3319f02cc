#include "zekovar/net/accept_retry.h"

#include "zekovar/events/timeout_event.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/net/socket.h"

namespace ZK::Detail
{
namespace
{
constexpr unsigned int RETRY_MILLISECONDS = 1000;
}

AcceptRetry::AcceptRetry(ZKEventLoop& loop, Function<void()> const& acceptAll)
    : m_acceptAll(acceptAll), m_timer(new _ZKTimeoutEvent(loop, EventPrio::NORMAL, &RUN, this))
{
    m_timer->start(RETRY_MILLISECONDS, false, false);
    m_timer->stop();
}

AcceptRetry::~AcceptRetry()
{
    m_timer->destroy();
}

void AcceptRetry::onEnd(XCode const& code, Socket const& listener)
{
    if (code != codeOfErrno(EAGAIN) && listener.isListening())
        m_timer->start(RETRY_MILLISECONDS, false, false);
}

void AcceptRetry::RUN(void* retry)
{
    Function<void()> const acceptAll = static_cast<AcceptRetry*>(retry)->m_acceptAll;
    acceptAll();
}
}
