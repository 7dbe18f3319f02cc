#pragma once

#include "zekovar/jobs/future.h"

#include <concepts>

namespace ZK
{
/// The handle by which users hold a future, whatever further interfaces it offers. A plain value: copies refer to the
/// same future, and each belongs to one thread at a time.
///
///     ZK::Future<String> future;
///     if (XCode code = ZK::Shell::invoke("uptime", onResult, future); code.isErr()) return code;
///     future->waitForCompletion();
template <class T>
class Future
{
public:
    /// What `sendData` returns for a future that takes no data.
    static constexpr XCodeValue NOT_SUPPORTED{XCODE_LIBRARY + 2};

    Future() = default;

    Future(ZKPtr<IFuture> const& future) : m_future(future) {}

    /// For what makes futures: `executor->invokeJob(job, handle.getFuture())`.
    ZKPtr<IFuture>& getFuture() { return m_future; }

    ZKPtr<IFuture> const& getFuture() const { return m_future; }

    ZKLockPtr<IFuture> operator->() const { return m_future.getLock(); }

    explicit operator bool() const { return static_cast<bool>(m_future); }

    /// Has a copy of `observer`, a function, a binding or anything else that can be called, get the stream's output;
    /// without effect if the future has no streams.
    template <class F>
    void setStreamObserver(StreamType type, F const& observer)
    {
        ZKPtr<IFutureStream> stream;
        ZKLockPtr<IFuture> const future = m_future.getLock();
        if (query(future, stream))
            stream->setStreamObserver(type, toFunction<Function<void(String)>>(observer));
    }

    /// Has a copy of `observer` get status and value when the job ends, at once if it has; without effect if the
    /// future has no value of this type.
    template <class F>
    void setResultObserver(F const& observer)
    {
        ZKPtr<IFutureResult<T>> result;
        ZKLockPtr<IFuture> const future = m_future.getLock();
        if (query(future, result))
            result->setResultObserver(toFunction<Function<void(XCode, T)>>(observer));
    }

    /// Writes to the job's standard input.
    XCode sendData(String const& data)
    {
        ZKPtr<IFutureStream> stream;
        ZKLockPtr<IFuture> const future = m_future.getLock();
        return query(future, stream) ? stream->sendData(data) : XCode(NOT_SUPPORTED);
    }

private:
    template <class I>
    bool query(ZKLockPtr<IFuture> const& future, ZKPtr<I>& target) const
    {
        return m_future && future->queryIf(target).isSuccess();
    }

    template <class FUNCTION, class F>
    static FUNCTION toFunction(F const& observer)
    {
        if constexpr (std::convertible_to<F const&, FUNCTION>)
            return observer;
        else
        {
            FUNCTION function(nullptr);
            function.assign(directCall(), observer);
            return function;
        }
    }

    ZKPtr<IFuture> m_future;
};
}
