#pragma once

#include "zekovar/foundation/xcode.h"

/// Bytes as hexadecimal digits and back. Without state, and so safe from every thread.
///
///     unsigned char key[24];
///     XCode code = CryptoUtilities().parseHex2Char(text.c_str(), text.length(), key, sizeof(key));
class CryptoUtilities
{
public:
    CryptoUtilities() = default;

    /// Reads `hexLength` digits of either case, two for a byte, to `out`, which has room for `outSize` bytes.
    /// `XCODE_FAILURE` if that isn't enough, with nothing written, and at a character that is no digit, a zero byte or
    /// a single last digit, with the bytes in front of it written.
    XCode parseHex2Char(char const* hex, int hexLength, unsigned char* out, int outSize) const;

    /// Writes two lower-case digits for each of `size` bytes, and a zero behind them, to `out`. `XCODE_FAILURE`, with
    /// nothing written, if `outSize` is less than that needs.
    XCode parseChar2Hex(unsigned char const* data, int size, char* out, int outSize) const;
};
