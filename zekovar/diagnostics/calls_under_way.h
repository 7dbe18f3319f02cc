#pragma once

#include <atomic>

namespace ZK::Detail
{
/// The calls into an object that another thread may want to end before it destroys what they work on.
///
/// A caller makes a `Call` and looks behind it whether it may still call; the other thread forbids that first and waits
/// then. Without calls on other threads that costs a load.
class CallsUnderWay
{
public:
    /// One call, for a scope. Belongs to its thread; the counter must outlive it.
    class [[nodiscard]] Call
    {
    public:
        explicit Call(CallsUnderWay& calls);

        Call(Call const&) = delete;
        Call& operator=(Call const&) = delete;

        ~Call();

    private:
        friend class CallsUnderWay;

        CallsUnderWay& m_calls;
        Call const* m_outer; // of this thread, whatever it calls into
    };

    /// Blocks until the calls that are under way on other threads have returned. Those that the caller is in itself
    /// don't count.
    void waitForOthers() const;

private:
    std::atomic<unsigned int> m_count{0};
};
}
