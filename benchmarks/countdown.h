#pragma once

#include <atomic>

/// Lets the benchmark's thread sleep until the other threads have done a whole batch.
class Finish
{
public:
    void signal()
    {
        m_done.store(true, std::memory_order_release);
        m_done.notify_one();
    }

    void wait()
    {
        m_done.wait(false, std::memory_order_acquire);
        m_done.store(false, std::memory_order_relaxed);
    }

private:
    std::atomic<bool> m_done{false};
};

/// Ends a batch at its last call.
struct Countdown
{
    int left = 0;
    Finish finish;

    /// False in the last call; the batch may be followed by the next one at once.
    bool call()
    {
        if (--left != 0)
            return true;
        finish.signal();
        return false;
    }

    static void CALL(void* countdown) { static_cast<Countdown*>(countdown)->call(); }
};
