#include "zekovar/files/active_file.h"

#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/events/event_sync.h"

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using ZK::ActiveFile;

namespace
{
template <class F>
auto direct(F target)
{
    return ZK::bindArgs(ZK::directCall(), target);
}

/// An active file on one end of a connection, and what its signals told.
class ActiveFileTest : public testing::Test
{
protected:
    ActiveFileTest()
    {
        m_loop.start();
        m_observers = m_loop.getFileQueue().getObserverCount();
        useSocket();
    }

    void useSocket()
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        use(ends[0], ends[1]);
    }

    void use(int fd, int peer)
    {
        m_file = ZK::MovePtr<ActiveFile>(new ActiveFile(m_loop, fd, true, false));
        m_peer = ZKFile(peer, true, false);
    }

    template <class Body>
    auto synchronized(Body body)
    {
        ZKAutoLock<ZKEventLoop> const stop(m_loop);
        return body();
    }

    unsigned int watches() const { return m_loop.getFileQueue().getObserverCount() - m_observers; }

    bool send(std::string const& text) const
    {
        return m_peer.writeFixedSizeBlocking(text.data(), static_cast<unsigned int>(text.size()), true).isSuccess();
    }

    void note(std::string const& what)
    {
        std::lock_guard const guard(m_mutex);
        m_told += what;
    }

    auto noting(char const* what)
    {
        return direct([this, what] { note(what); });
    }

    ZK::Sig::Connection takeBytes()
    {
        return m_file->onBinaryData.connect(direct(
            [this](TString<char> data) {
                note({data.data(), static_cast<std::size_t>(data.length())});
            }));
    }

    ZK::Sig::Connection takeErrors()
    {
        return m_file->onError.connect(direct([this](XCode code) { note(code.toString().c_str()); }));
    }

    /// Whether that, and no more, has been told once the loop has served all that is ready.
    bool isTold(std::string const& expected)
    {
        auto const isThere = [&]
        {
            std::lock_guard const guard(m_mutex);
            return m_told == expected;
        };
        return eventually(isThere) && turn() && turn() && isThere();
    }

    /// Returns when the loop has served what was ready before.
    bool turn()
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        ActiveFile mark(m_loop, ends[0], true, false);
        std::atomic<bool> hasTurned{false};
        mark.onStringData.connect(direct([&](String) { hasTurned = true; }));
        bool const result = write(ends[1], "x", 1) == 1 && eventually([&] { return hasTurned.load(); });
        mark.close();
        ::close(ends[1]);
        return result;
    }

    std::mutex m_mutex; // guards m_told
    std::string m_told; // outlives the loop
    TestLoop m_loop;
    unsigned int m_observers = 0; // the loop's own
    ZKLWPtr<ActiveFile> m_file;
    ZKFile m_peer;
};
}

TEST_F(ActiveFileTest, IsWatchedOnlyWhileSomebodyListensAndLosesNothing)
{
    EXPECT_TRUE(send("early ") && turn() && isTold("") && watches() == 0);
    ZK::Sig::Connection bytes = takeBytes();
    EXPECT_EQ(watches(), 1u);
    EXPECT_TRUE(send("watched ") && isTold("early watched "));
    synchronized([&] { bytes.disconnect(); });
    EXPECT_TRUE(watches() == 0 && send("between") && turn() && isTold("early watched "));
    takeBytes();
    EXPECT_TRUE(isTold("early watched between"));
}

TEST_F(ActiveFileTest, ReadReadyIsToldFirstAndTextGoesBeforeBytes)
{
    m_file->onReadReady.connect(noting("["));
    EXPECT_TRUE(send("kept") && isTold("[")) << "who listens to nothing else reads itself";
    takeBytes();
    EXPECT_TRUE(isTold("[[kept"));
    auto const text = direct([this](String data) { note("text " + std::to_string(data.length())); });
    ZK::Sig::Connection connection = synchronized([&] { return m_file->onStringData.connect(text); });
    EXPECT_TRUE(send({"a\0b", 3}) && isTold("[[kept[text 3"));
    synchronized([&] { connection.disconnect(); });
    EXPECT_TRUE(send("bytes") && isTold("[[kept[text 3[bytes"));
}

TEST_F(ActiveFileTest, EndIsToldOnceAReportBehindWhatWasSent)
{
    auto const listen = [&] { m_file->onHangup.connect(noting("!")), takeErrors(), takeBytes(); };
    EXPECT_TRUE(send("last") && m_peer.close());
    synchronized(listen);
    EXPECT_TRUE(isTold("last!"));
    EXPECT_TRUE(m_file->isOpen()) << "closing is up to the owner";

    useSocket();
    m_peer.close(); // which the kernel reports as readable and as hung up
    synchronized(listen);
    EXPECT_TRUE(isTold("last!!"));

    use(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), -1);
    takeErrors();
    EXPECT_TRUE(isTold("last!!TRANSPORT ENDPOINT IS NOT CONNECTED (107)"));
}

