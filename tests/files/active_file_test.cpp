#include "zekovar/files/active_file.h"

#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using ZK::ActiveFile;

namespace
{
/// A connected pair of stream sockets: an active file on one end, a plain descriptor on the other.
struct Link
{
    explicit Link(ZKEventLoop& loop)
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        file = ZK::MovePtr<ActiveFile>(new ActiveFile(loop, ends[0], true, false));
        peer = ZKFile(ends[1], true, false);
    }

    bool send(std::string const& text) const
    {
        return peer.writeFixedSizeBlocking(text.data(), static_cast<unsigned int>(text.size()), true).isSuccess();
    }

    ZKLWPtr<ActiveFile> file;
    ZKFile peer;
};
}

TEST(ActiveFile, WatchesOnlyWhileSomebodyListensAndLosesNothing)
{
    TestLoop loop;
    loop.start();
    ZKFileQueue const& queue = loop.getFileQueue();
    unsigned int const observers = queue.getObserverCount();
    Link link(loop);
    EXPECT_EQ(queue.getObserverCount(), observers);
    ASSERT_TRUE(link.send("early "));
    std::string seen;
    std::atomic<size_t> length{0};
    auto const slot = ZK::bindArgs(ZK::directCall(),
                                   [&](TString<char> data)
                                   {
                                       seen.append(data.data(), static_cast<size_t>(data.length()));
                                       length = seen.size();
                                   });
    ZK::Sig::Connection first = link.file->onBinaryData.connect(slot);
    EXPECT_EQ(queue.getObserverCount(), observers + 1);
    ASSERT_TRUE(eventually([&] { return length == 6; }));
    ASSERT_TRUE(link.send("watched "));
    ASSERT_TRUE(eventually([&] { return length == 14; }));
    first.disconnect();
    EXPECT_EQ(queue.getObserverCount(), observers);
    ASSERT_TRUE(link.send("between "));
    first = link.file->onBinaryData.connect(slot);
    ASSERT_TRUE(eventually([&] { return length == 22; }));
    EXPECT_EQ(seen, "early watched between ");
}
