#include "zekovar/events/standard_loops.h"

#include "zekovar/jobs/executor_event_loop.h"

#include <new>

namespace
{
ZK::MovePtr<ZK::IExecutor> makeExecutor(ZKEventLoop& loop)
{
    return ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(loop, EventPrio::NORMAL));
}

alignas(IO) constinit unsigned char s_placeOfIo[sizeof(IO)] = {};
}

CONFIG& CONFIG::INSTANCE()
{
    static CONFIG s_instance;
    return s_instance;
}

CONFIG::CONFIG() : ZKEventLoop("Config", 1024, 1000, 10000, 100000, 10000), m_executor(makeExecutor(*this))
{
    start();
}

CONFIG::~CONFIG()
{
    stop();
}

CRIT& CRIT::INSTANCE()
{
    static CRIT s_instance;
    return s_instance;
}

CRIT::CRIT()
    : ZKEventLoop("Crit", 4096, 100, 1000, 10000, 1000),
      m_executor(makeExecutor(*this)),
      m_syncContext{ZK::FunctionContext::Type::SYNC, this},
      m_asyncContext{ZK::FunctionContext::Type::ASYNC, this}
{
    start();
}

CRIT::~CRIT()
{
    stop();
}

IO& IO::INSTANCE()
{
    struct Lifetime
    {
        Lifetime() { new (&PLACE()) IO; }

        ~Lifetime() { PLACE().~IO(); }
    };

    static Lifetime s_lifetime;
    return PLACE();
}

IO& IO::PLACE()
{
    return reinterpret_cast<IO&>(s_placeOfIo);
}

IO::IO()
    : ZKEventLoop("IO", 4096, 100, 1000, 10000, 1000),
      m_executor(makeExecutor(*this)),
      m_syncContext{ZK::FunctionContext::Type::SYNC, this},
      m_asyncContext{ZK::FunctionContext::Type::ASYNC, this}
{
    start();
}

IO::~IO()
{
    stop();
}

MGMT& MGMT::INSTANCE()
{
    static MGMT s_instance;
    return s_instance;
}

MGMT::MGMT() : ZKEventLoop("Mgmt", 1024, 1000, 10000, 100000, 5000), m_executor(makeExecutor(*this))
{
    start();
}

MGMT::~MGMT()
{
    stop();
}
