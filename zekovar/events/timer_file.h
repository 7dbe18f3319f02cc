#pragma once

#include "zekovar/files/file.h"

namespace ZK::Detail
{
/// Opens a timer on the monotonic clock, non-blocking and close-on-exec, in `file`. On failure a line goes to the
/// system monitor.
XCode openTimer(ZKFile& file);

/// The first expiry comes in `milliseconds`, and with `periodic` one each such time from then on. 0 disarms. An expiry
/// that nobody has read yet is forgotten.
XCode armTimer(ZKFile const& file, unsigned int milliseconds, bool periodic);

/// Takes the expiries since the last call; the code of `EAGAIN` if there are none.
XCode takeExpiries(ZKFile const& file);
}
