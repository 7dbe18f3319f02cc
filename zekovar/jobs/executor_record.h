#pragma once

#include "zekovar/jobs/executor.h"

#include <atomic>
#include <cstdint>

namespace ZK::Detail
{
/// What an executor keeps about itself for the reports: who it is, whether it is suspended, and what it counted.
///
/// Safe from all threads. The figures are counted one by one, so a report taken while jobs run may show a job as
/// invoked that isn't executed yet, but never loses one.
class ExecutorRecord
{
public:
    using Counter = std::atomic<uint32_t>;

    ExecutorRecord(IExecutor* self, String const& ownName) : executor(self), name(ownName) {}

    ExecutorRecord(ExecutorRecord const&) = delete;
    ExecutorRecord& operator=(ExecutorRecord const&) = delete;

    static void COUNT(Counter& counter) { counter.fetch_add(1, std::memory_order_relaxed); }

    void describe(IExecutor::Description& description) const;

    IExecutor* const executor;
    String const name;
    std::atomic<bool> suspended = false;
    Counter invokedJobs = 0;
    Counter failedInvocations = 0;
    Counter cancelledJobs = 0;
    Counter failedCancels = 0;
    Counter executedJobs = 0;
    Counter failedExecutions = 0;
};

/// The job's description for a log line, "(none)" for null.
String descriptionOf(IJob const* job);

/// The description of the future's job, "(none)" for null.
String descriptionOf(IFuture* future);

/// Makes the future of one run of `job`. `XCODE_FAILURE`, with `future` null, if there is no job, if it makes none, or
/// if what it makes belongs to another job.
XCode createFuture(IJob* job, ZKPtr<IFuture>& future);
}
