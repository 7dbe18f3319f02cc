#include "zekovar/process/shell_protocol.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace ZK::Shell;

namespace
{
/// The bytes of a message, the header's length being `length`, in memory of exactly that size.
class Bytes
{
public:
    Bytes(MsgType type, std::string const& body) : Bytes(type, body, sizeof(MsgHdr) + body.size()) {}

    Bytes(MsgType type, std::string const& body, std::size_t length) : m_words((sizeof(MsgHdr) + body.size() + 3) / 4)
    {
        MsgHdr const header = {static_cast<uint16_t>(length), type, 0};
        std::memcpy(m_words.data(), &header, sizeof header);
        std::memcpy(m_words.data() + 1, body.data(), body.size());
    }

    MsgHdr const& header() const { return reinterpret_cast<MsgHdr const&>(*m_words.data()); }

private:
    std::vector<uint32_t> m_words;
};

std::string body(MsgBuffer const& message)
{
    return std::string(reinterpret_cast<char const*>(message.bytes) + sizeof(MsgHdr), message.header()->length - 4u);
}
}

TEST(ShellProtocol, CommandIsWrittenAsItIsRead)
{
    ZKVector<String> arguments;
    arguments.add("ls");
    arguments.add("");
    arguments.add("-l");
    ZKStringHashTable<String> environment;
    environment.set("B", "2");
    environment.set("A", "");
    MsgBuffer message;
    ASSERT_TRUE(buildExecute(message, arguments, environment));
    EXPECT_EQ(message.header()->type, MsgType::EXECUTE);
    EXPECT_EQ(body(message), std::string("\3\2\0\0ls\0\0-l\0B=2\0A=\0", 18));

    ZKVector<String> readArguments, readEnvironment;
    readArguments.add("replaced");
    ASSERT_TRUE(readExecute(*message.header(), readArguments, readEnvironment));
    EXPECT_EQ(String::join(readArguments, "|"), "ls||-l");
    EXPECT_EQ(String::join(readEnvironment, "|"), "B=2|A=");
}

TEST(ShellProtocol, CommandThatNoMessageCanHoldIsRefused)
{
    ZKVector<String> arguments;
    ZKStringHashTable<String> environment;
    MsgBuffer message;
    arguments.add(String::repeat("x", MAX_MESSAGE_SIZE - sizeof(MsgExecute) - 1));
    EXPECT_TRUE(buildExecute(message, arguments, environment)) << "just fits";
    EXPECT_EQ(message.header()->length, MAX_MESSAGE_SIZE);
    arguments.add("");
    EXPECT_EQ(buildExecute(message, arguments, environment).toString(), "COMMAND TOO LONG");

    arguments.clear();
    arguments.add(String("a\0b", 3, 0, 3));
    EXPECT_EQ(buildExecute(message, arguments, environment).toString(), "COMMAND WITH ZERO BYTES");
    arguments[0] = "a";
    arguments[255] = "b";
    EXPECT_EQ(buildExecute(message, arguments, environment).toString(), "TOO MANY STRINGS FOR A COMMAND");
}

TEST(ShellProtocol, CodesKeepTheirValueAndTheirOwnText)
{
    MsgBuffer message;
    XCode code(XCODE_ERRNO + ENOENT), result;
    buildXCode(message, MsgType::TERMINATED, code);
    EXPECT_EQ(message.header()->length, 13) << "what a value tells of itself isn't sent";
    ASSERT_TRUE(readXCode(*message.header(), result));
    EXPECT_EQ(result.toString(), code.toString());

    code.setString("NO SUCH PROGRAM");
    buildXCode(message, MsgType::NAK, code);
    EXPECT_EQ(message.header()->length, 28);
    EXPECT_EQ(message.header()->type, MsgType::NAK);
    ASSERT_TRUE(readXCode(*message.header(), result));
    EXPECT_EQ(result, code);
    EXPECT_EQ(result.toString(), "NO SUCH PROGRAM");

    code.setString(String::repeat("x", 2 * MAX_MESSAGE_SIZE));
    buildXCode(message, MsgType::NAK, code);
    ASSERT_TRUE(readXCode(*message.header(), result));
    EXPECT_EQ(result.toString(), String::repeat("x", MAX_MESSAGE_SIZE - 13));

    ASSERT_TRUE(readXCode(Bytes(MsgType::NAK, std::string("\0\0\0\0\x80\0\0\x80\0", 9)).header(), result));
    EXPECT_TRUE(result.isErr()) << "a value of 32 bits doesn't become a success";
}

TEST(ShellProtocol, MessagesThatDontHoldWhatTheyCountAreRefused)
{
    ZKVector<String> arguments, environment;
    arguments.add("kept");
    for (auto const& wrong : {Bytes(MsgType::EXECUTE, "\1\0\0"), Bytes(MsgType::EXECUTE, ""),
                              Bytes(MsgType::EXECUTE, std::string("\1\0\0\0ls", 6)),
                              Bytes(MsgType::EXECUTE, std::string("\1\1\0\0ls\0A=1", 10)),
                              Bytes(MsgType::EXECUTE, std::string("\377\377\0\0ls\0", 7)),
                              Bytes(MsgType::EXECUTE, std::string("\1\0\0\0ls\0", 7), 10)})
        EXPECT_EQ(readExecute(wrong.header(), arguments, environment).toString(), "MALFORMED MESSAGE RECEIVED");
    EXPECT_EQ(String::join(arguments, "|"), "kept");

    int signalNumber = 9;
    for (auto const& wrong : {Bytes(MsgType::SIGNAL, "abc"), Bytes(MsgType::SIGNAL, "abcde")})
        EXPECT_TRUE(readSignal(wrong.header(), signalNumber).isErr());
    EXPECT_EQ(signalNumber, 9);
    EXPECT_TRUE(readSignal(Bytes(MsgType::SIGNAL, std::string(4, '\0')).header(), signalNumber));
    EXPECT_EQ(signalNumber, 0);

    XCode result;
    for (auto const& wrong :
         {Bytes(MsgType::NAK, "abcdefg"), Bytes(MsgType::NAK, "abcdefgh"), Bytes(MsgType::NAK, "abcdefghi")})
        EXPECT_TRUE(readXCode(wrong.header(), result).isErr());
    EXPECT_TRUE(result.isSuccess());
}
