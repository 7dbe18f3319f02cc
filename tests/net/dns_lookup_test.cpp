#include "zekovar/net/dns_lookup.h"

#include "tests/events/loop_fixture.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <netdb.h>
#include <string>
#include <vector>

using std::placeholders::_1;
using std::placeholders::_2;
using Type = IpAddress::NetAddressType;

namespace
{
/// What a callback was told, and where.
struct Answer
{
    void take(XCode result, ZKVector<String> found)
    {
        code = result;
        for (unsigned int i = 0; i < found.size(); i++)
            addresses.emplace_back(found[i].c_str());
        threadName = ZKThread::CURRENT_NAME();
        calls++;
    }

    ZK::DnsLookupThread::Callback callback(ZK::FunctionContext const& context)
    {
        return ZK::bindArgs(context, &Answer::take, this, _1, _2);
    }

    XCode code = XCODE_FAILURE;
    std::vector<std::string> addresses;
    String threadName;
    std::atomic<int> calls = 0;
};

using Addresses = std::vector<std::string>;

Addresses addressesOf(char const* name, Type type)
{
    Answer answer;
    ZK::DnsLookupThread lookup("lookup", answer.callback(ZK::directCall()), name, type, 0);
    EXPECT_TRUE(lookup.start("").isSuccess());
    lookup.join();
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.code.isSuccess(), !answer.addresses.empty()) << name << ": " << answer.code.toString().c_str();
    return answer.addresses;
}
}

TEST(DnsLookup, NumericTextComesBackOnce)
{
    EXPECT_EQ(addressesOf("192.0.2.7", Type::EMPTY), Addresses{"192.0.2.7"});
    EXPECT_EQ(addressesOf("192.0.2.7", Type::IPV4), Addresses{"192.0.2.7"});
    EXPECT_EQ(addressesOf("2001:db8::7", Type::IPV6), Addresses{"2001:db8::7"});
    EXPECT_EQ(addressesOf("2001:db8::7", static_cast<Type>(3)), Addresses{"2001:db8::7"});
}

TEST(DnsLookup, NameOfTheHostsFileGivesTheAddressesOfTheTypesAskedFor)
{
    EXPECT_EQ(addressesOf("localhost", Type::IPV4).at(0), "127.0.0.1");
    Addresses const all = addressesOf("localhost", Type::EMPTY);
    EXPECT_EQ(std::count(all.begin(), all.end(), "127.0.0.1"), 1);
    EXPECT_LE(std::count(all.begin(), all.end(), "::1"), 1);
}

TEST(DnsLookup, FailureHasTheSystemsTextAndNoAddresses)
{
    Answer answer;
    ZK::DnsLookupThread lookup("lookup", answer.callback(ZK::directCall()), "192.0.2.7", Type::IPV6, 0);
    XCode const code = lookup.resolveDefault(); // on the calling thread
    EXPECT_EQ(answer.calls, 1);
    EXPECT_TRUE(answer.addresses.empty());
    for (XCode const& failure : {code, answer.code})
    {
        EXPECT_EQ(failure.getValue(), XCODE_FAILURE);
        EXPECT_STREQ(failure.toString().c_str(), gai_strerror(EAI_ADDRFAMILY));
    }
    EXPECT_TRUE(addressesOf("", Type::EMPTY).empty());
    EXPECT_TRUE(addressesOf(std::string(2000, 'x').c_str(), Type::EMPTY).empty());
}

TEST(DnsLookup, CallbackRunsWhereItsContextSays)
{
    TestLoop loop;
    loop.start();
    using Context = ZK::FunctionContext;

    struct
    {
        Context context;
        char const* thread;
    } const cases[] = {{ZK::directCall(), "lookup"},
                       {{Context::Type::SYNC, &loop}, "lookup"},
                       {{Context::Type::ASYNC, &loop}, "Test"}};

    for (auto const& [context, thread] : cases)
    {
        Answer answer;
        ZK::DnsLookupThread lookup("lookup", answer.callback(context), "192.0.2.7", Type::EMPTY, 0);
        ASSERT_TRUE(lookup.start("").isSuccess());
        ASSERT_TRUE(eventually([&] { return answer.calls == 1; }));
        EXPECT_EQ(answer.threadName, thread);
        EXPECT_EQ(answer.addresses, Addresses{"192.0.2.7"});
    }
}

TEST(DnsLookup, CanBeDestroyedByItsCallbackAndWhileItRuns)
{
    std::atomic<bool> called = false;
    auto* lookup = new std::unique_ptr<ZK::DnsLookupThread>;
    auto const destroy = [&, lookup](XCode, ZKVector<String>)
    {
        delete lookup;
        called = true;
    };
    lookup->reset(new ZK::DnsLookupThread("lookup", ZK::bindArgs(ZK::directCall(), destroy), "::1", Type::EMPTY, 0));
    ASSERT_TRUE((*lookup)->start("").isSuccess());
    ASSERT_TRUE(eventually([&] { return called.load(); }));

    Answer answer;
    for (bool detached : {false, true})
    {
        for (int i = 0; i < 20; i++)
        {
            ZK::DnsLookupThread brief("brief", answer.callback(ZK::directCall()), "localhost", Type::EMPTY, 0);
            ASSERT_TRUE(brief.start("").isSuccess());
            if (detached)
                brief.detach();
        }
    }
    EXPECT_EQ(ZKThread::GET_BY_NAME("brief"), nullptr);
}
