#include "zekovar/foundation/tstring.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace
{

using Bytes = TString<char>;

std::string contentOf(Bytes const& bytes)
{
    return bytes.isEmpty() ? std::string() : std::string(bytes.data(), static_cast<std::size_t>(bytes.length()));
}

Bytes bytesOf(std::string const& text)
{
    return Bytes(text.data(), static_cast<int>(text.size()));
}

TEST(TString, AllocatesInSteps)
{
    auto const capacityFor = [](std::size_t length) { return bytesOf(std::string(length, 'x')).capacity(); };
    EXPECT_EQ(listed(capacityFor(0), capacityFor(23), capacityFor(24), capacityFor(56)), "24|24|56|88");
    Bytes const gapped("abc", 3, 100, 16);
    EXPECT_EQ(listed(gapped.capacity(), gapped.frontGap(), contentOf(gapped).c_str()), "120|16|abc");

    Bytes bytes;
    for (char character = 'a'; character <= 'y'; ++character)
        bytes += character;
    EXPECT_EQ(listed(bytes.capacity(), contentOf(bytes).c_str()), "56|abcdefghijklmnopqrstuvwxy");
}

TEST(TString, BadArgumentsChangeNothing)
{
    Bytes bytes(nullptr, 5, -1, -1);
    EXPECT_EQ(bytes.length(), 0);
    EXPECT_EQ(bytes[0], '\0');
    EXPECT_EQ(Bytes("abc", -3).length(), 0);
    EXPECT_EQ(Bytes("abc", 3, 0, std::numeric_limits<int>::max()).length(), 0);
    bytes = bytesOf("abc");
    bytes.insert(-1, "x", 1).insert(4, "x", 1).insert(0, nullptr, 1).insert(0, "x", 0);
    bytes.insert(1, "x", std::numeric_limits<int>::max())
        .deleteRegion(2, 1, true)
        .setLength(std::numeric_limits<int>::max());
    EXPECT_EQ(contentOf(bytes), "abc");
    EXPECT_EQ(listed(bytes[-5], bytes[1], bytes[3]), "a|b|c");
    bytes.setLength(-1);
    EXPECT_TRUE(bytes.isEmpty());
}

TEST(TString, FrontGapTakesAndGivesHeadersWithoutMovingThePayload)
{
    Bytes bytes("payload", 7, 0, 8);
    char const* const payload = bytes.data();
    bytes.insert(0, "head", 4);
    EXPECT_EQ(bytes.data() + 4, payload);
    EXPECT_EQ(contentOf(bytes), "headpayload");
    bytes.deleteRegion(-1, 4, true);
    EXPECT_EQ(bytes.data(), payload);
    EXPECT_EQ(bytes.frontGap(), 8);

    bytes.insert(0, bytes.data() + 3, 4).insert(0, "too long for it", 15);
    EXPECT_EQ(contentOf(bytes), "too long for itloadpayload");
    EXPECT_EQ(listed(bytes.frontGap(), bytes.capacity()), "4|56") << "growth keeps the gap";
    bytes.deleteRegion(0, 15, false);
    EXPECT_EQ(contentOf(bytes), "loadpayload");
    EXPECT_EQ(bytes.frontGap(), 4);
    bytes.deleteRegion(4, 100, true);
    EXPECT_EQ(contentOf(bytes), "load");
}

TEST(TString, InsertsPartsOfItselfAtEveryPlace)
{
    std::string const model = "0123456789";
    for (unsigned place = 0; place < 11 * 10 * 2; ++place)
    {
        unsigned const index = place / 20;
        unsigned const offset = place / 2 % 10;
        Bytes bytes(model.data(), 10, place % 2 == 0 ? 0 : 100, 3);
        bytes.insert(static_cast<int>(index), bytes.data() + offset, static_cast<int>(10 - offset));
        EXPECT_EQ(contentOf(bytes), std::string(model).insert(index, model.substr(offset)));
    }
    Bytes bytes = bytesOf("abc");
    bytes += bytes;
    EXPECT_EQ(contentOf(bytes), "abcabc");
}

TEST(TString, CopiesAreApartAndMovesLeaveAnEmptyBufferThatWorks)
{
    Bytes first("ab\0cd", 5, 200, 10);
    Bytes copy(first);
    copy += 'x';
    EXPECT_EQ(listed(first.length(), copy.length(), copy.capacity()), "5|6|24");

    Bytes moved(std::move(first));
    EXPECT_EQ(contentOf(moved), std::string("ab\0cd", 5));
    EXPECT_TRUE(first.isEmpty());
    EXPECT_EQ(Bytes(first).length(), 0);
    first += 'y';
    EXPECT_EQ(contentOf(first), "y");

    moved = bytesOf("short");
    Bytes& same = moved;
    moved = same;
    EXPECT_EQ(contentOf(moved), "short");
    Bytes gapped("z", 1, 0, 20);
    gapped = moved;
    EXPECT_EQ(contentOf(gapped), "short");
    gapped = bytesOf(std::string(100, 'x'));
    EXPECT_EQ(gapped.length(), 100);
}

TEST(TString, SetLengthMakesRoomAndKeepsWhatIsThere)
{
    TString<unsigned char> bytes;
    bytes += 0xFF;
    bytes.setLength(100);
    EXPECT_EQ(bytes.length(), 100);
    EXPECT_EQ(bytes[0], 0xFF);
    bytes.data()[99] = 7;
    EXPECT_EQ(bytes[1000], 7);
}

}
