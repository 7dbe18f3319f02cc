#pragma once

#include "zekovar/diagnostics/monitor_id.h"

#include <atomic>
#include <limits>

namespace RTD
{
class Monitor;
}

namespace RTD::Detail
{
/// What a debug line by id looks at before anything else. It lies outside the monitors and the repository, so that a
/// line may be written before they exist and after they are gone, and it is only written when a level or a base monitor
/// changes, so that it stays in every processor's cache.
struct LogGate
{
    static constexpr int SHUT = std::numeric_limits<int>::min();

    std::atomic<int> debugLevel{SHUT};
    std::atomic<Monitor*> monitor{nullptr}; // counted only by the repository
};

extern LogGate s_logGates[RTD_MONITOR_COUNT];

/// The base monitor if `detailLevel` passes. No reference goes with it.
inline Monitor* passGate(RtdMonitorID id, int detailLevel) noexcept
{
    if (static_cast<unsigned int>(id) >= static_cast<unsigned int>(RTD_MONITOR_COUNT))
        return nullptr;
    LogGate const& gate = s_logGates[id];
    if (detailLevel > gate.debugLevel.load(std::memory_order_relaxed)) [[likely]]
        return nullptr;
    return gate.monitor.load(std::memory_order_acquire);
}
}
