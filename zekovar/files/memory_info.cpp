#include "zekovar/files/memory_info.h"

#include "zekovar/files/file.h"
#include "zekovar/foundation/tokenizer.h"

#include <algorithm>
#include <fcntl.h>
#include <iterator>

namespace
{
template <class T>
struct Row
{
    char const* key;
    uint32_t T::*field;
};

using ZK::MemInfo;

constexpr Row<MemInfo::Overview> OVERVIEW_ROWS[] = {{"MemTotal", &MemInfo::Overview::total},
                                                    {"MemAvailable", &MemInfo::Overview::available},
                                                    {"MemFree", &MemInfo::Overview::free},
                                                    {"Buffers", &MemInfo::Overview::buffers},
                                                    {"Cached", &MemInfo::Overview::cached},
                                                    {"Shmem", &MemInfo::Overview::shared},
                                                    {"SReclaimable", &MemInfo::Overview::reclaimableSlab},
                                                    {"SUnreclaim", &MemInfo::Overview::unreclaimableSlab}};

constexpr Row<MemInfo::Process> PROCESS_ROWS[] = {{"VmPeak", &MemInfo::Process::peakVirtualSize},
                                                  {"VmSize", &MemInfo::Process::virtualSize},
                                                  {"VmHWM", &MemInfo::Process::peakResidentSize},
                                                  {"VmRSS", &MemInfo::Process::residentSize}};

/// Sets the fields that the text has lines for; returns whether one of them was for `wanted`.
template <class T, std::size_t COUNT>
bool readRows(String const& text, Row<T> const (&rows)[COUNT], T& figures, uint32_t T::*wanted)
{
    bool isFound = false;
    figures = {};
    StringTokenizer lines(text, "\r\n");
    for (String line; lines.nextToken(line);)
    {
        StringTokenizer words(line, ": \t");
        String key, number;
        words.nextToken(key);
        words.nextToken(number);
        auto const row = std::find_if(std::begin(rows), std::end(rows),
                                      [&key](Row<T> const& candidate) { return key.equals(candidate.key); });
        if (row == std::end(rows))
            continue;
        figures.*row->field = number.toUInt();
        isFound = isFound || row->field == wanted;
    }
    return isFound;
}

/// What the kernel could give without swapping.
uint32_t estimateAvailable(MemInfo::Overview const& overview)
{
    int64_t const estimate =
        int64_t{overview.free} + overview.buffers + overview.cached + overview.reclaimableSlab - overview.shared;
    return static_cast<uint32_t>(std::clamp<int64_t>(estimate, 0, UINT32_MAX));
}

XCode readFile(String const& path, String& text)
{
    ZKFile file(path, true, false);
    XCode code = file.open(O_RDONLY, 0644, ZKFile::XO_NONE);
    bool eof;
    return code ? file.read(text, eof, true) : code;
}
}

namespace ZK
{
XCode MemInfo::OVERVIEW(Overview& overview)
{
    overview = {};
    String text;
    XCode code = readFile("/proc/meminfo", text);
    if (code)
        OVERVIEW_OF_TEXT(text, overview);
    return code;
}

XCode MemInfo::PROCESS(int pid, Process& process)
{
    process = {};
    String text;
    XCode code = readFile(String::stringOfFormat("/proc/%d/status", pid), text);
    if (code)
        PROCESS_OF_TEXT(text, process);
    return code;
}

void MemInfo::OVERVIEW_OF_TEXT(String const& text, Overview& overview)
{
    if (!readRows(text, OVERVIEW_ROWS, overview, &Overview::available))
        overview.available = estimateAvailable(overview);
}

void MemInfo::PROCESS_OF_TEXT(String const& text, Process& process)
{
    readRows(text, PROCESS_ROWS, process, {});
}
}
