#pragma once

#include "zekovar/foundation/error.h"

/// The three priorities of an event loop's queues, most urgent first.
class EventPrio
{
public:
    enum Type
    {
        HIGH = 0,
        NORMAL = 1,
        LOW = 2
    };

    static constexpr unsigned int COUNT = 3;

    /// "high", "normal" or "low"; `ERROR::INVALID` for a number that is no priority.
    static char const* NAME(Type priority);
};
