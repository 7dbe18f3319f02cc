#pragma once

#include <cerrno>
#include <unistd.h>

namespace ZK::Detail
{
/// What `call` returns, which is made once more after each interruption by a signal. Negative is a failure, as in `errno`.
template <class Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Closes `fd`, unless it is -1, and makes it so.
inline void closeFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}
}
