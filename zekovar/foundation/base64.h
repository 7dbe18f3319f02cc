#pragma once

#include "zekovar/foundation/xcode.h"

template <class T>
class TString;

/// Base64 with the alphabet of RFC 4648, section 4, and "=" as padding. All functions are safe from every thread.
///
///     String text;
///     Base64::encode(text, bytes, 76);
///     TString<char> same;
///     Base64::decode(same, text);
class Base64
{
public:
    /// Sets `out` to the text of `size` bytes. With a `lineLength` above 0, "\r\n" stands behind every
    /// `lineLength` / 4 groups of four characters (every group, if that is 0), and behind the last one. `XCODE_FAILURE`,
    /// with `out` empty, if memory is out or the text longer than a `String` may be.
    static XCode encode(unsigned char const* data, unsigned int size, unsigned int lineLength, String& out);
    static XCode encode(String& out, TString<unsigned char> const& data, unsigned int lineLength);
    static XCode encode(String& out, TString<char> const& data, unsigned int lineLength);

    /// Decodes to `out`, which has room for `size` bytes, and sets `size` to the number of bytes written. Characters
    /// outside the alphabet are skipped, so that line ends cost nothing and no text is wrong; padding fills its group
    /// and more may follow. `XCODE_FAILURE` if the next group doesn't fit; what came before it stays.
    static XCode decode(String const& text, unsigned char* out, unsigned int& size);

    /// As above, with as much room as it takes.
    static XCode decode(TString<unsigned char>& out, String const& text);
    static XCode decode(TString<char>& out, String const& text);

    /// Makes four characters of `count` bytes, 1 to 3; "=" stands for the missing ones, which aren't read.
    static void encodeBlock(unsigned char const* in, unsigned char* out, int count)
    {
        unsigned int const second = count > 1 ? in[1] : 0;
        unsigned int const third = count > 2 ? in[2] : 0;
        out[0] = ALPHABET[in[0] >> 2];
        out[1] = ALPHABET[(in[0] & 0x03) << 4 | second >> 4];
        out[2] = count > 1 ? ALPHABET[(second & 0x0F) << 2 | third >> 6] : '=';
        out[3] = count > 2 ? ALPHABET[third & 0x3F] : '=';
    }

    /// Makes three bytes of four values below 64.
    static void decodeBlock(unsigned char const* in, unsigned char* out)
    {
        out[0] = static_cast<unsigned char>(in[0] << 2 | in[1] >> 4);
        out[1] = static_cast<unsigned char>(in[1] << 4 | in[2] >> 2);
        out[2] = static_cast<unsigned char>(in[2] << 6 | in[3]);
    }

private:
    static constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
};
