#include "zekovar/net/mac_address.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

static_assert(alignof(MacAddr) == 1 && std::is_trivially_copyable_v<MacAddr>);

TEST(MacAddr, TextAndBytesAreTwoFormsOfOneAddress)
{
    unsigned char const bytes[] = {0x00, 0x90, 0xf8, 0x01, 0x02, 0xff};
    MacAddr address(bytes);
    EXPECT_EQ(listed(MacAddr().toString(), static_cast<String>(address)), "00:00:00:00:00:00|00:90:f8:01:02:ff");
    EXPECT_TRUE(MacAddr("0:90:F8:1:02:Ff and more") == address && address == bytes);
    EXPECT_FALSE(address.set("11:22:xx:44:55:66"));
    EXPECT_EQ(address.toString(), "11:22:f8:01:02:ff") << "what was read before the failure stays";
    for (char const* text : {"", ":", "11-22-33-44-55-66", "1:2:3:4:5", "123:1:1:1:1:1"})
        EXPECT_FALSE(address.set(text)) << text;
}
