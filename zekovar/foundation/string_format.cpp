#include "zekovar/foundation/string.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace
{

/// The output of a format, aside from the string that it goes to: that string may be one of the arguments.
class FormattedText
{
public:
    FormattedText(char const* format, va_list arguments) __attribute__((format(printf, 2, 0)))
    {
        va_list again;
        va_copy(again, arguments);
        m_length = format != nullptr ? std::vsnprintf(m_short, sizeof m_short, format, arguments) : 0;
        if (m_length >= static_cast<int>(sizeof m_short) && m_long.alloc(m_length) != nullptr)
            std::vsnprintf(m_long.data(), static_cast<std::size_t>(m_length) + 1, format, again);
        va_end(again);
    }

    /// Not above 0 for a format without output and for one that failed.
    int length() const { return m_length; }

    /// Null if memory was out.
    char const* text() const
    {
        if (m_length < static_cast<int>(sizeof m_short))
            return m_short;
        return m_long.length() != 0 ? m_long.data() : nullptr;
    }

private:
    char m_short[256];
    String::Store m_long;
    int m_length;
};

char hexDigit(unsigned int value)
{
    return "0123456789abcdef"[value & 0xF];
}

int hexValue(char digit)
{
    auto const character = static_cast<unsigned char>(digit);
    if (std::isxdigit(character) == 0)
        return -1;
    return character <= '9' ? character - '0' : (character | 0x20) - 'a' + 10;
}

constexpr int DUMP_WIDTH = 16;
constexpr int DUMP_HALF = DUMP_WIDTH / 2;

enum DumpFlag : unsigned int
{
    DUMP_OFFSET = 1,
    DUMP_HEX = 2,
    DUMP_CHARACTERS = 4
};

void addDumpCharacters(String& result, char const* row, int count, bool aligned)
{
    int const missing = DUMP_WIDTH - count;
    int const width = aligned ? 3 * missing + (count < DUMP_HALF ? 2 : 1) : 1;
    for (int i = 1; i < width; ++i)
        result += ' ';
    result += '|';
    for (int i = 0; i < count; ++i)
        result += std::isprint(static_cast<unsigned char>(row[i])) != 0 ? row[i] : '.';
    result += '|';
}

void addDumpRow(String& result, char const* row, int count, int offset, unsigned int flags)
{
    if ((flags & DUMP_OFFSET) != 0)
        result.concatf("%08X:  ", static_cast<unsigned int>(offset));
    for (int i = 0; (flags & DUMP_HEX) != 0 && i < count; ++i)
    {
        if (i == DUMP_HALF)
            result += ' ';
        unsigned int const byte = static_cast<unsigned char>(row[i]);
        result += hexDigit(byte >> 4);
        result += hexDigit(byte);
        result += ' ';
    }
    if ((flags & DUMP_CHARACTERS) != 0)
        addDumpCharacters(result, row, count, (flags & DUMP_HEX) != 0);
}

}

String::String(Formatted, char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vformat(format, arguments);
    va_end(arguments);
}

String& String::format(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vformat(format, arguments);
    va_end(arguments);
    return *this;
}

String& String::vformat(char const* format, va_list arguments)
{
    FormattedText const output(format, arguments);
    if (output.length() <= 0)
        m_store.setEmpty();
    else if (output.text() != nullptr)
        internalAssign(output.text(), static_cast<std::size_t>(output.length()));
    return *this;
}

String& String::concatf(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vconcatf(format, arguments);
    va_end(arguments);
    return *this;
}

String& String::vconcatf(char const* format, va_list arguments)
{
    FormattedText const output(format, arguments);
    return internalConcat(output.text(), output.length());
}

String String::stringOfFormat(char const* format, ...)
{
    String result;
    va_list arguments;
    va_start(arguments, format);
    result.vformat(format, arguments);
    va_end(arguments);
    return result;
}

String String::stringOfErrno(int error)
{
    char text[31];
    return strerror_r(error, text, sizeof text);
}

String String::toHex() const
{
    String result;
    if (length() > Store::MAX_LENGTH / 2 || !result.native_alloc(2 * length()))
        return s_empty;
    char* target = result.data();
    for (int i = 0; i < length(); ++i)
    {
        unsigned int const byte = static_cast<unsigned char>(c_str()[i]);
        *target++ = hexDigit(byte >> 4);
        *target++ = hexDigit(byte);
    }
    return result;
}

String String::stringOfHex(String const& digits)
{
    int const most = digits.length() / 2;
    String result;
    if (digits.length() % 2 != 0 || result.reserve(most).capacity() < most)
        return result;
    for (int i = 0; i < digits.length(); i += 2)
    {
        int const high = hexValue(digits[i]);
        int const low = hexValue(digits[i + 1]);
        if (high < 0 || low < 0)
            return s_empty;
        result += static_cast<char>(high << 4 | low);
    }
    return result;
}

String String::toHexDump(unsigned int flags) const
{
    return HEX_DUMP(c_str(), length(), flags);
}

String String::HEX_DUMP(char const* data, int length, unsigned int flags)
{
    String result;
    if (data == nullptr || length <= 0)
        return result;

    int const rowLength = ((flags & DUMP_OFFSET) != 0 ? 11 : 0) + ((flags & DUMP_HEX) != 0 ? 3 * DUMP_WIDTH + 1 : 0) +
                          ((flags & DUMP_CHARACTERS) != 0 ? DUMP_WIDTH + 2 : 0) + 1;
    long long const total = (length / DUMP_WIDTH + 1LL) * rowLength;
    if (total > Store::MAX_LENGTH || result.reserve(static_cast<int>(total)).capacity() < total)
        return result;
    for (int offset = 0; offset < length; offset += DUMP_WIDTH)
    {
        if (offset != 0)
            result += '\n';
        addDumpRow(result, data + offset, std::min(DUMP_WIDTH, length - offset), offset, flags);
    }
    return result;
}
