#pragma once

#include "zekovar/events/event_loop.h"
#include "zekovar/events/function_context.h"
#include "zekovar/foundation/ptr.h"

namespace ZK
{
class IExecutor;
}

/// The four loops that every daemon has. Each comes into being, with its thread running, on the first call of its
/// `INSTANCE()`, which is safe from any thread, and is stopped and destroyed at the end of the process. `getExecutor()`
/// runs jobs as events of priority "normal".

/// Configuration: ticks of 1 s and 10 s.
class CONFIG : public ZKEventLoop
{
public:
    static CONFIG& INSTANCE();

    ZK::FunctionContext const& getDirectContext() const { return m_directContext; }

    ZKPtr<ZK::IExecutor> const& getExecutor() const { return m_executor; }

private:
    CONFIG();
    ~CONFIG() override;

    ZKPtr<ZK::IExecutor> m_executor;
    ZK::FunctionContext m_directContext;
};

/// Work that must not wait for anything slow: ticks of 100 ms and 1 s.
class CRIT : public ZKEventLoop
{
public:
    static CRIT& INSTANCE();

    /// For functions that run on the caller's thread while this loop stands still.
    ZK::FunctionContext const& getSyncContext() const { return m_syncContext; }

    /// For functions that run later, on this loop's thread.
    ZK::FunctionContext const& getAsyncContext() const { return m_asyncContext; }

    ZKPtr<ZK::IExecutor> const& getExecutor() const { return m_executor; }

private:
    CRIT();
    ~CRIT() override;

    ZKPtr<ZK::IExecutor> m_executor;
    ZK::FunctionContext m_syncContext;
    ZK::FunctionContext m_asyncContext;
};

/// Files, sockets and child processes: ticks of 100 ms and 1 s.
class IO : public ZKEventLoop
{
public:
    static IO& INSTANCE();

    /// What `INSTANCE()` returns, without making it: for whoever keeps a reference that is used later or never. The loop
    /// mustn't be used before there was a call of `INSTANCE()`.
    static IO& PLACE();

    ZK::FunctionContext const& getSyncContext() const { return m_syncContext; }

    ZK::FunctionContext const& getAsyncContext() const { return m_asyncContext; }

    ZKPtr<ZK::IExecutor> const& getExecutor() const { return m_executor; }

private:
    IO();
    ~IO() override;

    ZKPtr<ZK::IExecutor> m_executor;
    ZK::FunctionContext m_syncContext;
    ZK::FunctionContext m_asyncContext;
};

/// Management: ticks of 1 s and 10 s.
class MGMT : public ZKEventLoop
{
public:
    static MGMT& INSTANCE();

    ZK::FunctionContext const& getDirectContext() const { return m_directContext; }

    ZKPtr<ZK::IExecutor> const& getExecutor() const { return m_executor; }

private:
    MGMT();
    ~MGMT() override;

    ZKPtr<ZK::IExecutor> m_executor;
    ZK::FunctionContext m_directContext;
};
