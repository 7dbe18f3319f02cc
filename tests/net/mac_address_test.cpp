#include "zekovar/net/mac_address.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{
unsigned char const BYTES[] = {0x00, 0x90, 0xf8, 0x01, 0x02, 0xff};
}

static_assert(sizeof(MacAddr[2]) == 12 && alignof(MacAddr) == 1 && std::is_trivially_copyable_v<MacAddr>);

TEST(MacAddr, TextAndBytesAreTwoFormsOfOneAddress)
{
    EXPECT_EQ(MacAddr().toString(), "00:00:00:00:00:00");
    MacAddr address(BYTES);
    EXPECT_EQ(static_cast<String>(address), "00:90:f8:01:02:ff");
    EXPECT_TRUE(MacAddr("0:90:F8:1:02:Ff and more") == address && address == BYTES);
    address[5] = 3;
    EXPECT_TRUE(address != BYTES && address != MacAddr(BYTES));
    EXPECT_EQ(static_cast<MacAddr const&>(address)[5], 3);
    EXPECT_TRUE((address = BYTES) == MacAddr(BYTES));
}

TEST(MacAddr, WhatWasReadBeforeAFailureStays)
{
    MacAddr address(BYTES);
    EXPECT_FALSE(address.set("11:22:xx:44:55:66"));
    EXPECT_EQ(address.toString(), "11:22:f8:01:02:ff");
    for (char const* text : {"", ":", "11-22-33-44-55-66", "1:2:3:4:5", "123:1:1:1:1:1"})
        EXPECT_FALSE(MacAddr().set(text)) << text;
    EXPECT_FALSE(address.set(String("1:2:3\0:4:5:6", 12, 0, 12))) << "a zero ends the text";
    EXPECT_EQ(address.toString(), "01:02:03:01:02:ff");
    EXPECT_EQ(MacAddr("a:b").toString(), "0a:0b:00:00:00:00");
}
