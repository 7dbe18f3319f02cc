#pragma once

#include "zekovar/diagnostics/monitor_id.h"

/// What is known of one kind of monitor. Constant; the texts are never null.
struct RtdMonitorInfo
{
    static constexpr int MAX_SUB_MONITORS = 8;

    /// As users type it; unique.
    char const* name;

    /// What log lines of the monitor begin with. `RTD::BUILD_LOG_PROMPT` cuts and pads it to ten characters, by which
    /// no two monitors are alike.
    char const* prompt;

    char const* description;

    /// A syslog facility word, or empty. The library doesn't read it.
    char const* facility;

    /// Bit `n` stands for the syslog severity `n`. The library shows it only.
    unsigned severityMask;

    /// The highest level that a session can have. -1: no session enables the monitor. Below -1: it is permanent and
    /// logs everything, with or without sessions.
    int maxDebugLevel;

    /// The level at the start of a program, -1 for none; the same as `maxDebugLevel` for a permanent monitor. The
    /// library doesn't read it.
    int defaultLevel;

    /// Further monitors tied to this one, ended by 0 unless all places are taken.
    RtdMonitorID subMonitors[MAX_SUB_MONITORS];
};

/// The row of `id`, which is 0 to `RTD_MONITOR_COUNT` and isn't checked. The row of `RTD_MONITOR_COUNT` ends the table:
/// as that of an unused number, its texts are empty and its numbers 0. Safe from every thread and at any time.
RtdMonitorInfo const* getRtdMonitorInfo(RtdMonitorID id);
