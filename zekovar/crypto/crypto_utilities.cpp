#include "zekovar/crypto/crypto_utilities.h"

#include <charconv>
#include <cstdio>

XCode CryptoUtilities::parseHex2Char(char const* hex, int hexLength, unsigned char* out, int outSize) const
{
    if (hexLength > 2LL * outSize)
        return XCODE_FAILURE;
    for (int i = 0; i + 1 < hexLength; i += 2)
    {
        unsigned char byte = 0;
        // takes digits only: no sign, no blank, no "0x"
        if (std::from_chars(hex + i, hex + i + 2, byte, 16).ptr != hex + i + 2)
            return XCODE_FAILURE;
        out[i / 2] = byte;
    }
    return testExpression(hexLength <= 0 || hexLength % 2 == 0);
}

XCode CryptoUtilities::parseChar2Hex(unsigned char const* data, int size, char* out, int outSize) const
{
    if (size < 0 || 2LL * size >= outSize)
        return XCODE_FAILURE;
    *out = '\0';
    for (int i = 0; i < size; ++i)
        std::snprintf(out + 2 * i, 3, "%2.2x", data[i]);
    return XCODE_SUCCESS;
}
