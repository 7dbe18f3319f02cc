#include "tests/info_lines.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <climits>

namespace
{
constexpr auto TREE = &InfoContainer::getString_TreeFormat;
constexpr auto LIST = &InfoContainer::getString_ListFormat;
constexpr auto FOLDER = &InfoContainer::getString_FolderFormat;

template <class... Arguments>
String shown(InfoContainer const& report, void (InfoContainer::*layout)(String&, Arguments...) const,
             std::type_identity_t<Arguments>... arguments)
{
    String text = "replaced";
    (report.*layout)(text, arguments...);
    return text;
}
}

TEST(InfoContainer, TreeIndentsAlignsUnderlinesAndSpaces)
{
    EXPECT_EQ(shown(reportOf("0 System|1 Uptime=12|1 Ports=2|2 eth0=up\ndown|2 longer than the column=x|"
                             "1 =no colon|0 End=done"),
                    TREE, 12, 2, 2),
              "System\n"
              "======\n\n"
              "  Uptime:   12\n\n"
              "  Ports: 2\n"
              "  --------\n\n"
              "    eth0:   up\n"
              "      down\n"
              "    longer than the column: x\n\n"
              "            no colon\n\n"
              "End:        done\n");
}

TEST(InfoContainer, TablesHaveTheirColumnsByRecordAndByKey)
{
    InfoContainer const report = reportOf("0 Ports=all|1 Name=eth0.12|2 State=up|3 MTU=deep|2 Max MTU A=1500|2 Name=no|"
                                          "1 Other=x|2 State=bad|1 Name=lo|2 Max MTU A=9|2 New");
    EXPECT_EQ(shown(report, LIST), "Ports\n"
                                   "=====\n\n"
                                   "Name  State  Max MTU A  Name\n"
                                   "----------------------------\n"
                                   "eth0  up     1500       no  \n"
                                   "lo           9              \n");
    EXPECT_EQ(shown(report, FOLDER, 2, true), "Ports: all\n"
                                              "==========\n\n"
                                              "Name     State  Max   Name  Other  New\n"
                                              "                MTU                   \n"
                                              "                A                     \n"
                                              "--------------------------------------\n"
                                              "eth0.12  up                           \n"
                                              "                1500  no              \n"
                                              "         bad                x         \n"
                                              "lo              9                     \n");
    EXPECT_EQ(shown(reportOf("1 A B C=12345|1 D"), FOLDER, 1, true), "A B    D\nC       \n--------\n12345   \n");
    EXPECT_EQ(shown(reportOf("1 A B C=12"), FOLDER, 1, false), "A B C\n-----\n12   \n");
}

TEST(InfoContainer, TablesHaveAtMost32Columns)
{
    InfoContainer report = reportOf("1 0=x");
    for (int i = 1; i < 40; ++i)
        report.add(2, 0, String::stringOf(i), "x");
    report.add(0, 0, "title", "");
    ZKVector<String> lines;
    shown(report, FOLDER, 2, false).splitAtString(lines, "\n");
    EXPECT_TRUE(lines.size() == 3 && lines[0].endsWith("  30  31") && lines[2].endsWith("x   x "));
    shown(report, LIST).splitAtString(lines, "\n");
    EXPECT_TRUE(lines[0] == "title" && lines[2].endsWith("  30  31") && lines[4].endsWith("x   x "));
}

TEST(InfoContainer, AnyLevelsAndWidthsGiveTextOfSaneLength)
{
    InfoContainer const none;
    EXPECT_EQ(listed(shown(none, TREE, 9, 9, 9), shown(none, LIST), shown(none, FOLDER, 9, true),
                     shown(none, FOLDER, 9, false)),
              "|||");
    EXPECT_EQ(shown(reportOf("130 k=v"), TREE, 1000, 0, 0).length(), 250 + 2 + 250 + 2);

    InfoContainer report;
    for (unsigned int level = 0; level < 200; ++level)
        report.add(level, 0, "", "a\nb");
    report.add(UINT_MAX, 0, String::repeat("k", 300), "a\nb");
    report.add(UINT_MAX - 1, 0, report[200].key, "");
    int const limit = 201 * 4 * 260;
    EXPECT_LT(shown(report, TREE, UINT_MAX, UINT_MAX, UINT_MAX).length(), limit);
    EXPECT_LT(shown(report, LIST).length(), limit);
    EXPECT_LT(shown(report, FOLDER, UINT_MAX, true).length(), limit);
}
