#pragma once

#include "zekovar/foundation/xcode.h"

#include <cstdint>

class String;

namespace ZK
{
/// Memory figures of the system and of a process, as the kernel reports them below /proc.
///
///     ZK::MemInfo::Process process;
///     XCode code = ZK::MemInfo::PROCESS(getpid(), process);
///
/// All operations are safe from every thread. They set all fields: what a report doesn't tell is 0.
class MemInfo
{
public:
    /// Kilobytes.
    struct Overview
    {
        uint32_t total;
        uint32_t available; ///< without swapping; an old kernel doesn't tell and it is estimated
        uint32_t free;
        uint32_t buffers;
        uint32_t cached;
        uint32_t shared;
        uint32_t reclaimableSlab;
        uint32_t unreclaimableSlab;
    };

    /// Kilobytes. A kernel thread has none.
    struct Process
    {
        uint32_t peakVirtualSize;
        uint32_t virtualSize;
        uint32_t peakResidentSize;
        uint32_t residentSize;
    };

    /// Reads "/proc/meminfo". A failure is that of `open` or `read`, with all fields 0.
    static XCode OVERVIEW(Overview& overview);

    /// Reads "/proc/<pid>/status". As above; the code of ENOENT for a process that has gone.
    static XCode PROCESS(int pid, Process& process);

    /// The figures of a report that was read before. Lines that aren't of use are skipped, and a value that isn't a
    /// number is 0.
    static void OVERVIEW_OF_TEXT(String const& text, Overview& overview);
    static void PROCESS_OF_TEXT(String const& text, Process& process);
};
}
