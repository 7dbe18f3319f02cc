#include "zekovar/threads/backtrace_capture.h"

#include <cstdint>
#include <execinfo.h>
#include <ucontext.h>

namespace ZK::Detail
{
#if defined(__powerpc__) && !defined(__powerpc64__)
namespace
{
/// What every stack frame begins with. The link register is saved in the frame of the caller.
struct Frame
{
    Frame const* backChain;
    void* linkRegister;
};

class Walk
{
public:
    Walk(void** frames, unsigned int capacity) : m_frames(frames), m_capacity(capacity) {}

    int count() const { return static_cast<int>(m_count); }

    void add(void* address)
    {
        if (m_count < m_capacity)
            m_frames[m_count++] = address;
    }

    /// Adds the return addresses of at most `limit` frames, the newest first.
    void addChain(Frame const* frame, unsigned int limit)
    {
        auto const top = reinterpret_cast<uintptr_t>(frame);
        while (limit-- > 0 && m_count < m_capacity)
        {
            Frame const* const caller = isFrame(frame, top) ? frame->backChain : nullptr;
            if (caller <= frame || !isFrame(caller, top) || caller->linkRegister == nullptr)
                return;
            add(caller->linkRegister);
            frame = caller;
        }
    }

private:
    static constexpr uintptr_t ALIGNMENT = 16;
    static constexpr uintptr_t LARGEST_STACK = 8 * 1024 * 1024;

    static bool isFrame(Frame const* frame, uintptr_t top)
    {
        auto const address = reinterpret_cast<uintptr_t>(frame);
        return address != 0 && address % ALIGNMENT == 0 && address - top < LARGEST_STACK;
    }

    void** m_frames;
    unsigned int m_capacity;
    unsigned int m_count = 0;
};
}

// The unwinder doesn't get through a signal frame everywhere on this processor, so the back chain is walked by hand.
[[gnu::noinline]] void captureInterrupted(void** frames, unsigned int capacity, int& count, void const* context)
{
    constexpr unsigned int STACK_POINTER = 1;
    constexpr unsigned int NEXT_INSTRUCTION = 32;
    constexpr unsigned int OWN_FRAMES = 2;

    asm volatile("" ::: "lr"); // the return address is saved in the caller's frame, where the walk looks for it
    Walk walk(frames, capacity);
    walk.add(reinterpret_cast<void*>(&captureInterrupted));
    walk.addChain(static_cast<Frame const*>(__builtin_frame_address(0)), OWN_FRAMES);
    if (context != nullptr)
    {
        auto const& registers = static_cast<ucontext_t const*>(context)->uc_mcontext.uc_regs->gregs;
        walk.add(reinterpret_cast<void*>(registers[NEXT_INSTRUCTION]));
        walk.addChain(reinterpret_cast<Frame const*>(registers[STACK_POINTER]), capacity);
    }
    count = walk.count();
}
#else
[[gnu::noinline]] void captureInterrupted(void** frames, unsigned int capacity, int& count, void const*)
{
    count = backtrace(frames, static_cast<int>(capacity)); // no tail call, which would hide this frame
}
#endif
}
