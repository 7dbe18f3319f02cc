#pragma once

#include "zekovar/events/function.h"
#include "zekovar/foundation/enum_info.h"
#include "zekovar/foundation/string.h"
#include "zekovar/jobs/job.h"
#include "zekovar/jobs/stream_type.h"
#include "zekovar/jobs/unknown.h"

#include <cstdint>

namespace ZK
{
class IExecutor;

/// The handle on one run of a job: its state, its result code, and the means to wait, cancel and observe.
///
/// | From | To | By |
/// | --- | --- | --- |
/// | init | invoked | `invoked` |
/// | invoked | executing | `execute` |
/// | invoked, executing | cancelling | `cancel` |
/// | executing | done | `done` |
/// | cancelling | cancelled | `done` |
///
/// Nothing leaves the last two. All operations are safe from every thread that holds a reference for the time of the
/// call; `ZK::CFuture` implements them.
class IFuture : public IUnknown
{
public:
    enum class State : uint32_t
    {
        init = 0,       ///< created, not yet given to an executor
        invoked = 1,    ///< an executor has taken it
        executing = 2,  ///< the job has been started
        cancelling = 3, ///< a cancel is under way, or was refused by the executor; the job's end is still to come
        cancelled = 4,  ///< ended by a cancel
        done = 5        ///< ended
    };

    struct Description
    {
        IFuture* future = nullptr; ///< to tell futures apart: no reference goes with it
        String jobDescription;
        State state = State::init;
        IExecutor* executor = nullptr; ///< null before `invoked` and after a cancel; no reference goes with it either
    };

    static UUID const& IID();

    /// The job that this is a run of.
    virtual ZKPtr<IJob> job() = 0;

    /// Stops the run and ends it in state `cancelled`, with a success for signal 0 and `XCODE_SIGNAL` + `signal` for
    /// others. On a failure the future goes on: "FUTURE IN STATE %s" if it isn't invoked or executing; if its executor
    /// can't stop the job, it stays `cancelling` until the job ends.
    virtual XCode cancel(int signal) = 0;

    /// Passes a signal to the running work. `XCODE_FAILURE` for jobs that take none.
    virtual XCode signal(int signal) = 0;

    /// Blocks until the future has completed and returns its status. It waits without limit, so never where the job
    /// needs the calling thread. The caller holds a reference until it returns. A code other than the status means that
    /// the wait itself failed.
    virtual XCode waitForCompletion() = 0;

    /// Has `observer` called with the status when the job ends, in place of the observer before. On a completed future
    /// it is called before this returns. Each end of the job reaches the observer once, without a lock, on the thread
    /// that ends the job or, if that came first, on this one. An empty function removes the observer; a call that has
    /// begun then still ends. An asynchronous observer goes with the future, also between the end and its call: keep a
    /// reference until it was called, or see `Function::setDontCancelOnDestruction`.
    virtual void setCompletionObserver(Function<void(XCode)> observer) = 0;

    /// May have changed by the time it is looked at, but never leaves `cancelled` and `done`.
    virtual State getState() const = 0;

    /// For reports; it calls the job for its description.
    virtual void getFutureDescription(Description& description) const = 0;

    /// For the executor that has taken the future: it keeps a reference to `executor` and, for it, `privateData`, which
    /// remains the executor's affair.
    virtual void invoked(IExecutor* executor, void* privateData) = 0;

    /// For the executor, on its thread: starts the job. The code tells only whether that worked; the job ends by `done`.
    /// A future that was cancelled before refuses with "FUTURE IN STATE %s".
    virtual XCode execute() = 0;

    /// For the job, when its work has ended: stores the status, ends the state, wakes all waiters and calls the
    /// observer. In other states than `executing` and `cancelling` it replaces the status and calls the observer, and
    /// the state stays.
    virtual void done(XCode code) = 0;

    /// Null before `invoked` and after a successful cancel.
    virtual ZKPtr<IExecutor> getExecutor() = 0;

    /// As given to `invoked`; null whenever `getExecutor` is.
    virtual void* getExecutorPrivateData() = 0;

    /// True in the states `cancelled` and `done`: the status is there.
    bool hasCompleted() const
    {
        State const state = getState();
        return state == State::cancelled || state == State::done;
    }
};

/// The identifier of `ZK::IFutureResult<T>`, one for all `T`.
UUID const& IID_FutureResult();

/// The further interface of a future whose job yields a value.
///
/// Safe from all threads that hold a reference.
template <class T>
class IFutureResult : public IUnknown
{
public:
    static UUID const& IID() { return IID_FutureResult(); }

    /// As `IFuture::waitForCompletion`, and on a success copies the value to `result`, which a failure leaves alone.
    virtual XCode waitForResult(T& result) = 0;

    /// As `IFuture::setCompletionObserver`, for a function that gets the value too. It is called after the other one.
    virtual void setResultObserver(Function<void(XCode, T)> observer) = 0;

    /// For the job: stores the value, before it calls `done`.
    virtual void set(T value) = 0;
};

/// The further interface of a future whose job has output and input while it runs.
class IFutureStream : public IUnknown
{
public:
    static UUID const& IID();

    /// Has `observer` called with each piece of the stream's output, in place of the observer before.
    virtual void setStreamObserver(StreamType type, Function<void(String)> observer) = 0;

    /// Writes to the job's standard input.
    virtual XCode sendData(String const& data) = 0;
};
}

/// "init", "invoked", "executing", "cancelling", "cancelled" or "done".
template <>
inline char const* ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(ZK::IFuture::State value)
{
    static constexpr char const* NAMES[] = {"init", "invoked", "executing", "cancelling", "cancelled", "done"};
    return ZK::Detail::nameOfValue(NAMES, value);
}
