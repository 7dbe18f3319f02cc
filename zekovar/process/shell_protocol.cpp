#include "zekovar/process/shell_protocol.h"

#include "zekovar/foundation/system_code.h"

#include <algorithm>
#include <cstring>
#include <utility>

using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
constexpr unsigned int MAX_STRINGS = 255;

XCode malformed()
{
    return withText(XCODE_FAILURE, "MALFORMED MESSAGE RECEIVED");
}

/// Puts texts into a message from `offset` on, for as long as they fit.
class Writer
{
public:
    Writer(MsgBuffer& message, unsigned int offset) : m_message(message), m_end(offset) {}

    void put(String const& text, char terminator)
    {
        unsigned int const length = static_cast<unsigned int>(text.length());
        m_isWhole = m_isWhole && std::memchr(text.c_str(), '\0', length) == nullptr;
        m_fits = m_fits && length < MAX_MESSAGE_SIZE - m_end;
        if (!m_fits)
            return;
        std::memcpy(m_message.bytes + m_end, text.c_str(), length);
        m_end += length;
        m_message.bytes[m_end++] = static_cast<unsigned char>(terminator);
    }

    unsigned int end() const { return m_end; }

    bool fits() const { return m_fits; }

    /// Whether no text holds a zero.
    bool isWhole() const { return m_isWhole; }

private:
    MsgBuffer& m_message;
    unsigned int m_end;
    bool m_fits = true;
    bool m_isWhole = true;
};

/// Takes texts out of the bytes behind the fixed part of a message, which is `offset` bytes long and there.
class Reader
{
public:
    Reader(MsgHdr const& message, std::size_t offset)
        : m_next(reinterpret_cast<char const*>(&message) + offset), m_left(message.length - offset)
    {
    }

    bool get(String& text)
    {
        char const* const zero = static_cast<char const*>(std::memchr(m_next, '\0', m_left));
        if (zero == nullptr)
            return false;
        text = m_next;
        m_left -= static_cast<std::size_t>(zero + 1 - m_next);
        m_next = zero + 1;
        return true;
    }

    bool get(ZKVector<String>& texts, unsigned int count)
    {
        if (count > m_left || !texts.enlarge(count))
            return false;
        for (unsigned int i = 0; i < count; ++i)
        {
            if (!get(texts[i]))
                return false;
        }
        return true;
    }

private:
    char const* m_next;
    std::size_t m_left; // bytes
};
}

XCode buildExecute(MsgBuffer& message, ZKVector<String> const& arguments, ZKStringHashTable<String> const& environment)
{
    if (arguments.size() > MAX_STRINGS || environment.size() > MAX_STRINGS)
        return withText(XCODE_FAILURE, "TOO MANY STRINGS FOR A COMMAND");
    Writer writer(message, sizeof(MsgExecute));
    for (String const& argument : arguments)
        writer.put(argument, '\0');
    for (auto const& entry : environment)
    {
        writer.put(entry.key(), '=');
        writer.put(entry.value(), '\0');
    }
    if (!writer.fits())
        return withText(XCODE_FAILURE, "COMMAND TOO LONG");
    if (!writer.isWhole())
        return withText(XCODE_FAILURE, "COMMAND WITH ZERO BYTES");
    MsgExecute const fixed = {{static_cast<uint16_t>(writer.end()), MsgType::EXECUTE, 0},
                              static_cast<uint8_t>(arguments.size()),
                              static_cast<uint8_t>(environment.size()),
                              0};
    std::memcpy(message.bytes, &fixed, sizeof fixed);
    return XCODE_SUCCESS;
}

MsgSignal makeSignal(int signalNumber)
{
    return {{sizeof(MsgSignal), MsgType::SIGNAL, 0}, signalNumber};
}

MsgHdr makeAck()
{
    return {sizeof(MsgHdr), MsgType::ACK, 0};
}

void buildXCode(MsgBuffer& message, MsgType type, XCode const& code)
{
    String const text = ZK::Detail::attachedText(code);
    std::size_t const length =
        std::min<std::size_t>(std::strlen(text.c_str()), MAX_MESSAGE_SIZE - sizeof(MsgXCode) - 1);
    MsgXCode const fixed = {{static_cast<uint16_t>(sizeof fixed + length + 1), type, 0}, 0, code.getRawValue()};
    std::memcpy(message.bytes, &fixed, sizeof fixed);
    std::memcpy(message.bytes + sizeof fixed, text.c_str(), length);
    message.bytes[sizeof fixed + length] = 0;
}

XCode readExecute(MsgHdr const& message, ZKVector<String>& arguments, ZKVector<String>& environment)
{
    if (message.length < sizeof(MsgExecute))
        return malformed();
    auto const& fixed = reinterpret_cast<MsgExecute const&>(message);
    Reader reader(message, sizeof fixed);
    ZKVector<String> newArguments, newEnvironment;
    if (!reader.get(newArguments, fixed.argumentCount) || !reader.get(newEnvironment, fixed.environmentCount))
        return malformed();
    arguments = std::move(newArguments);
    environment = std::move(newEnvironment);
    return XCODE_SUCCESS;
}

XCode readSignal(MsgHdr const& message, int& signalNumber)
{
    if (message.length != sizeof(MsgSignal))
        return malformed();
    signalNumber = reinterpret_cast<MsgSignal const&>(message).signalNumber;
    return XCODE_SUCCESS;
}

XCode readXCode(MsgHdr const& message, XCode& result)
{
    if (message.length < sizeof(MsgXCode))
        return malformed();
    String text;
    if (!Reader(message, sizeof(MsgXCode)).get(text))
        return malformed();
    uint32_t const value = reinterpret_cast<MsgXCode const&>(message).value;
    result = XCode(value);
    if (result.getRawValue() != value)
        result.value() = static_cast<XCodeValue>(value); // all 32 bits, which only a record keeps
    if (!text.isEmpty())
        result.setString(text);
    return XCODE_SUCCESS;
}
}
