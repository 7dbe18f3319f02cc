#pragma once

// Numbers as text and back, in the library's own notation: the base stands behind the digits, as in "1011b", "17o" and
// "FFh"; decimal numbers have no marker. All functions are safe from every thread.

/// The two upper-case hexadecimal digits of each byte, with a zero behind them.
extern char const binToHexLut[256][3];

/// @name Number to text
/// The text of `value` in base 2, 8, 10 or 16, which goes to `buffer` with a zero behind it. Returns `buffer`, or null
/// with nothing written for another base, for a negative value in base 8 or 16, and for a null buffer. A negative value
/// is shown with a "-" in base 10 and as its bits in base 2.
///
/// | Bytes of room that always do | base 2 | base 8 | base 10 | base 16 |
/// | ---------------------------- | ------ | ------ | ------- | ------- |
/// | 16 bits                      | 18     | 8      | 7       | 6       |
/// | 32 bits                      | 34     | 13     | 12      | 10      |
/// | 64 bits                      | 66     | 24     | 21      | 18      |
/// @{
char* i32toa(int value, char* buffer, unsigned int base);
char* i16toa(short value, char* buffer, unsigned int base);
char* u_i32toa(unsigned int value, char* buffer, unsigned int base);
char* u_i16toa(unsigned short value, char* buffer, unsigned int base);
char* u_i64toa(unsigned long long value, char* buffer, unsigned int base);
/// @}

/// Reverses a text in place and returns it; null is allowed.
char* reverse(char* text);

/// @name Text to number
/// Reads the notation above; lower-case hexadecimal digits and "x" for "h" are taken too. Another lower-case letter at
/// the end is dropped, and the rest is decimal. Digits aren't checked and too large a number wraps: bad text gives a
/// wrong number, never a failure. Null and empty text give 0. Read are at most 34 characters, in the 64-bit form 66.
/// The 16-bit forms cut the 32-bit number off.
/// @{
int valueOf32(char const* text);
short valueOf16(char const* text);
unsigned int u_valueOf32(char const* text);
unsigned short u_valueOf16(char const* text);
unsigned long long u_valueOf64(char const* text);
/// @}

/// @name Text to number, checked
/// As above, but `code`, which may be null, becomes 0 if `text` is the number as the library prints it in decimal,
/// without a marker, leading zero or blank, and 0x7fffffff if it isn't. The number is returned in any case.
/// @{
int validValueOf32(unsigned int* code, char const* text);
short validValueOf16(unsigned int* code, char const* text);
unsigned int u_validValueOf32(unsigned int* code, char const* text);
unsigned short u_validValueOf16(unsigned int* code, char const* text);
/// @}

/// @name Text to number within limits
/// As above, and a number below `minimum` or above `maximum` makes `code` 0x7fffffff, too. With a null `code` they
/// return 0 at once.
/// @{
int validRangeValueOf32(unsigned int* code, char const* text, int minimum, int maximum);
short validRangeValueOf16(unsigned int* code, char const* text, int minimum, int maximum);
unsigned int u_validRangeValueOf32(unsigned int* code, char const* text, unsigned int minimum, unsigned int maximum);
unsigned short u_validRangeValueOf16(unsigned int* code, char const* text, unsigned int minimum, unsigned int maximum);
/// @}

/// Writes "0x", eight upper-case digits and a zero: 11 bytes.
void convBinToHex(unsigned int value, char* out);

/// Writes `size` bytes, a rest that makes no whole word left out, as words in the form of `convBinToHex` with a blank
/// behind each. A newline follows each line of `bytesPerLine` bytes, which is taken as the next lower multiple of 4 but
/// at least 4; a newline and a zero stand at the end. No words give the empty text.
/// `out` has room for `nbrOfChars_forDataChunk2String(size, bytesPerLine)` characters.
void dataChunk2String(unsigned int const* data, char* out, unsigned int size, int bytesPerLine);

/// The room in characters, zero included, that `dataChunk2String` needs; 0 if an `int` can't count it.
int nbrOfChars_forDataChunk2String(int size, int bytesPerLine);

/// The smallest power of two that isn't below `value`, 1 for 0. Above 0x80000000 there is none, and the result is 0.
constexpr unsigned int nextHigherPowerOf2(unsigned int value)
{
    unsigned int bits = value != 0 ? value - 1 : 0;
    for (unsigned int shift = 1; shift < 32; shift *= 2)
        bits |= bits >> shift;
    return bits + 1;
}
