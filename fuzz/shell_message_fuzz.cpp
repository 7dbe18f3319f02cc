// The bytes are those of a message behind its length, which is theirs. Whatever they are, each reader gives a value or a
// failure and looks at nothing behind them; what a reader took is read again the same when it is written.

#include "zekovar/process/shell_protocol.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace ZK::Shell;

namespace
{
void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

void readCommand(MsgHdr const& message)
{
    ZKVector<String> arguments, environment;
    if (!readExecute(message, arguments, environment))
        return;
    auto const& fixed = reinterpret_cast<MsgExecute const&>(message);
    require(arguments.size() == fixed.argumentCount && environment.size() == fixed.environmentCount);
    MsgBuffer written;
    require(buildExecute(written, arguments, ZKStringHashTable<String>()).isSuccess());
    std::size_t const size = written.header()->length - sizeof fixed;
    require(size <= message.length - sizeof fixed);
    require(std::memcmp(written.bytes + sizeof fixed, &fixed + 1, size) == 0);
}

void readCode(MsgHdr const& message)
{
    XCode code, again;
    if (!readXCode(message, code))
        return;
    MsgBuffer written;
    buildXCode(written, message.type, code);
    require(readXCode(*written.header(), again).isSuccess());
    require(again == code && again.toString() == code.toString());
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    std::size_t const length = std::min<std::size_t>(size + sizeof(uint16_t), MAX_MESSAGE_SIZE);
    if (length < sizeof(MsgHdr))
        return 0;
    std::unique_ptr<unsigned char[]> const bytes(new unsigned char[length]); // of just this size, for the sanitizer
    auto& message = reinterpret_cast<MsgHdr&>(bytes[0]);
    message.length = static_cast<uint16_t>(length);
    std::memcpy(bytes.get() + sizeof(uint16_t), data, length - sizeof(uint16_t));
    int signalNumber = 0;
    require(readSignal(message, signalNumber).isSuccess() == (length == sizeof(MsgSignal)));
    readCommand(message);
    readCode(message);
    return 0;
}
