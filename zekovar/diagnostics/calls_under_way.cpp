#include "zekovar/diagnostics/calls_under_way.h"

namespace ZK::Detail
{
namespace
{
constinit thread_local CallsUnderWay::Call const* s_innermost = nullptr;
}

CallsUnderWay::Call::Call(CallsUnderWay& calls) : m_calls(calls), m_outer(s_innermost)
{
    s_innermost = this;
    m_calls.m_count.fetch_add(1);
}

CallsUnderWay::Call::~Call()
{
    m_calls.m_count.fetch_sub(1);
    m_calls.m_count.notify_all();
    s_innermost = m_outer;
}

void CallsUnderWay::waitForOthers() const
{
    unsigned int own = 0;
    for (Call const* call = s_innermost; call != nullptr; call = call->m_outer)
    {
        if (&call->m_calls == this)
            own++;
    }
    for (unsigned int count = m_count.load(); count > own; count = m_count.load())
        m_count.wait(count);
}
}
