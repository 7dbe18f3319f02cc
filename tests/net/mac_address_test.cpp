#include "zekovar/net/mac_address.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

static_assert(sizeof(MacAddr[2]) == 12 && alignof(MacAddr) == 1 && std::is_trivially_copyable_v<MacAddr>);

TEST(MacAddr, TextAndBytesAreTwoFormsOfOneAddress)
{
    unsigned char const bytes[] = {0x00, 0x90, 0xf8, 0x01, 0x02, 0xff};
    MacAddr address(bytes);
    EXPECT_EQ(listed(MacAddr().toString(), static_cast<String>(address)), "00:00:00:00:00:00|00:90:f8:01:02:ff");
    EXPECT_TRUE(MacAddr("0:90:F8:1:02:Ff and more") == address && address == bytes);
    address[5] = 3;
    EXPECT_TRUE(address != bytes && address != MacAddr(bytes) && static_cast<MacAddr const&>(address)[5] == 3);
    EXPECT_TRUE((address = bytes) == MacAddr(bytes));
}

TEST(MacAddr, WhatWasReadBeforeAFailureStays)
{
    MacAddr address("00:90:f8:01:02:ff");
    EXPECT_FALSE(address.set("11:22:xx:44:55:66"));
    EXPECT_FALSE(address.set(String("1:2:3\0:4:5:6", 12, 0, 12))) << "a zero ends the text";
    EXPECT_EQ(address.toString(), "01:02:03:01:02:ff");
    for (char const* text : {"", ":", "11-22-33-44-55-66", "1:2:3:4:5", "123:1:1:1:1:1"})
        EXPECT_FALSE(MacAddr().set(text)) << text;
    EXPECT_EQ(MacAddr("a:b").toString(), "0a:0b:00:00:00:00");
}
