#include "zekovar/foundation/text_check.h"

#include "zekovar/foundation/xcode.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{
bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// Reads a number as `sscanf` does, and moves `text` behind it. Where `sscanf` leaves open what happens, above 32 bits,
/// the number is `UINT32_MAX`.
bool readNumber(char const*& text, int64_t& number)
{
    text += std::strspn(text, " \t\n\v\f\r");
    bool const isNegative = *text == '-';
    if (isNegative || *text == '+')
        ++text;
    if (!isDigit(*text))
        return false;
    for (number = 0; isDigit(*text); ++text)
    {
        number = number * 10 + (*text - '0');
        if (number > UINT32_MAX)
            number = UINT32_MAX;
    }
    if (isNegative)
        number = -number;
    return true;
}

/// Reads a number, each of the `separators` and a further number behind it. True if all were there.
bool readNumbers(char const* text, char const* separators, int64_t* numbers)
{
    if (text == nullptr || !readNumber(text, *numbers))
        return false;
    for (; *separators != '\0'; ++separators)
    {
        if (*text++ != *separators || !readNumber(text, *++numbers))
            return false;
    }
    return true;
}

unsigned int resultOf(bool passes)
{
    return passes ? XCODE_SUCCESS : XCODE_FAILURE;
}

bool isTime(int64_t const* numbers)
{
    return numbers[0] <= 23 && numbers[1] <= 59 && numbers[2] <= 59;
}

bool isWithin(int64_t number, int minimum, int maximum)
{
    return number >= minimum && number <= maximum;
}
}

unsigned int e164Number(char const* text)
{
    if (text == nullptr)
        return XCODE_FAILURE;
    for (; *text != '\0'; ++text)
    {
        bool const isUpper = *text >= 'A' && *text <= 'Z';
        if (!isDigit(*text) && !isUpper && std::strchr("#*?", *text) == nullptr)
            return XCODE_FAILURE;
    }
    return XCODE_SUCCESS;
}

unsigned int validateTimeString(char const* text)
{
    int64_t numbers[6];
    return resultOf(readNumbers(text, "--T::", numbers) && isTime(numbers + 3));
}

unsigned int validateTime(char const* text)
{
    int64_t numbers[3];
    return resultOf(readNumbers(text, "::", numbers) && isTime(numbers));
}

unsigned int validateDate(char const* text)
{
    int64_t numbers[3];
    return resultOf(readNumbers(text, "--", numbers) && isWithin(numbers[0], 1999, 2035) &&
                    isWithin(numbers[1], 1, 12) && isWithin(numbers[2], 1, 31));
}

unsigned int convIPStr2IPUl(char const* text, unsigned int& address)
{
    int64_t numbers[4];
    if (!readNumbers(text, "...", numbers))
        return XCODE_FAILURE;
    uint32_t word = 0;
    for (int i = 0; i < 4; ++i)
        word |= static_cast<uint32_t>(numbers[i]) << (24 - 8 * i);
    address = word;
    return XCODE_SUCCESS;
}

unsigned int convIPUL2IPStr(unsigned int address, char* out)
{
    std::sprintf(out, "%d.%d.%d.%d", static_cast<int>(address >> 24), static_cast<int>(address >> 16 & 0xFF),
                 static_cast<int>(address >> 8 & 0xFF), static_cast<int>(address & 0xFF));
    return XCODE_SUCCESS;
}
