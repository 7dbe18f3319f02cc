// The first byte tells how many of the next ones choose operations; the rest is what they read. Whatever it holds, each
// operation gives a value or a failure and never more bytes than there were.

#include "zekovar/foundation/marshaller.h"
#include "zekovar/foundation/string.h"

#include <algorithm>

namespace
{
/// Returns the least number of bytes that the value took.
unsigned int readOne(ZKMarshaller& marshaller, unsigned int choice)
{
    unsigned char block[16];
    int number = 0;
    String text;
    XCode code;
    switch (choice % 4)
    {
    case 0:
        return marshaller.unmarshal(number) ? sizeof number : 0;
    case 1:
        return marshaller.unmarshal(text) ? 4 + static_cast<unsigned int>(text.length()) : 0;
    case 2:
        return marshaller.unmarshal(code) ? 8 : 0;
    default:
        return marshaller.unmarshal(block, sizeof block) ? 4 + sizeof block : 0;
    }
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    std::size_t const choices = size > 0 ? std::min<std::size_t>(data[0], size - 1) : 0;
    ZKMarshaller marshaller;
    marshaller.marshal(data + choices, static_cast<unsigned int>(size - choices));
    int length = 0;
    marshaller.unmarshal(length); // leaves the bytes without their length
    for (std::size_t i = 0; i < choices; ++i)
    {
        ZKMarshaller const shared(marshaller);
        unsigned int const read = readOne(marshaller, data[i + 1]);
        if (read + marshaller.getLength() > shared.getLength())
            __builtin_trap();
    }
    return 0;
}
