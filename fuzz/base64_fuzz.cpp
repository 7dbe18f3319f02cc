// Any text decodes within its room, and any bytes come back from their text.

#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"

#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    unsigned int const room = size > 0 ? data[0] : 0;
    auto const exact = std::make_unique<unsigned char[]>(room);
    unsigned int count = room;
    String const text(reinterpret_cast<char const*>(data), static_cast<int>(size), 0, static_cast<int>(size));
    Base64::decode(text, exact.get(), count);

    TString<unsigned char> const bytes(data, static_cast<int>(size));
    TString<unsigned char> back;
    String encoded;
    if (!Base64::encode(encoded, bytes, room) || !Base64::decode(back, encoded) || back.length() != bytes.length() ||
        (size > 0 && std::memcmp(back.data(), data, size) != 0))
        __builtin_trap();
    return 0;
}
