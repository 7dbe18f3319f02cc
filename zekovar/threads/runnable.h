#pragma once

#include "zekovar/foundation/xcode.h"

/// What a thread runs.
class ZKRunnable
{
public:
    virtual ~ZKRunnable() = default;

    /// Runs on the new thread, once for each start. The thread drops the result.
    virtual XCode runThread() = 0;
};
