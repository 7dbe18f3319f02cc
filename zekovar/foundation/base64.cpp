#include "zekovar/foundation/base64.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <utility>

namespace
{
constexpr unsigned char PADDING = 0x40;
constexpr unsigned char SKIPPED = 0x80;

/// What each character stands for: a value below 64, or one of the marks above.
constexpr std::array<unsigned char, 256> valuesOf(char const* alphabet)
{
    std::array<unsigned char, 256> values{};
    for (unsigned char& value : values)
        value = SKIPPED;
    values['='] = PADDING;
    for (unsigned char value = 0; value < 64; ++value)
        values[static_cast<unsigned char>(alphabet[value])] = value;
    return values;
}

/// Four values, as far as they have been read. Padding takes a place with the value 0.
struct Group
{
    unsigned char values[4] = {};
    int places = 0;
    unsigned int read = 0;

    void add(unsigned char value)
    {
        if (value != PADDING)
        {
            values[places] = value;
            ++read;
        }
        ++places;
    }

    unsigned int bytes() const { return read > 0 ? read - 1 : 0; }
};

template <class T>
XCode encodeAll(String& out, TString<T> const& data, unsigned int lineLength)
{
    return Base64::encode(reinterpret_cast<unsigned char const*>(data.data()), static_cast<unsigned int>(data.length()),
                          lineLength, out);
}

template <class T>
XCode decodeAll(TString<T>& out, String const& text)
{
    int const room = text.length();
    out.setLength(0).setLength(room);
    auto size = static_cast<unsigned int>(out.length());
    XCode const code = Base64::decode(text, reinterpret_cast<unsigned char*>(out.data()), size);
    out.setLength(static_cast<int>(size));
    return code;
}
}

XCode Base64::encode(unsigned char const* data, unsigned int size, unsigned int lineLength, String& out)
{
    auto const offset = reinterpret_cast<uintptr_t>(data) - reinterpret_cast<uintptr_t>(out.c_str());
    if (offset < static_cast<uintptr_t>(out.capacity()))
    {
        String text; // the data lies in the old one
        XCode const code = encode(data, size, lineLength, text);
        out = std::move(text);
        return code;
    }

    unsigned long long const groups = (size + 2ULL) / 3;
    unsigned int const perLine = lineLength > 0 ? std::max(lineLength / 4, 1u) : UINT_MAX;
    unsigned long long const lineEnds = lineLength > 0 ? (groups + perLine - 1) / perLine : 0;
    unsigned long long const length = groups * 4 + lineEnds * 2;
    if (length > String::Store::MAX_LENGTH || !out.native_alloc(static_cast<int>(length)))
    {
        out = String();
        return XCODE_FAILURE;
    }
    auto* target = reinterpret_cast<unsigned char*>(out.data());
    while (size > 0)
    {
        unsigned int const whole = std::min(perLine, size / 3);
        for (unsigned int i = 0; i < whole; ++i, data += 3, target += 4)
            encodeBlock(data, target, 3);
        size -= whole * 3;
        if (whole < perLine && size > 0)
        {
            encodeBlock(data, target, static_cast<int>(size));
            target += 4;
            size = 0;
        }
        if (lineLength > 0)
            target = std::copy_n("\r\n", 2, target);
    }
    return XCODE_SUCCESS;
}

XCode Base64::encode(String& out, TString<unsigned char> const& data, unsigned int lineLength)
{
    return encodeAll(out, data, lineLength);
}

XCode Base64::encode(String& out, TString<char> const& data, unsigned int lineLength)
{
    return encodeAll(out, data, lineLength);
}

XCode Base64::decode(String const& text, unsigned char* out, unsigned int& size)
{
    static constexpr auto VALUES = valuesOf(ALPHABET);
    auto const* in = reinterpret_cast<unsigned char const*>(text.c_str());
    auto const* const end = in + text.length();
    unsigned int const room = size;
    for (size = 0; in != end;)
    {
        // most groups lie together and are whole
        for (; end - in >= 4 && room - size >= 3; in += 4, size += 3)
        {
            unsigned char const values[] = {VALUES[in[0]], VALUES[in[1]], VALUES[in[2]], VALUES[in[3]]};
            if ((values[0] | values[1] | values[2] | values[3]) >= PADDING)
                break;
            decodeBlock(values, out + size);
        }

        Group group;
        for (; in != end && group.places < 4; ++in)
        {
            if (VALUES[*in] != SKIPPED)
                group.add(VALUES[*in]);
        }
        if (group.bytes() > room - size)
            return XCODE_FAILURE;
        unsigned char block[3];
        decodeBlock(group.values, block);
        std::copy_n(block, group.bytes(), out + size);
        size += group.bytes();
    }
    return XCODE_SUCCESS;
}

XCode Base64::decode(TString<unsigned char>& out, String const& text)
{
    return decodeAll(out, text);
}

XCode Base64::decode(TString<char>& out, String const& text)
{
    return decodeAll(out, text);
}
