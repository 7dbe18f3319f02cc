#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/future.h"
#include "zekovar/threads/mutex_private.h"

#include <array>
#include <cstdint>

namespace ZK
{
class CFuture;

/// The register of the process's executors and live futures, with the descriptions of the jobs that ended last.
///
/// It only records: it keeps no reference, and starts and stops nothing. Executors and futures enter themselves when
/// they are made and leave when they are destroyed. Safe from all threads, before `main` and while the process exits:
/// it is made at first use and never destroyed. Executors, futures and jobs are asked for their descriptions while the
/// register is locked, so their answers must not use it.
class JobSupervisor
{
public:
    static JobSupervisor& INSTANCE();

    JobSupervisor(JobSupervisor const&) = delete;
    JobSupervisor& operator=(JobSupervisor const&) = delete;

    /// Enters an executor, which has to leave before it is destroyed. Without effect for null and for one that is here.
    void addExecutor(IExecutor* executor);

    /// Without effect for null and for one that isn't here.
    void removeExecutor(IExecutor* executor);

    /// Enters a future, which has to leave before it is destroyed. Without effect for null and for one that is here.
    void addFuture(IFuture* future);

    /// Takes the future out and keeps the description of its job in the history, also for a future that was never
    /// entered. Without effect for null.
    void removeFuture(IFuture* future);

    /// Adds the executors' descriptions in order of registration, and returns a copy of the whole.
    ZKVector<IExecutor::Description> getExecutorDescriptions(ZKVector<IExecutor::Description>& target);

    /// As above for the futures.
    ZKVector<IFuture::Description> getFutureDescriptions(ZKVector<IFuture::Description>& target);

    /// Adds one line "%8u %s" for each future that left, at most for the last 16, counted from 1. All lines of one call
    /// carry the same text: that of the oldest of the 16, and none while there are fewer.
    void getJobHistory(ZKVector<String>& target);

private:
    friend class CFuture;

    static constexpr uint32_t HISTORY_SIZE = 16; // a power of two: the indices run through 32 bits

    struct FutureEntry
    {
        IFuture* future;
        CFuture* unfinished; // the same, if it entered while it was being built
    };

    JobSupervisor();
    ~JobSupervisor() = delete;

    /// For the constructor of `CFuture`, whose subclass is yet to be built, as it is gone again when the destructor has
    /// it leave: such a future is described by what `CFuture` knows, without a virtual call.
    void addUnfinished(CFuture* future);

    /// Takes the future out and adds `description` to the history.
    void remove(IFuture* future, String description);

    ZKMutexPrivate m_mutex; // guards all the rest
    ZKPtrHashTable<IExecutor*> m_executors;
    ZKPtrHashTable<FutureEntry> m_futures;
    std::array<String, HISTORY_SIZE> m_history;
    uint32_t m_writeIndex; // entries ever written
    uint32_t m_readIndex;  // the oldest entry kept
};
}
