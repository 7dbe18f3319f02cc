#include "zekovar/crypto/password.h"

#include "tests/string_printer.h"
#include "zekovar/crypto/crypto_utilities.h"
#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(Password, IsReadBack)
{
    std::string const text = std::string(300, 'x');
    for (int length : {0, 5, 6, 13, 14, 27, 255})
    {
        String const password(text.c_str(), 0, length);
        String stored, out = "unset";
        EXPECT_TRUE(encryptPassword(password, stored));
        EXPECT_EQ(stored.length(), ((length + 10) / 8 * 8 + 2) / 3 * 4);
        EXPECT_EQ(stored == "AImt0pLMLxU=", length == 0) << "what a device stored is readable ever after";
        EXPECT_TRUE(decryptPassword(stored, out));
        EXPECT_EQ(out, password);
    }
}

TEST(Password, WhatIsNoneLeavesTheResultAlone)
{
    TString<unsigned char> bytes;
    String stored, out = "unset";
    encryptPassword("thirteen char", stored);
    Base64::decode(bytes, stored);
    for (int size = 0; size < 16; ++size)
    {
        Base64::encode(bytes.data(), static_cast<unsigned int>(size), 0, stored);
        EXPECT_EQ(decryptPassword(stored, out), XCODE_FAILURE) << size;
    }
    bytes.data()[15] ^= 1;
    Base64::encode(stored, bytes, 0);
    EXPECT_TRUE(decryptPassword(stored, out)) << "damage isn't reported";
    EXPECT_EQ(out, "unset");
}

TEST(CryptoUtilities, HexadecimalDigitsBecomeBytesAndBack)
{
    CryptoUtilities utilities;
    unsigned char bytes[4];
    char text[9];
    EXPECT_TRUE(utilities.parseHex2Char("00fFA57b", 8, bytes, 4));
    EXPECT_TRUE(utilities.parseChar2Hex(bytes, 4, text, 9));
    EXPECT_STREQ(text, "00ffa57b");
    EXPECT_EQ(utilities.parseChar2Hex(bytes, 4, text, 8), XCODE_FAILURE);
    EXPECT_EQ(utilities.parseHex2Char("00fFA57b", 8, bytes, 3), XCODE_FAILURE);
    for (char const* bad : {"0g", " 1", "-1", "0x", "1", "123"})
        EXPECT_EQ(utilities.parseHex2Char(bad, static_cast<int>(std::strlen(bad)), bytes, 4), XCODE_FAILURE) << bad;
}
