#include "zekovar/files/memory_info.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <unistd.h>

using ZK::MemInfo;

namespace
{
String overviewOf(char const* text)
{
    MemInfo::Overview o;
    MemInfo::OVERVIEW_OF_TEXT(text, o);
    return listed(o.total, o.available, o.free, o.buffers, o.cached, o.shared, o.reclaimableSlab, o.unreclaimableSlab);
}
}

TEST(MemInfo, ReadsTheFiguresThatHaveALine)
{
    EXPECT_EQ(overviewOf("MemTotal:  500 kB\nMemFree:\t400 kB\nMemAvailable: 450 kB\r\nBuffers: 7 kB\nCached: 6 kB\n"
                         "SwapCached: 99 kB\nShmem: 5 kB\nSReclaimable: 4 kB\nSUnreclaim: 3 kB\nMemTotalX: 1"),
              "500|450|400|7|6|5|4|3");
    EXPECT_EQ(overviewOf("MemFree: 100\nBuffers: 20\nCached: 30\nShmem: 4\nSReclaimable: 3"), "0|149|100|20|30|4|3|0");
    EXPECT_EQ(overviewOf("Shmem: 4\nMemFree: 3"), "0|0|3|0|0|4|0|0") << "an estimate doesn't fall below 0";
    EXPECT_EQ(overviewOf("MemAvailable:\nMemFree: x\nCached: 4294967295 kB\n: 5\n\n"), "0|0|0|0|4294967295|0|0|0");

    MemInfo::Process p{1, 1, 1, 1};
    MemInfo::PROCESS_OF_TEXT("Name:\tVmPeak\nVmPeak:\t 9 kB\nVmSize:\t 8 kB\nVmHWM:\t 7 kB", p);
    EXPECT_EQ(listed(p.peakVirtualSize, p.virtualSize, p.peakResidentSize, p.residentSize), "9|8|7|0");
}

TEST(MemInfo, ReadsTheSystemsReports)
{
    MemInfo::Overview overview{};
    EXPECT_TRUE(MemInfo::OVERVIEW(overview));
    EXPECT_GT(overview.total, overview.free);

    MemInfo::Process process{};
    EXPECT_TRUE(MemInfo::PROCESS(getpid(), process));
    EXPECT_GT(process.residentSize, 0u);
    EXPECT_EQ(MemInfo::PROCESS(INT_MAX, process).getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_EQ(process.residentSize, 0u);
}
