#include "zekovar/foundation/xcode.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/system_code.h"

#include <gtest/gtest.h>

namespace
{
uintptr_t wordOf(XCode const& code)
{
    return reinterpret_cast<uintptr_t const&>(code); // its only member
}
}

TEST(XCode, NumberAloneStaysInTheWord)
{
    EXPECT_TRUE(wordOf(XCode(0)) == 1 && wordOf(XCODE_FAILURE) == 0xFFFFFFFF);
    XCode code(XCODE_HTTP + 404);
    code.extendString("", ": ");
    code += XCODE_FAILURE;
    EXPECT_EQ(wordOf(code), 0x28000329u) << "an empty text attaches nothing";
    EXPECT_EQ(code.getRawValue(), 0x14000194u);
}

TEST(XCode, IsTrueInAConditionAndEqualByItsValueAlone)
{
    XCode failure = XCODE_FAILURE;
    failure.setStringF("%s %d", "text", 2);
    EXPECT_FALSE(failure ? true : false);
    EXPECT_EQ(failure, XCODE_FAILURE) << "texts play no part";
    failure.value() = XCODE_SUCCESS;
    EXPECT_TRUE(failure ? true : false);
    EXPECT_EQ(failure.toString(), "text 2");
}

TEST(XCode, CopiesOwnTheirTextAndMovesHandItOn)
{
    XCode original(XCODE_EXIT + 3);
    original.setString("a text that doesn't fit inline");
    XCode copy(original);
    original.setString("changed");
    EXPECT_EQ(copy.toString(), "a text that doesn't fit inline");

    XCode moved(std::move(copy));
    EXPECT_EQ(moved.toString(), "a text that doesn't fit inline");
    EXPECT_EQ(wordOf(copy), 0u);
    EXPECT_EQ(XCode(copy).toString(), "") << "a moved-from code may be copied";
    moved = original;
    EXPECT_EQ(moved.toString(), "changed");
    moved = XCODE_FAILURE;
    EXPECT_EQ(wordOf(moved), 0xFFFFFFFFu) << "a value alone drops the record";
}

TEST(XCode, ContextsGoInFrontOfTheTextAndANewValueKeepsIt)
{
    XCode code(XCODE_ERRNO + 2);
    for (char const* context : {"INNER", "MIDDLE", "OUTER "})
        code.extendString(context, ": ");
    EXPECT_EQ(code.getRawValue(), 0x11000002u);
    code.setValue(XCode(7));
    EXPECT_EQ(code.getRawValue(), 7u);
    EXPECT_EQ(code.toString(), "OUTER MIDDLE: INNER");
}

TEST(XCode, CollectsTextsAndKeepsTheFirstFailure)
{
    XCode code;
    code.append("abc", XCodeValue(5), ", ");
    EXPECT_EQ(code.getRawValue(), 5u);
    code.append("def", XCodeValue(7), ", ");
    code.append("", XCodeValue(8), ", ");
    EXPECT_EQ(code.getRawValue(), 5u);
    XCode other(7);
    other.setString("ghi");
    code += other;
    code += XCODE_SUCCESS;
    EXPECT_EQ(code.toString(), "abc, def\nghi");
    other += other;
    EXPECT_EQ(other.toString(), "ghi\nghi");
}

TEST(XCode, ValueWithoutTextDescribesItself)
{
    EXPECT_EQ(XCode(XCODE_ERRNO + ENOENT).toString(), "NO SUCH FILE OR DIRECTORY (2)");
    EXPECT_EQ(XCode(XCODE_HTTP + 404).toString(), "HTTP RESPONSE 404");
    EXPECT_EQ(XCode(XCODE_EXIT + 127).toString(), "PROGRAM EXIT WITH 127");
    EXPECT_EQ(XCode(XCODE_SIGNAL + 9).toString(), "INTERNAL ERROR");
}

TEST(XCode, TurnsResultsOfTheSystemIntoCodes)
{
    errno = ENOENT;
    EXPECT_EQ(ZK::Detail::codeOfResult(-1).getRawValue(), 0x11000002u);
    EXPECT_TRUE(ZK::Detail::codeOfResult(0) && ZK::Detail::codeOfErrno(0));
    errno = 0;
    EXPECT_TRUE(ZK::Detail::codeOfResult(-1).isErr());
    EXPECT_EQ(ZK::Detail::codeOfErrno(EBUSY).getRawValue(), 0x11000000u + EBUSY);
    EXPECT_EQ(testExpression(static_cast<int const*>(nullptr)), XCODE_FAILURE);
}
