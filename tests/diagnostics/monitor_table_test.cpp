#include "zekovar/diagnostics/monitor_table.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

namespace
{
RtdMonitorInfo const& row(int id)
{
    return *getRtdMonitorInfo(static_cast<RtdMonitorID>(id));
}

constexpr int UNUSED = 140;
}

TEST(MonitorTable, EveryRowHasItsLevelAndANameOfItsOwn)
{
    std::map<int, int> rowsOfLevel;
    std::set<std::string> names;
    for (int id = 0; id < RTD_MONITOR_COUNT; id++)
    {
        RtdMonitorInfo const& info = row(id);
        rowsOfLevel[info.maxDebugLevel]++;
        if (id == UNUSED)
            continue;
        EXPECT_TRUE(names.insert(info.name).second) << info.name;
        EXPECT_TRUE(*info.name != '\0' && *info.prompt != '\0' && *info.description != '\0') << id;
        EXPECT_EQ(info.severityMask, id == MON_NO ? 0u : id < MON_TEST && id != MON_SUPERVISOR ? 127u : 255u) << id;
        EXPECT_EQ(info.defaultLevel, id == MON_CCTEST ? 3 : info.maxDebugLevel < -1 ? info.maxDebugLevel : -1) << id;
        EXPECT_EQ(info.subMonitors[0], id == MON_MG_SWITCH ? MON_TSI : MON_NO) << id;
    }
    EXPECT_EQ(rowsOfLevel, (std::map<int, int>{
                               {-3, 1}, {-2, 6}, {-1, 1}, {0, 29}, {1, 9}, {3, 24}, {4, 1}, {5, 83}, {7, 7}, {9, 23}}));
    for (int id : {UNUSED, RTD_MONITOR_COUNT})
    {
        EXPECT_STREQ(row(id).name, "");
        EXPECT_EQ(row(id).maxDebugLevel, 0);
        EXPECT_EQ(row(id).severityMask, 0u);
    }
}

TEST(MonitorTable, NumbersKeepTheirNames)
{
    std::map<int, char const*> const names = {{0, "no"},
                                              {MON_JOB, "job"},
                                              {8, "job"},
                                              {MON_MV88E606X, "mv88e606x"},
                                              {30, "mv88e606x"},
                                              {67, "sip-stack"},
                                              {MON_R2_SIGNALING, "r2-signaling"},
                                              {55, "r2-signaling"},
                                              {109, "dot1x"},
                                              {139, "orbitms-onboard"},
                                              {141, "orbitms-cc"},
                                              {MON_LARKSP_TR, "larksp-tr"},
                                              {178, "larksp-tr"},
                                              {183, "cctest"}};
    for (auto const& [id, name] : names)
        EXPECT_STREQ(row(id).name, name);
    EXPECT_STREQ(row(MON_BGP_EVENT).facility, "local0");
    EXPECT_STREQ(row(MON_SIP_STACK_TRANSACTION).prompt, "SIP-STK-TRNSCT");
}
