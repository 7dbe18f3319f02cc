#pragma once

#include "zekovar/foundation/time.h"

namespace ZK::Detail
{
/// The monotonic time, as an event's statistics need it: up to 50 microseconds old, at a third of the kernel clock's price.
///
/// The processor's own counter tells whether the calling thread's last reading is still young enough. Where there is no such
/// counter, every call reads the clock. Safe from all threads.
Time eventTime();
}
