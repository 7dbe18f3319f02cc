#pragma once

#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/future.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/conditional_expression.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>
#include <memory>
#include <utility>

namespace ZK
{
/// The base of all futures. From construction to destruction it is listed by `ZK::JobSupervisor`.
///
/// Safe from all threads; observers, jobs and executors are called without its lock. Whoever makes one owns a reference:
///
///     ZKPtr<ZK::IFuture> MyJob::createFuture()
///     {
///         return ZK::MovePtr<ZK::IFuture>(new ZK::CFuture(this));
///     }
class CFuture : public CInherit<CFuture, CObject, IFuture>
{
public:
    /// The status of a future without a result: a failure, whose text is "INTERNAL ERROR".
    static constexpr XCodeValue NO_RESULT{XCODE_LIBRARY + 0x0E};

    /// Keeps a reference to `job` as long as it lives.
    explicit CFuture(IJob* job);

    ~CFuture() override;

    ZKPtr<IJob> job() override;
    XCode cancel(int signal) override;

    /// Always `XCODE_FAILURE`: this kind of job takes no signals.
    XCode signal(int signal) override;

    XCode waitForCompletion() override;
    void setCompletionObserver(Function<void(XCode)> observer) override;
    State getState() const override;
    void getFutureDescription(Description& description) const override;
    void invoked(IExecutor* executor, void* privateData) override;
    XCode execute() override;
    void done(XCode code) override;
    ZKPtr<IExecutor> getExecutor() override;
    void* getExecutorPrivateData() override;

    /// `execute` without its log lines: goes to `executing` and starts the job. A future whose cancel was refused starts
    /// it as well, and stays `cancelling`. One that runs already or has completed refuses with "FUTURE IN STATE %s".
    virtual XCode tryToExecute();

    /// `cancel` without its call of `done`: goes to `cancelling` and has the executor cancel the run. The executor is
    /// forgotten if that worked. A failure is "FUTURE IN STATE %s" with the state as it was, or with the state
    /// `cancelling`: "FUNCTION IS NOT BEING EXECUTED" without an executor, or the executor's code behind "FUNCTION
    /// EXECUTION CANNOT BE CANCELLED: ".
    virtual XCode cancelWithoutDone(int signal);

protected:
    /// Guards all that changes, also what a subclass adds; recursive.
    ZKMutexPrivate& getStateLock() const { return m_stateLock; }

    /// A copy of the status.
    XCode getStatus() const;

    /// The two halves of `done`, for a subclass with an observer of its own: first the log line, without the lock. The
    /// result is for `settle`.
    String reportEnd(XCode const& code) const;

    /// Under the lock: stores the status, ends the state, and returns the observer, for the caller to call once the lock
    /// is free. A subclass picks its own observer up under the same hold: whoever sets one later finds a completed
    /// future.
    Function<void(XCode)> settle(XCode const& code, String const& tag);

    /// Exchanges the two and returns true, or returns false on a completed future, whose observer is called first.
    template <class S>
    bool exchangeUnlessCompleted(Function<S>& stored, Function<S>& observer)
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
        if (hasCompleted())
            return false;
        std::swap(stored, observer);
        return true;
    }

    /// The one that was stored is left in `observer`, so that it is dropped without the lock.
    template <class S>
    void exchange(Function<S>& stored, Function<S>& observer)
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
        std::swap(stored, observer);
    }

private:
    /// The text in brackets of log lines.
    String getTag() const;

    /// As above for lines that are written under the lock, where the job isn't called: empty if none are.
    String getTagIfLogging() const;

    /// The lock is held.
    void setState(State state, String const& tag);
    void endAs(State state, String const& tag);

    ConditionalExpression& getEnd();
    XCode waitForEnd();

    ZKPtr<IJob> m_job; // never changes
    ZKPtr<IExecutor> m_executor;
    void* m_executorPrivateData;
    std::atomic<State> m_state; // written under the lock, read by anyone
    mutable ZKMutexPrivate m_stateLock;
    std::unique_ptr<ConditionalExpression> m_end; // what waiters sleep on, made by the first; most futures have none
    Function<void(XCode)> m_completionObserver;
    XCode m_status;
};
}