TEST_F(ActiveFileTest, MuchArrivesWholeAndInBoundedPieces)
{
    std::string sent, received;
    for (int i = 0; sent.size() < (2u << 20); i++)
        sent += std::to_string(i) + ' ';
    int largest = 0;
    std::atomic<bool> isOver{false};
    ZK::Function<void(String)> takeText;
    ZK::Sig::Connection text;
    auto const take = [&](char const* data, int length)
    {
        received.append(data, static_cast<std::size_t>(length));
        largest = std::max(largest, length);
        if (m_file->onStringData.hasSlots()) // as text and as bytes by turns
            text.disconnect();
        else
            text = m_file->onStringData.connect(takeText);
    };
    takeText = direct([&](String data) { take(data.c_str(), data.length()); });
    m_file->onBinaryData.connect(direct([&](TString<char> data) { take(data.data(), data.length()); }));
    m_file->onHangup.connect(direct([&] { isOver = true; }));
    EXPECT_TRUE(send(sent) && m_peer.close() && eventually([&] { return isOver.load(); }));
    EXPECT_TRUE(received == sent);
    EXPECT_LE(largest, static_cast<int>(ActiveFile::MAX_DATA_BYTES));
}

TEST_F(ActiveFileTest, SlotsMayChangeEverythingUnderWay)
{
    ZK::Sig::Connection bytes, hangup;
    auto const closing = [&](TString<char>)
    {
        EXPECT_TRUE(m_file->close() && watches() == 0);
        note("closed ");
    };
    auto const dropping = [&](String)
    {
        hangup.disconnect();
        m_file = nullptr;
        note("dropped");
    };
    synchronized(
        [&] { hangup = m_file->onHangup.connect(noting("!")), bytes = m_file->onBinaryData.connect(direct(closing)); });
    EXPECT_TRUE(send("x") && m_peer.close() && isTold("closed ")) << "the end came, too, but the file is closed";

    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    m_peer = ZKFile(ends[1], true, false);
    synchronized(
        [&]
        {
            bytes.disconnect();
            m_file->onStringData.connect(direct(dropping));
            EXPECT_TRUE(m_file->setFd(ends[0]) && watches() == 1) << "slots of before watch the new descriptor";
        });
    EXPECT_TRUE(send("x") && m_peer.close() && isTold("closed dropped") && watches() == 0);
}

TEST_F(ActiveFileTest, WatchingFollowsTheDescriptor)
{
    TemporaryDirectory const directory;
    ZKFile fifo(directory / "fifo", true, false);
    ASSERT_TRUE(fifo.createFifo(0600));
    m_file = ZK::MovePtr<ActiveFile>(new ActiveFile(m_loop, fifo.getPath(), true, false));
    EXPECT_EQ(m_file->getLock(), &m_loop.getEventSync(EventPrio::NORMAL));
    takeBytes();
    for (std::string const told : {"one ", "one one "})
    {
        EXPECT_EQ(watches(), 0u);
        ASSERT_TRUE(m_file->open(O_RDWR, 0, ZKFile::XO_NONE) && watches() == 1);
        EXPECT_TRUE(fifo.open(O_WRONLY, 0, ZKFile::XO_NONE) && fifo.write("one ", true) && isTold(told));
        EXPECT_TRUE(m_file->close());
    }
    m_file->onWriteReady.connect(noting(">"));
    ASSERT_TRUE(watches() == 0 && m_file->open(O_RDWR, 0, ZKFile::XO_NONE));
    EXPECT_TRUE(isTold("one one >"));

    // a forked child, say, keeps the kernel's file alive
    int const keeper = fcntl(m_file->getFd(), F_DUPFD_CLOEXEC, 0);
    EXPECT_TRUE(m_file->close());
    EXPECT_TRUE(fifo.write("for nobody", true) && isTold("one one >"));
    ::close(keeper);
}

TEST_F(ActiveFileTest, ReadingAndWritingAreWatchedAtOnce)
{
    takeBytes();
    ASSERT_TRUE(turn());
    ZK::Sig::Connection writable = synchronized([&] { return m_file->onWriteReady.connect(noting(">")); });
    EXPECT_TRUE(isTold(">"));
    static constexpr char BLOCK[65536] = {};
    for (unsigned int count = 1; count > 0;)
        m_file->writeOnce(BLOCK, sizeof(BLOCK), count, true);
    m_peer.setBlocking(false);
    char buffer[65536];
    for (unsigned int count = 1; count > 0;)
        m_peer.readOnce(buffer, sizeof(buffer), count, true);
    EXPECT_TRUE(eventually([&] { return synchronized([&] { return m_told.size() > 1; }); })) << "there is room again";
    synchronized([&] { writable.disconnect(), m_told.clear(); });
    EXPECT_TRUE(send("still read") && isTold("still read"));
}

