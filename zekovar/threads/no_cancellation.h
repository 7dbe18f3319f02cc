#pragma once

#include <pthread.h>

namespace ZK::Detail
{
/// Puts off the cancellation of the calling thread for a scope: one that begins inside a destructor ends the process.
class [[nodiscard]] NoCancellation
{
public:
    NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }

    ~NoCancellation() { pthread_setcancelstate(m_before, nullptr); }

    NoCancellation(NoCancellation const&) = delete;
    NoCancellation& operator=(NoCancellation const&) = delete;

private:
    int m_before;
};
}
