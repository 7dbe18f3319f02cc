#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"

#include <cstddef>
#include <cstdint>

// What a client and the shell server say to each other, on a stream socket of one machine: numbers are in the machine's
// order. A message is a header and what its length counts, sent in one piece and received in one piece; one that comes
// together with another can't be told from a message of wrong length. So the server sends an answer only when the client
// has taken the one before, and a client a message only when the one before was answered.
//
// A client sends EXECUTE and gets either an ACK with three descriptors (the program's standard input and output, both
// the master of its terminal, and the pipe of its standard error) and at the program's end TERMINATED, or NAK. While the
// program runs it may send SIGNAL, and gets an ACK without descriptors or NAK.

namespace ZK::Shell
{
/// Where the server listens.
inline constexpr char const* SERVER_PATH = "/tmp/shellexec.sck";

/// Bytes of the longest message that either end has room for.
inline constexpr unsigned int MAX_MESSAGE_SIZE = 4096;

/// Descriptors that a message may carry.
inline constexpr unsigned int MAX_DESCRIPTORS = 3;

enum class MsgType : uint8_t
{
    EXECUTE = 0,    ///< `MsgExecute`, to the server
    SIGNAL = 1,     ///< `MsgSignal`, to the server
    TERMINATED = 2, ///< `MsgXCode`, to the client: how the program ended
    ACK = 3,        ///< `MsgHdr` alone, to the client
    NAK = 4         ///< `MsgXCode`, to the client: why nothing was done
};

/// The start of every message.
struct MsgHdr
{
    uint16_t length; ///< bytes of the whole message
    MsgType type;
    int8_t reserved;
};

/// Arguments and then environment strings ("NAME=value") stand behind it, each with its zero.
struct MsgExecute
{
    MsgHdr header;
    uint8_t argumentCount;
    uint8_t environmentCount;
    uint16_t reserved;
};

struct MsgSignal
{
    MsgHdr header;
    int32_t signalNumber;
};

/// The text stands behind it, with its zero.
struct MsgXCode
{
    MsgHdr header;
    uint32_t reserved;
    uint32_t value; ///< an `XCodeValue`
};

static_assert(sizeof(MsgHdr) == 4 && offsetof(MsgHdr, type) == 2);
static_assert(sizeof(MsgExecute) == 8 && offsetof(MsgExecute, environmentCount) == 5);
static_assert(sizeof(MsgSignal) == 8 && offsetof(MsgSignal, signalNumber) == 4);
static_assert(sizeof(MsgXCode) == 12 && offsetof(MsgXCode, value) == 8);

/// Room for any message, which isn't set to anything at first.
struct MsgBuffer
{
    MsgHdr* header() { return reinterpret_cast<MsgHdr*>(bytes); }

    MsgHdr const* header() const { return reinterpret_cast<MsgHdr const*>(bytes); }

    alignas(8) unsigned char bytes[MAX_MESSAGE_SIZE];
};

/// @name Building messages
/// @{

/// The general failure, with a text, if there are more than 255 strings of a kind, if they don't fit into a message, or
/// if one holds a zero byte, which would make two of it.
XCode buildExecute(MsgBuffer& message, ZKVector<String> const& arguments, ZKStringHashTable<String> const& environment);

MsgSignal makeSignal(int signalNumber);

MsgHdr makeAck();

/// A code without a text of its own gives an empty one. What doesn't fit of a text is cut off.
void buildXCode(MsgBuffer& message, MsgType type, XCode const& code);

/// @}

/// @name Reading messages
/// Of the message at most the bytes that its length counts are looked at, which must be there; everything in them may be
/// wrong, and then the result is the general failure with a text and no output is changed. The type isn't looked at, nor
/// is what stands behind the last string.
/// @{

/// Replaces both lists.
XCode readExecute(MsgHdr const& message, ZKVector<String>& arguments, ZKVector<String>& environment);
XCode readSignal(MsgHdr const& message, int& signalNumber);
XCode readXCode(MsgHdr const& message, XCode& result);

/// @}
}