TEST_F(ActiveFileTest, LastReferenceMayGoOnAnotherThreadWhileASlotRuns)
{
    for (int i = 0; i < 100; i++)
    {
        auto const calls = std::make_shared<std::atomic<int>>(0);
        m_file->onReadReady.connect(direct([calls] { *calls += 1, std::this_thread::yield(); }));
        takeBytes();
        EXPECT_TRUE(send("x") && (i % 2 == 0 || eventually([&] { return *calls != 0; })));
        m_file = nullptr;
        EXPECT_TRUE(eventually([&] { return watches() == 0 && calls.use_count() == 1; }));
        useSocket();
    }
}

TEST_F(ActiveFileTest, LoopThatDoesNotRunHoldsNobodyUp)
{
    takeBytes();
    ASSERT_TRUE(turn());
    m_loop.stop();
    EXPECT_TRUE(send("kept"));
    m_file->onWriteReady.connect(noting(">")).disconnect();
    ZKFile unused;
    ASSERT_TRUE(ZKFile::CREATE_PIPE(unused, unused, true));
    {
        unsigned int const before = watches();
        ActiveFile other(m_loop, unused.getFd(), false, false);
        other.onWriteReady.connect(noting(">"));
        EXPECT_TRUE(watches() == before + 1 && other.close() && watches() == before);
    }
    m_loop.start();
    EXPECT_TRUE(isTold("kept"));
}

TEST_F(ActiveFileTest, ThreadsMayConnectToDifferentSignalsAtOnce)
{
    auto const comeAndGo = [&](auto& signal, auto const& slot)
    {
        for (int i = 0; i < 300; i++)
        {
            ZK::Sig::Connection connection = signal.connect(slot);
            EXPECT_TRUE(eventually([&] { return watches() == 1; }));
            connection.disconnect();
        }
    };
    std::thread other([&] { comeAndGo(m_file->onError, direct([](XCode) {})); });
    comeAndGo(m_file->onHangup, noting("!"));
    other.join();
    EXPECT_EQ(watches(), 0u);
    takeBytes();
    EXPECT_TRUE(send("x") && isTold("x"));
}

TEST_F(ActiveFileTest, CopyHasTheFileButNotTheSlots)
{
    takeBytes();
    TestLoop otherLoop;
    ActiveFile copy(*m_file), moved(std::move(*m_file)), assigned(otherLoop, "", false, false);
    EXPECT_TRUE(copy.getFd() == m_file->getFd() && moved.getFd() == m_file->getFd() && copy.getLock() == nullptr);
    EXPECT_FALSE(copy.onBinaryData.hasSlots() || moved.onBinaryData.hasSlots());
    EXPECT_TRUE(m_file->close() && !copy.isOpen());

    assigned.onStringData.connect(direct([this](String data) { note(data.c_str()); }));
    useSocket();
    assigned = *m_file;
    EXPECT_TRUE(&assigned.getEventLoop() == &m_loop && send("slots stay") && isTold("slots stay"));
    assigned = copy;
    EXPECT_EQ(watches(), 0u);
}

TEST_F(ActiveFileTest, EmptyDatagramHoldsUpNoneBehindIt)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends), 0);
    use(ends[0], ends[1]);
    for (std::string const datagram : {"", "one ", "", "two"})
        EXPECT_EQ(::send(ends[1], datagram.data(), datagram.size(), 0), static_cast<ssize_t>(datagram.size()));
    takeBytes();
    m_file->onHangup.connect(noting("!"));
    EXPECT_TRUE(eventually([&] { return synchronized([&] { return m_told.ends_with("two"); }); })) << m_told;
}

TEST_F(ActiveFileTest, UrgentDataOfTcpHoldsNothingUp)
{
    ZKFile const listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), true, false);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    ASSERT_TRUE(bind(listener.getFd(), plain, length) == 0 && listen(listener.getFd(), 1) == 0);
    ASSERT_EQ(getsockname(listener.getFd(), plain, &length), 0);
    int const peer = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(peer, plain, length), 0);
    use(accept4(listener.getFd(), nullptr, nullptr, SOCK_CLOEXEC), peer);
    char byte = 0;
    EXPECT_TRUE(send("in front ") && ::send(peer, "U", 1, MSG_OOB) == 1 && send("behind"));
    ASSERT_TRUE(eventually([&] { return recv(m_file->getFd(), &byte, 1, MSG_OOB | MSG_PEEK) == 1; }));
    takeBytes(), takeErrors();
    EXPECT_TRUE(isTold("in front behind"));
    EXPECT_TRUE(::send(peer, "U", 1, MSG_OOB) == 1 && turn() && isTold("in front behind"));
    EXPECT_TRUE(send(".") && isTold("in front behind."));

    int ends[2]; // what holds for TCP doesn't hold for the next descriptor
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    synchronized([&] { m_file->onHangup.connect(noting("!")), m_file->setFd(ends[0]); });
    ::close(ends[1]);
    EXPECT_TRUE(isTold("in front behind.!"));
}
