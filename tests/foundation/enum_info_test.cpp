#include "zekovar/foundation/enum_info.h"

#include <gtest/gtest.h>

namespace
{
enum class Colour
{
    RED,
    GREEN
};
}

template <>
char const* ZKEnumInfo<Colour>::VALUE_NAME(Colour value)
{
    static constexpr char const* NAMES[] = {"red", "green"};
    return ZK::Detail::nameOfValue(NAMES, value);
}

TEST(EnumInfo, NumbersThatAreNoValueAreInvalid)
{
    EXPECT_STREQ(ZKEnumInfo<Colour>::VALUE_NAME(Colour::GREEN), "green");
    EXPECT_STREQ(ZKEnumInfo<Colour>::VALUE_NAME(Colour(2)), "(invalid)");
    EXPECT_STREQ(ZKEnumInfo<Colour>::VALUE_NAME(Colour(-1)), "(invalid)");
}
