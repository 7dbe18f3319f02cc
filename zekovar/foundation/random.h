#pragma once

#include "zekovar/files/file.h"

/// The kernel's source of random bytes, read through the operations of `ZKFile`; the last handle closes it.
///
///     unsigned int number = 0;
///     XCode code = ZKRandom(false).readFixedSize(&number, sizeof(number), true);
class ZKRandom : public ZKFile
{
public:
    static constexpr char const* DEV_RANDOM = "/dev/random";
    static constexpr char const* U_DEV_RANDOM = "/dev/urandom";

    /// Opens `DEV_RANDOM`, which may block until the kernel has gathered enough, or `U_DEV_RANDOM`, which doesn't. If
    /// it can't be opened the file stays closed, and reading fails.
    explicit ZKRandom(bool blocking);

    bool isBlockingDevice() const { return m_blocking; }

private:
    bool m_blocking;
};
