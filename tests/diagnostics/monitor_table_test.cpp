#include "zekovar/diagnostics/monitor_table.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

TEST(MonitorTable, EveryRowHasItsLevelAndANameAndAPromptOfItsOwn)
{
    std::map<int, int> rowsOfLevel;
    std::map<std::string, int> idOfName;
    std::set<std::string> prompts;
    for (int id = 0; id <= RTD_MONITOR_COUNT; id++)
    {
        RtdMonitorInfo const& info = *getRtdMonitorInfo(static_cast<RtdMonitorID>(id));
        bool const isUsed = id != 140 && id != RTD_MONITOR_COUNT;
        bool const isPermanent = info.maxDebugLevel < -1;
        rowsOfLevel[info.maxDebugLevel] += id < RTD_MONITOR_COUNT ? 1 : 0;
        EXPECT_EQ(idOfName.emplace(info.name, id).second, id != RTD_MONITOR_COUNT) << info.name;
        EXPECT_EQ(prompts.emplace(info.prompt, 0, 10).second, id != RTD_MONITOR_COUNT) << info.prompt;
        for (char const* text : {info.name, info.prompt, info.description})
            EXPECT_EQ(*text != '\0', isUsed) << id;
        EXPECT_EQ(info.severityMask, !isUsed || id == MON_NO                                      ? 0u
                                     : isPermanent && id != MON_SUPERVISOR && id != MON_SIP_STACK ? 127u
                                                                                                  : 255u);
        EXPECT_EQ(info.defaultLevel, isPermanent ? info.maxDebugLevel : id == MON_CCTEST ? 3 : isUsed ? -1 : 0) << id;
        EXPECT_EQ(info.subMonitors[0], id == MON_MG_SWITCH ? MON_TSI : MON_NO) << id;
    }
    EXPECT_EQ(rowsOfLevel, (std::map<int, int>{
                               {-3, 1}, {-2, 6}, {-1, 1}, {0, 29}, {1, 9}, {3, 24}, {4, 1}, {5, 83}, {7, 7}, {9, 23}}));
    EXPECT_EQ(idOfName["job"], 8);
    EXPECT_EQ(idOfName["cctest"], 183);
    EXPECT_EQ(idOfName["larksp-tr"], MON_LARKSP_TR);
}
