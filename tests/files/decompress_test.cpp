#include "zekovar/files/decompress.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
/// 16 times "gateway ".
std::string const PACKED("\x78\xDA\x4B\x4F\x2C\x49\x2D\x4F\xAC\x54\x48\x1F\x20\x1A\x00\x6E\xC4\x31\x21", 19);

std::pair<int, std::string> unpack(std::string const& packed, std::size_t room = 128)
{
    std::string text(room, '\0');
    int const result = deCompress(text.data(), room, packed.data(), packed.size());
    return {result, text.substr(0, room)};
}
}

#ifdef ZEKOVAR_WITH_ZLIB

TEST(Decompress, TellsDataThatIsCorruptOrCutFromRoomThatIsTooSmall)
{
    EXPECT_EQ(unpack(PACKED + "behind").first, 0);
    EXPECT_EQ(unpack(PACKED).second.substr(108), "way gateway gateway ");
    EXPECT_EQ(unpack(PACKED, 12), std::pair(-5, std::string("gateway gate")));
    for (std::size_t const room : {0, 1, 127})
        EXPECT_EQ(unpack(PACKED, room).first, -5) << room;
    for (std::size_t size = 0; size < PACKED.size(); ++size)
        EXPECT_EQ(unpack(PACKED.substr(0, size)).first, -3) << size;
    for (std::size_t const place : {0, 1, 2, 15, 18})
    {
        std::string corrupt = PACKED;
        corrupt[place] = static_cast<char>(corrupt[place] ^ 0x10);
        EXPECT_EQ(unpack(corrupt).first, -3) << place;
    }
}

#else

TEST(Decompress, TellsThatTheLibraryHasNoZlib)
{
    EXPECT_EQ(unpack(PACKED), std::pair(-6, std::string()));
}

#endif
