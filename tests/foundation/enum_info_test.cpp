#include "zekovar/foundation/enum_info.h"

#include <gtest/gtest.h>

TEST(EnumInfo, NumbersThatAreNoValueAreInvalid)
{
    static constexpr char const* NAMES[] = {"red", "green"};
    EXPECT_STREQ(ZK::Detail::nameOfValue(NAMES, 1), "green");
    EXPECT_STREQ(ZK::Detail::nameOfValue(NAMES, 2), "(invalid)");
    EXPECT_STREQ(ZK::Detail::nameOfValue(NAMES, -1), "(invalid)");
}
