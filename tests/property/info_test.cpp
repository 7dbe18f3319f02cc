#include "tests/info_lines.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <climits>

using ZK::Property::Value;

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

TEST(InfoContainer, PropertyValueNestsByLevel)
{
    // the second "A" is a new object, and the "B" of the first one no place any more; "D" still is one below "C"
    InfoContainer const report =
        reportOf("0 A=x|1 B|2 gone|0 leaf=1|0 A=x|2 lost=1|1 e=3|1 none|1 D|2 d=4|0 C|2 late=5|0 leaf=2");
    testing::internal::CaptureStdout();
    Value const value = report.toPropertyValue();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "*** Add header: 0: A: x\n*** Add header: 1: B\n*** Add header: 0: A: x\n"
              "*** Add header: 1: D\n*** Add header: 0: C\n");
    EXPECT_EQ(value.toString(), "{A: x:{e:3,none:true,D:{d:4,late:5}},leaf:2,C:{}}");
    EXPECT_TRUE(value["A: x"]["none"].isNull() && value["leaf"].asString() != nullptr);
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
    testing::internal::CaptureStdout();
    EXPECT_EQ(report.toPropertyValue().toString(),
              String::repeat("{: a\nb:", 64).concat("{}").concat(String::repeat("}", 64)));
    testing::internal::GetCapturedStdout();
}

TEST(PropertyValueInfo, LinesFollowTheNestingWithinTheBounds)
{
    Value value;
    value["n"] = 5;
    value["list"] = {"x", nullptr};
    value["list"][2]["in"] = true;
    InfoContainer property;
    addInfoProperty(property, 9, 1, 7, 7, "k", value);
    EXPECT_EQ(linesOf(property), "1 k|2 n=5|2 list|3 0=x|3 1=true|3 2|4 in=true");
    InfoContainer own;
    value.getInfo(own, 9, 1, 7, 7, "k");
    value["list"].getInfo(own, 1, 1, 7, 7, "");
    Value("text").getInfo(own, 1, 1, 7, 7, "");
    Value(TString<char>("z", 1)).getInfo(own, 1, 1, 7, 7, "b");
    EXPECT_EQ(linesOf(own),
              String("1 k|2 n=5|2 list[0]=x|2 list[1]=true|2 list[2]|3 in=true|1 0=x|1 1=true|1 2|1 text|1 b=")
                  .concat(String::HEX_DUMP("z", 1, 7)));

    InfoContainer edges;
    for (unsigned int maxLevel : {1u, UINT_MAX})
    {
        addInfoProperty(edges, maxLevel, UINT_MAX, 7, 7, "k", value);
        value.getInfo(edges, maxLevel, UINT_MAX, 7, 7, "k");
        addInfoProperty(edges, maxLevel, 0, 6, 7, "k", value);
        value.getInfo(edges, maxLevel, 0, 6, 7, "k");
    }
    EXPECT_EQ(linesOf(edges), "4294967295 k|4294967295 k") << "no number is left for a deeper level";
    for (int i = 0; i < 100000; ++i)
        value = {std::move(value)};
    property.clear();
    addInfoProperty(property, UINT_MAX, 0, 0, 0, "", value);
    EXPECT_EQ(property.size(), 513u);
}
