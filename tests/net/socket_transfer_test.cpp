#include "tests/net/peer.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/net/socket.h"

#include <atomic>
#include <csignal>
#include <thread>

using ZK::Socket;
using ZK::Detail::codeOfErrno;

namespace
{
/// Two blocking sockets that are connected.
struct Pair
{
    Pair()
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        near = ZK::MovePtr<Socket>(new Socket(loop, ends[0], true));
        far = ZK::MovePtr<Socket>(new Socket(loop, ends[1], true));
    }

    TestLoop loop;
    ZKPPtr<Socket> near, far;
};
}

TEST(Socket, SendsAllOrFails)
{
    Pair pair;
    unsigned int count = 99;
    EXPECT_TRUE(Socket(pair.loop, true).sendFixedSize(nullptr, 0, 0, true)) << "nothing is no call";
    EXPECT_EQ(Socket(pair.loop, true).sendOnce("x", 1, count, 0, true), codeOfErrno(EBADF));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(pair.near->send(String("te"), 0, true) && pair.near->send(TString<char>("x\0", 2), 0, true));
    EXPECT_TRUE(pair.near->sendTo(nullptr, 0, String("t"), 0, true));
    char buffer[8];
    EXPECT_TRUE(pair.far->recvFrom(nullptr, nullptr, buffer, 8, count, 0, true));
    EXPECT_EQ(std::string(buffer, count), std::string("tex\0t", 5));

    String const much = String::repeat("0123456789", 200000);
    String received;
    bool eof = false;
    std::thread reader([&] { pair.far->read(received, eof, true); });
    EXPECT_TRUE(pair.near->send(much, 0, true) && pair.near->shutdown(SHUT_WR));
    reader.join();
    EXPECT_TRUE(received == much && eof);

    pair.far->setBlocking(false);
    EXPECT_EQ(pair.far->send(much, 0, true), codeOfErrno(EAGAIN)) << "part of it is on its way";
    pair.near->close();
    EXPECT_EQ(pair.far->send(much, 0, true), codeOfErrno(EPIPE)) << "and no SIGPIPE";
    EXPECT_EQ(pair.far->sendToFixedSize(nullptr, 0, "x", 1, 0, true), codeOfErrno(EPIPE));
}

TEST(Socket, InterruptsEndACallOnlyWithoutRetry)
{
    static std::atomic<int> interrupts;
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupts++; };
    ::sigaction(SIGUSR1, &action, nullptr);
    for (bool const retry : {false, true})
    {
        Pair pair;
        interrupts = 0;
        std::atomic<bool> done{false};
        char byte = 0;
        unsigned int count = 99;
        XCode code;
        std::thread reader([&]
                           { code = pair.near->recvFrom(nullptr, nullptr, &byte, 1, count, 0, retry), done = true; });
        EXPECT_TRUE(eventually(
            [&] { return pthread_kill(reader.native_handle(), SIGUSR1), done || (retry && interrupts >= 20); }));
        EXPECT_EQ(done, !retry);
        EXPECT_TRUE(!retry || pair.far->send(String("x"), 0, true));
        reader.join();
        EXPECT_TRUE(code == (retry ? XCode() : codeOfErrno(EINTR)) && count == (retry ? 1 : 0));
    }
}
