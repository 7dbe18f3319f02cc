#include "zekovar/foundation/text.h"

#include "zekovar/foundation/xcode.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <type_traits>

char const binToHexLut[256][3] = {
    "00", "01", "02", "03", "04", "05", "06", "07", "08", "09", "0A", "0B", "0C", "0D", "0E", "0F", "10", "11", "12",
    "13", "14", "15", "16", "17", "18", "19", "1A", "1B", "1C", "1D", "1E", "1F", "20", "21", "22", "23", "24", "25",
    "26", "27", "28", "29", "2A", "2B", "2C", "2D", "2E", "2F", "30", "31", "32", "33", "34", "35", "36", "37", "38",
    "39", "3A", "3B", "3C", "3D", "3E", "3F", "40", "41", "42", "43", "44", "45", "46", "47", "48", "49", "4A", "4B",
    "4C", "4D", "4E", "4F", "50", "51", "52", "53", "54", "55", "56", "57", "58", "59", "5A", "5B", "5C", "5D", "5E",
    "5F", "60", "61", "62", "63", "64", "65", "66", "67", "68", "69", "6A", "6B", "6C", "6D", "6E", "6F", "70", "71",
    "72", "73", "74", "75", "76", "77", "78", "79", "7A", "7B", "7C", "7D", "7E", "7F", "80", "81", "82", "83", "84",
    "85", "86", "87", "88", "89", "8A", "8B", "8C", "8D", "8E", "8F", "90", "91", "92", "93", "94", "95", "96", "97",
    "98", "99", "9A", "9B", "9C", "9D", "9E", "9F", "A0", "A1", "A2", "A3", "A4", "A5", "A6", "A7", "A8", "A9", "AA",
    "AB", "AC", "AD", "AE", "AF", "B0", "B1", "B2", "B3", "B4", "B5", "B6", "B7", "B8", "B9", "BA", "BB", "BC", "BD",
    "BE", "BF", "C0", "C1", "C2", "C3", "C4", "C5", "C6", "C7", "C8", "C9", "CA", "CB", "CC", "CD", "CE", "CF", "D0",
    "D1", "D2", "D3", "D4", "D5", "D6", "D7", "D8", "D9", "DA", "DB", "DC", "DD", "DE", "DF", "E0", "E1", "E2", "E3",
    "E4", "E5", "E6", "E7", "E8", "E9", "EA", "EB", "EC", "ED", "EE", "EF", "F0", "F1", "F2", "F3", "F4", "F5", "F6",
    "F7", "F8", "F9", "FA", "FB", "FC", "FD", "FE", "FF"};

namespace
{
constexpr int DIGITS_SIZE = 12; // any 32-bit number in decimal
constexpr int WORD_SIZE = 4;
constexpr int WORD_CHARACTERS = 11; // "0x", eight digits and a blank

char markerOf(unsigned int base)
{
    return base == 2 ? 'b' : base == 8 ? 'o' : base == 16 ? 'h' : '\0';
}

template <class Unsigned>
char* print(Unsigned magnitude, bool isNegative, char* buffer, unsigned int base)
{
    char const marker = markerOf(base);
    if (buffer == nullptr || (marker == '\0' && base != 10))
        return nullptr;
    char* end = buffer;
    if (marker != '\0')
        *end++ = marker;
    do
    {
        *end++ = "0123456789ABCDEF"[magnitude % base];
        magnitude = static_cast<Unsigned>(magnitude / base);
    } while (magnitude != 0);
    if (isNegative)
        *end++ = '-';
    *end = '\0';
    return reverse(buffer);
}

template <class Signed>
char* printSigned(Signed value, char* buffer, unsigned int base)
{
    auto const bits = static_cast<std::make_unsigned_t<Signed>>(value);
    if (value >= 0 || base == 2)
        return print(bits, false, buffer, base);
    return base == 10 ? print(static_cast<decltype(bits)>(0u - bits), true, buffer, base) : nullptr;
}

/// Not checked: a character that is no digit gives a wrong value.
unsigned int digitOf(char character, unsigned int base)
{
    if (base == 16 && character >= 'a')
        return static_cast<unsigned int>(character - 'a' + 10);
    if (base == 16 && character >= 'A')
        return static_cast<unsigned int>(character - 'A' + 10);
    return static_cast<unsigned int>(character - '0');
}

template <class Unsigned>
Unsigned parse(char const* text)
{
    constexpr std::size_t LONGEST = sizeof(Unsigned) * CHAR_BIT + 2; // a sign, the bits and their marker
    if (text == nullptr)
        return 0;
    char const* end = text + strnlen(text, LONGEST);
    bool const isNegative = *text == '-';
    text += isNegative ? 1 : 0;
    if (text == end)
        return 0;

    char const last = end[-1];
    unsigned int const base = last == 'b' ? 2 : last == 'o' ? 8 : last == 'h' || last == 'x' ? 16 : 10;
    if (last >= 'a' && last <= 'z')
        --end;
    Unsigned value = 0;
    for (; text != end; ++text)
        value = value * base + digitOf(*text, base);
    return isNegative ? 0 - value : value;
}

/// Sets `code`, which may be null, to whether `text` is what `printer` makes of `value`.
template <class T>
T checked(T value, char const* text, unsigned int* code, char* (*printer)(T, char*, unsigned int))
{
    char digits[DIGITS_SIZE];
    if (code != nullptr)
        *code = text != nullptr && std::strcmp(printer(value, digits, 10), text) == 0 ? XCODE_SUCCESS : XCODE_FAILURE;
    return value;
}

template <class T, class Limit>
T checkedRange(T (*reader)(unsigned int*, char const*), unsigned int* code, char const* text, Limit minimum,
               Limit maximum)
{
    if (code == nullptr)
        return 0;
    T const value = reader(code, text);
    if (value < minimum || value > maximum)
        *code = XCODE_FAILURE;
    return value;
}

int wordsPerLine(int bytesPerLine)
{
    return std::max(bytesPerLine / WORD_SIZE, 1);
}
}

