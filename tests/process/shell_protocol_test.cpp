#include "zekovar/process/shell_protocol.h"

#include "tests/process/wire_client.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace std::string_literals;
using namespace ZK::Shell;

namespace
{
std::string bytesOf(MsgBuffer const& buffer)
{
    return std::string(reinterpret_cast<char const*>(buffer.bytes), buffer.header()->length);
}

/// A message in memory of just its size.
class Received
{
public:
    explicit Received(std::string const& bytes) : m_words((bytes.size() + 3) / 4)
    {
        std::memcpy(m_words.data(), bytes.data(), bytes.size());
    }

    MsgHdr const& header() const { return reinterpret_cast<MsgHdr const&>(m_words[0]); }

private:
    std::vector<uint32_t> m_words;
};
}

TEST(ShellProtocol, CommandIsWrittenAsItIsRead)
{
    ZKVector<String> arguments, environment;
    for (char const* argument : {"ls", "", "-l"})
        arguments.add(argument);
    ZKStringHashTable<String> table;
    table.set("B", "2");
    table.set("A", "");
    MsgBuffer written;
    ASSERT_TRUE(buildExecute(written, arguments, table));
    EXPECT_EQ(bytesOf(written), commandMessage({"ls", "", "-l"}, {"B=2", "A="}));
    ASSERT_TRUE(readExecute(*written.header(), arguments, environment));
    EXPECT_EQ(String::join(environment, "|"), "B=2|A=");

    arguments.clear();
    arguments.add(String::repeat("x", MAX_MESSAGE_SIZE - sizeof(MsgExecute) - 1));
    EXPECT_TRUE(buildExecute(written, arguments, ZKStringHashTable<String>())) << "just fits";
    EXPECT_EQ(written.header()->length, MAX_MESSAGE_SIZE);
    arguments.add("");
    EXPECT_EQ(buildExecute(written, arguments, table).toString(), "COMMAND TOO LONG");
    arguments[0] = String("a\0b", 3, 0, 3);
    EXPECT_EQ(buildExecute(written, arguments, table).toString(), "COMMAND WITH ZERO BYTES");
    arguments[255] = "b";
    EXPECT_EQ(buildExecute(written, arguments, table).toString(), "TOO MANY STRINGS FOR A COMMAND");
}

TEST(ShellProtocol, CodesKeepTheirValueAndTheirOwnText)
{
    MsgBuffer written;
    XCode code(XCODE_ERRNO + ENOENT), result;
    buildXCode(written, MsgType::TERMINATED, code);
    EXPECT_EQ(bytesOf(written), message(2, raw(0) + raw(0x11000002) + '\0')) << "not what a value tells of itself";
    code.setString(String::repeat("x", 2 * MAX_MESSAGE_SIZE));
    buildXCode(written, MsgType::NAK, code);
    ASSERT_TRUE(readXCode(*written.header(), result));
    EXPECT_EQ(result.getValue(), code.getValue());
    EXPECT_EQ(result.toString(), String::repeat("x", MAX_MESSAGE_SIZE - 13));
    ASSERT_TRUE(readXCode(Received(message(4, raw(0) + raw(0x80000000) + '\0')).header(), result));
    EXPECT_TRUE(result.isErr()) << "a value of 32 bits doesn't become a success";
}

TEST(ShellProtocol, MessagesThatDontHoldWhatTheyCountAreRefused)
{
    ZKVector<String> arguments, environment;
    arguments.add("kept");
    for (std::string const& body : {"\1\0\0"s, "\1\1\0\0ls\0A=1"s, "\377\377\0\0ls\0"s})
        EXPECT_EQ(readExecute(Received(message(0, body)).header(), arguments, environment).toString(),
                  "MALFORMED MESSAGE RECEIVED");
    EXPECT_EQ(String::join(arguments, "|"), "kept");
    XCode result;
    for (std::string const body : {"abcdefg", "abcdefgh", "abcdefghi"})
        EXPECT_TRUE(readXCode(Received(message(4, body)).header(), result).isErr());
}
