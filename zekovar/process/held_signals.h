#pragma once

#include <csignal>

namespace ZK::Detail
{
/// Holds all signals back from the calling thread while it makes a child, so that no handler of this process runs in
/// the child, where it would act on what is the parent's: descriptors, and memory after `vfork`.
class [[nodiscard]] HeldSignals
{
public:
    HeldSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }

    ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

    HeldSignals(HeldSignals const&) = delete;
    HeldSignals& operator=(HeldSignals const&) = delete;

    /// For the child, right before `exec`: the signals that this process handles, and SIGPIPE, have their default
    /// effect, and all come again. Async-signal-safe.
    void releaseInChild() const
    {
        for (int signal = 1; signal < NSIG; ++signal)
        {
            struct sigaction action;
            if (sigaction(signal, nullptr, &action) != 0)
                continue; // the C library's own
            bool const isHandled = action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN;
            // programs don't expect what a daemon with fifos has done to SIGPIPE
            if (isHandled || (signal == SIGPIPE && action.sa_handler == SIG_IGN))
                std::signal(signal, SIG_DFL);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_before;
};
}
