#pragma once

#include "zekovar/events/file_observer.h"
#include "zekovar/foundation/string.h"
#include "zekovar/threads/lock.h"

#include <array>
#include <atomic>
#include <cstdint>

/// The epoll set of one loop. It is a lock for the report's sake only: an idle loop shows as waiting for an "epoll".
///
/// Observers may be added and removed from any thread; `waitForFileActivity` and all callbacks run on the loop's
/// thread.
class ZKFileQueue : public ZKLock
{
public:
    static constexpr int BATCH_SIZE = 64;

    /// Without epoll one line goes to the system monitor, and every operation fails with the kernel's code.
    explicit ZKFileQueue(String const& name);

    ~ZKFileQueue() override;

    /// "name (address)"
    String getLockName() const override;

    /// Makes the observer's file non-blocking and watches it. The result is the kernel's; the observer counts even on
    /// failure.
    XCode addFileObserver(ZK::FileObserverIf* observer);

    /// Watches the observer's file no longer and skips its callbacks that are due in the present batch. A caller on
    /// another thread than the loop's must be synchronised to the loop if no callback may run once this has returned.
    void removeFileObserver(ZK::FileObserverIf* observer);

    /// Has the kernel report the observer's file anew if it is ready, as it does when it is added, for the events that the
    /// observer asks for now. The code of ENOENT if it isn't watched.
    XCode rearmFileObserver(ZK::FileObserverIf* observer);

    /// Sleeps until a file is ready and serves up to `BATCH_SIZE` of them.
    void waitForFileActivity();

    /// False if the kernel refused an epoll set.
    bool isOpen() const { return m_epollFd >= 0; }

    unsigned int getObserverCount() const { return m_observerCount.load(std::memory_order_relaxed); }

    unsigned int getProcessedEvents() const { return m_processedEvents.load(std::memory_order_relaxed); }

    unsigned int getSkippedError() const { return m_skippedError.load(std::memory_order_relaxed); }

    unsigned int getSkippedHangup() const { return m_skippedHangup.load(std::memory_order_relaxed); }

    unsigned int getSkippedRead() const { return m_skippedRead.load(std::memory_order_relaxed); }

    unsigned int getSkippedWrite() const { return m_skippedWrite.load(std::memory_order_relaxed); }

    /// Ready files whose observer was removed by an earlier callback of the same batch.
    unsigned int getDisabledPending() const { return m_disabledPending.load(std::memory_order_relaxed); }

private:
    struct ReadyFile
    {
        std::atomic<ZK::FileObserverIf*> observer;
        std::atomic<uint32_t> mask;
    };

    int fetchBatch();
    void dispatch(ReadyFile const& file);

    String m_name;
    int m_epollFd;
    std::array<ReadyFile, BATCH_SIZE> m_events; // the present batch; removers on other threads clear entries
    std::atomic<int> m_eventCount;
    std::atomic<ZK::FileObserverIf*> m_currentObserver;
    std::atomic<uint32_t> m_observerCount;
    std::atomic<unsigned int> m_processedEvents;
    std::atomic<unsigned int> m_skippedError;
    std::atomic<unsigned int> m_skippedHangup;
    std::atomic<unsigned int> m_skippedRead;
    std::atomic<unsigned int> m_skippedWrite;
    std::atomic<unsigned int> m_disabledPending;
};
