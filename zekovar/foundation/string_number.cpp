#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <langinfo.h>

namespace
{

constexpr std::size_t NUMBER_SIZE = 31;

template <class T>
XCode scan(String const& text, char const* format, T& value)
{
    return testExpression(std::sscanf(text.c_str(), format, &value) == 1);
}

template <class T>
XCode scan(String const& text, char const* decimal, char const* hexadecimal, T& value)
{
    return scan(text, std::strncmp(text.c_str(), "0x", 2) == 0 ? hexadecimal : decimal, value);
}

template <class T>
String decimalOf(T value)
{
    char text[NUMBER_SIZE];
    char* const end = std::to_chars(text, text + sizeof text, value).ptr;
    String result;
    result.concat(text, static_cast<int>(end - text));
    return result;
}

constexpr double POWERS_OF_TEN[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// A number as digits with a decimal point behind the first one, times 10 to the exponent.
struct SixDigits
{
    unsigned int digits;
    int exponent;
};

/// Rounds to six significant digits. Powers of ten to 1e22 are exact, so the scaled number is off by half a unit in its
/// last place at most, near 1e-10. Where that could decide the rounding, and out of range, the result is false.
bool roundToSixDigits(double magnitude, SixDigits& result)
{
    if (!(magnitude >= 1e-15 && magnitude < 1e21))
        return false;
    int exponent = static_cast<int>(std::floor(std::ilogb(magnitude) * 0.30103));
    double scaled = 0;
    for (;;)
    {
        scaled = exponent <= 5 ? magnitude * POWERS_OF_TEN[5 - exponent] : magnitude / POWERS_OF_TEN[exponent - 5];
        if (scaled < 1e6)
            break;
        ++exponent;
    }
    if (scaled < 1e5)
        return false;

    auto digits = static_cast<unsigned int>(scaled);
    double const rest = scaled - digits;
    if (std::fabs(rest - 0.5) < 1e-6)
        return false;
    digits += rest > 0.5 ? 1 : 0;
    bool const carried = digits == 1000000;
    result = {carried ? 100000 : digits, carried ? exponent + 1 : exponent};
    return true;
}

/// Writes what "%g" writes: no trailing zeros, plain for exponents from -4 to 5, else with an exponent of two digits.
char* writeGeneral(SixDigits number, char* out)
{
    int count = 6;
    for (; number.digits % 10 == 0; --count)
        number.digits /= 10;
    char digits[6];
    std::to_chars(digits, digits + sizeof digits, number.digits);

    bool const plain = number.exponent >= -4 && number.exponent < 6;
    int const before = !plain ? 1 : number.exponent < 0 ? 0 : number.exponent + 1;
    for (int i = 0; i < before; ++i)
        *out++ = i < count ? digits[i] : '0';
    if (before == 0)
        *out++ = '0';
    if (before < count)
    {
        *out++ = '.';
        for (int i = number.exponent + 1; plain && i < 0; ++i)
            *out++ = '0';
        for (int i = before; i < count; ++i)
            *out++ = digits[i];
    }
    if (plain)
        return out;
    int const exponent = number.exponent < 0 ? -number.exponent : number.exponent;
    *out++ = 'e';
    *out++ = number.exponent < 0 ? '-' : '+';
    *out++ = static_cast<char>('0' + exponent / 10);
    *out++ = static_cast<char>('0' + exponent % 10);
    return out;
}

}

XCode String::toInteger(int& value) const
{
    return scan(*this, "%i", value);
}

XCode String::toInt8(signed char& value) const
{
    return scan(*this, "%hhi", value);
}

XCode String::toInt16(short& value) const
{
    return scan(*this, "%hi", value);
}

XCode String::toInt32(int& value) const
{
    return scan(*this, "%i", value);
}

XCode String::toInt64(long long& value) const
{
    return scan(*this, "%lld", "%llx", value);
}

XCode String::toUInt(unsigned int& value) const
{
    return scan(*this, "%u", "%x", value);
}

XCode String::toUInt8(unsigned char& value) const
{
    return scan(*this, "%hhu", "%hhx", value);
}

XCode String::toUInt16(unsigned short& value) const
{
    return scan(*this, "%hu", "%hx", value);
}

XCode String::toUInt32(unsigned int& value) const
{
    return scan(*this, "%u", "%x", value);
}

XCode String::toUInt64(unsigned long long& value) const
{
    return scan(*this, "%llu", "%llx", value);
}

int String::toInteger() const
{
    int value = -1;
    toInteger(value);
    return value;
}

signed char String::toInt8() const
{
    signed char value = -1;
    toInt8(value);
    return value;
}

short String::toInt16() const
{
    short value = -1;
    toInt16(value);
    return value;
}

int String::toInt32() const
{
    return toInteger();
}

long long String::toInt64() const
{
    long long value = -1;
    toInt64(value);
    return value;
}

unsigned int String::toUInt() const
{
    unsigned int value = 0;
    toUInt(value);
    return value;
}

unsigned char String::toUInt8() const
{
    unsigned char value = 0;
    toUInt8(value);
    return value;
}

unsigned short String::toUInt16() const
{
    unsigned short value = 0;
    toUInt16(value);
    return value;
}

unsigned int String::toUInt32() const
{
    return toUInt();
}

unsigned long long String::toUInt64() const
{
    unsigned long long value = 0;
    toUInt64(value);
    return value;
}

bool String::toBool() const
{
    return equals("true") || toUInt() > 0;
}

XCode String::toNumberRange(bool& isRange, int& first, int& last, int defaultFirst, int defaultLast) const
{
    int const index = indexOf("..");
    isRange = index >= 0;
    if (!isRange)
    {
        first = last = toInteger();
        return XCode();
    }
    String const left = substring(0, index);
    String const right = substring(index + 2);
    first = left.isEmpty() ? defaultFirst : left.toInteger();
    last = right.isEmpty() ? defaultLast : right.toInteger();
    return XCode();
}

String String::internalStringOf(int value)
{
    return decimalOf(value);
}

String String::internalStringOf(unsigned int value)
{
    return decimalOf(value);
}

String String::internalStringOf(long value)
{
    return decimalOf(value);
}

String String::internalStringOf(unsigned long value)
{
    return decimalOf(value);
}

String String::internalStringOf(long long value)
{
    return decimalOf(value);
}

String String::internalStringOf(unsigned long long value)
{
    return decimalOf(value);
}

String String::internalStringOf(double value)
{
    if (value == 0)
        return std::signbit(value) ? "-0" : "0";
    SixDigits number;
    if (!roundToSixDigits(std::fabs(value), number) || std::strcmp(nl_langinfo(RADIXCHAR), ".") != 0)
        return String(Formatted(), "%g", value);
    char text[NUMBER_SIZE];
    text[0] = '-';
    char* const start = std::signbit(value) ? text + 1 : text;
    String result;
    result.concat(text, static_cast<int>(writeGeneral(number, start) - text));
    return result;
}

String String::internalStringOf(void const* value)
{
    return String(Formatted(), "%p", value);
}