char* i32toa(int value, char* buffer, unsigned int base)
{
    return printSigned(value, buffer, base);
}

char* i16toa(short value, char* buffer, unsigned int base)
{
    return printSigned(value, buffer, base);
}

char* u_i32toa(unsigned int value, char* buffer, unsigned int base)
{
    return print(value, false, buffer, base);
}

char* u_i16toa(unsigned short value, char* buffer, unsigned int base)
{
    return print(value, false, buffer, base);
}

char* u_i64toa(unsigned long long value, char* buffer, unsigned int base)
{
    return print(value, false, buffer, base);
}

char* reverse(char* text)
{
    if (text != nullptr)
        std::reverse(text, text + std::strlen(text));
    return text;
}

int valueOf32(char const* text)
{
    return static_cast<int>(parse<unsigned int>(text));
}

short valueOf16(char const* text)
{
    return static_cast<short>(parse<unsigned int>(text));
}

unsigned int u_valueOf32(char const* text)
{
    return parse<unsigned int>(text);
}

unsigned short u_valueOf16(char const* text)
{
    return static_cast<unsigned short>(parse<unsigned int>(text));
}

unsigned long long u_valueOf64(char const* text)
{
    return parse<unsigned long long>(text);
}

int validValueOf32(unsigned int* code, char const* text)
{
    return checked(valueOf32(text), text, code, i32toa);
}

short validValueOf16(unsigned int* code, char const* text)
{
    return checked(valueOf16(text), text, code, i16toa);
}

unsigned int u_validValueOf32(unsigned int* code, char const* text)
{
    return checked(u_valueOf32(text), text, code, u_i32toa);
}

unsigned short u_validValueOf16(unsigned int* code, char const* text)
{
    return checked(u_valueOf16(text), text, code, u_i16toa);
}

int validRangeValueOf32(unsigned int* code, char const* text, int minimum, int maximum)
{
    return checkedRange(validValueOf32, code, text, minimum, maximum);
}

short validRangeValueOf16(unsigned int* code, char const* text, int minimum, int maximum)
{
    return checkedRange(validValueOf16, code, text, minimum, maximum);
}

unsigned int u_validRangeValueOf32(unsigned int* code, char const* text, unsigned int minimum, unsigned int maximum)
{
    return checkedRange(u_validValueOf32, code, text, minimum, maximum);
}

unsigned short u_validRangeValueOf16(unsigned int* code, char const* text, unsigned int minimum, unsigned int maximum)
{
    return checkedRange(u_validValueOf16, code, text, minimum, maximum);
}

void convBinToHex(unsigned int value, char* out)
{
    *out++ = '0';
    *out++ = 'x';
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        std::memcpy(out, binToHexLut[(value >> shift) & 0xFF], 2);
        out += 2;
    }
    *out = '\0';
}

void dataChunk2String(unsigned int const* data, char* out, unsigned int size, int bytesPerLine)
{
    auto const perLine = static_cast<unsigned int>(wordsPerLine(bytesPerLine));
    unsigned int const words = size / WORD_SIZE;
    for (unsigned int i = 0; i < words; ++i)
    {
        convBinToHex(data[i], out);
        out += WORD_CHARACTERS;
        out[-1] = ' ';
        if ((i + 1) % perLine == 0)
            *out++ = '\n';
    }
    if (words > 0)
        *out++ = '\n';
    *out = '\0';
}

int nbrOfChars_forDataChunk2String(int size, int bytesPerLine)
{
    long long const perLine = wordsPerLine(bytesPerLine);
    long long const lines = (std::max(size, 0) + perLine * WORD_SIZE - 1) / (perLine * WORD_SIZE);
    long long const room = (perLine * WORD_CHARACTERS + 2) * lines + 1;
    return room <= INT_MAX ? static_cast<int>(room) : 0;
}
