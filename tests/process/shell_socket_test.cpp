#include "zekovar/process/shell_socket.h"

#include "tests/process/wire_client.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <fcntl.h>

using namespace ZK::Shell;

namespace
{
class TestSocket : public Socket
{
public:
    explicit TestSocket(int fd) : Socket(IO::PLACE(), fd) {}
};

class ShellSocket : public testing::Test
{
protected:
    explicit ShellSocket(std::array<int, 2> ends = connectedPair()) : m_socket(ends[0]), m_peer(ends[1], true, false) {}

    static std::array<int, 2> connectedPair()
    {
        std::array<int, 2> ends;
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        return ends;
    }

    XCode receive() { return m_socket.recv(m_message.header(), sizeof m_message.bytes, m_fdCount, m_fds); }

    /// What `recv` says of `bytes` that come with `fdCount` descriptors. On failure all of these must be closed.
    String receive(std::string const& bytes, std::size_t fdCount)
    {
        ZKFile reader, writer;
        EXPECT_TRUE(ZKFile::CREATE_PIPE(reader, writer, true));
        sendBytes(m_peer.getFd(), bytes, std::vector<int>(fdCount, writer.getFd()));
        writer.close();
        XCode const code = receive();
        EXPECT_TRUE(code.isSuccess() || (m_fdCount == 0 && readAll(reader).empty()));
        return code.toString();
    }

    TestSocket m_socket;
    ZKFile m_peer;
    MsgBuffer m_message;
    unsigned int m_fdCount = 77;
    int m_fds[MAX_DESCRIPTORS];
};
}

TEST_F(ShellSocket, ReceivesWholeMessagesWithTheirDescriptors)
{
    EXPECT_EQ(receive(signalMessage(9), 0), "");
    EXPECT_EQ(m_fdCount, 0u);
    EXPECT_EQ(std::memcmp(m_message.bytes, signalMessage(9).data(), 8), 0);
    EXPECT_EQ(receive(message(3, ""), 3), "");
    ASSERT_EQ(m_fdCount, 3u);
    for (int const fd : m_fds)
        EXPECT_EQ(::fcntl(ZKFile(fd, true, false).getFd(), F_GETFD), FD_CLOEXEC);
}

TEST_F(ShellSocket, RefusesWhatIsNoMessageAndClosesItsDescriptors)
{
    EXPECT_EQ(receive("abc", 3), "RECEIVED MESSAGE SHORTER THAN HEADER (3 < 4)");
    EXPECT_EQ(receive(message(3, "") + "x", 1), "RECEIVED MESSAGE OF INVALID SIZE (5 != 4)");
    EXPECT_EQ(receive(raw(uint16_t{9}) + "abcdef", 0), "RECEIVED MESSAGE OF INVALID SIZE (8 != 9)");
    m_peer.close();
    EXPECT_EQ(receive().getValue(), XCODE_ERRNO + EPIPE);
    EXPECT_TRUE(m_socket.close());
    EXPECT_EQ(receive().toString(), "CANNOT RECEIVE MESSAGE FROM PEER");
}

TEST_F(ShellSocket, RefusesMoreDescriptorsThanThree)
{
    EXPECT_EQ(receive(message(3, ""), 4), "INSUFFICIENT SPACE FOR RECEIVING ANCILLARY ELEMENTS");
}

TEST_F(ShellSocket, SendsWholeMessagesOnly)
{
    int fds[4] = {};
    MsgSignal const signal = makeSignal(15);
    MsgHdr header = makeAck();
    EXPECT_EQ(m_socket.send(nullptr, 0, fds), XCODE_FAILURE);
    EXPECT_EQ(m_socket.send(&header, 4, fds), XCODE_FAILURE);
    header.length = 3;
    EXPECT_EQ(m_socket.send(&header, 0, fds), XCODE_FAILURE);
    EXPECT_TRUE(m_socket.send(&signal.header, 0, nullptr));
    char bytes[16];
    ASSERT_EQ(::read(m_peer.getFd(), bytes, sizeof bytes), 8) << "and nothing before it";
    EXPECT_EQ(std::string(bytes, 8), signalMessage(15));

    m_peer.close();
    XCode const code = m_socket.send(&signal.header, 0, nullptr);
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + EPIPE) << "and no SIGPIPE";
    EXPECT_EQ(code.toString(), "CANNOT SEND MESSAGE TO PEER");
    EXPECT_TRUE(m_socket.close());
    EXPECT_EQ(m_socket.send(&signal.header, 0, nullptr), XCODE_FAILURE);
}
