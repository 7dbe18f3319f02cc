#include "zekovar/net/dns_lookup.h"

#include "tests/events/loop_fixture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <netdb.h>
#include <string>
#include <vector>

using std::placeholders::_1;
using std::placeholders::_2;
using Type = IpAddress::NetAddressType;
using Addresses = std::vector<std::string>;

namespace
{
/// What a callback was told, and where.
struct Answer
{
    ZK::DnsLookupThread::Callback callback(ZK::FunctionContext const& context = ZK::directCall())
    {
        return ZK::bindArgs(context, &Answer::take, this, _1, _2);
    }

    void take(XCode result, ZKVector<String> found)
    {
        code = result;
        for (unsigned int i = 0; i < found.size(); i++)
            addresses.emplace_back(found[i].c_str());
        threadName = ZKThread::CURRENT_NAME();
        calls++;
    }

    XCode code = XCODE_FAILURE;
    Addresses addresses;
    String threadName;
    std::atomic<int> calls = 0;
};

Addresses addressesOf(char const* name, Type type)
{
    Answer answer;
    ZK::DnsLookupThread lookup("lookup", answer.callback(), name, type, 0);
    EXPECT_TRUE(lookup.start("").isSuccess());
    lookup.join();
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.code.isSuccess(), !answer.addresses.empty()) << name << ": " << answer.code.toString().c_str();
    return answer.addresses;
}
}

TEST(DnsLookup, GivesEachAddressOfTheTypesAskedForOnce)
{
    EXPECT_EQ(addressesOf("192.0.2.7", Type::EMPTY), Addresses{"192.0.2.7"});
    EXPECT_EQ(addressesOf("2001:db8::7", Type::IPV6), Addresses{"2001:db8::7"});
    EXPECT_EQ(addressesOf("2001:db8::7", static_cast<Type>(3)), Addresses{"2001:db8::7"});
    EXPECT_EQ(addressesOf("localhost", Type::IPV4).at(0), "127.0.0.1");
    Addresses const all = addressesOf("localhost", Type::EMPTY);
    EXPECT_EQ(std::count(all.begin(), all.end(), "127.0.0.1"), 1);
    EXPECT_LE(std::count(all.begin(), all.end(), "::1"), 1);
}

TEST(DnsLookup, FailureHasTheSystemsTextAndNoAddresses)
{
    Answer answer;
    ZK::DnsLookupThread lookup("lookup", answer.callback(), "192.0.2.7", Type::IPV6, 0);
    for (XCode const& failure : {lookup.resolveDefault(), answer.code})
    {
        EXPECT_EQ(failure.getValue(), XCODE_FAILURE);
        EXPECT_STREQ(failure.toString().c_str(), gai_strerror(EAI_ADDRFAMILY));
    }
    EXPECT_EQ(answer.calls, 1);
    EXPECT_TRUE(answer.addresses.empty());
    EXPECT_TRUE(addressesOf("", Type::EMPTY).empty());
    EXPECT_TRUE(addressesOf(std::string(2000, 'x').c_str(), Type::EMPTY).empty());
}

TEST(DnsLookup, CallbackRunsWhereItsContextSays)
{
    TestLoop loop;
    loop.start();
    using Context = ZK::FunctionContext;
    for (auto const type : {Context::Type::DIRECT, Context::Type::SYNC, Context::Type::ASYNC})
    {
        Answer answer;
        ZK::DnsLookupThread lookup("lookup", answer.callback({type, &loop}), "192.0.2.7", Type::EMPTY, 0);
        ASSERT_TRUE(lookup.start("").isSuccess());
        ASSERT_TRUE(eventually([&] { return answer.calls == 1; }));
        EXPECT_EQ(answer.threadName, type == Context::Type::ASYNC ? "Test" : "lookup");
        EXPECT_EQ(answer.addresses, Addresses{"192.0.2.7"});
    }
}

TEST(DnsLookup, CanBeDestroyedByItsCallbackAndWhileItRuns)
{
    std::atomic<bool> called = false;
    auto* lookup = new std::unique_ptr<ZK::DnsLookupThread>;
    auto const destroy = [&called, lookup](XCode, ZKVector<String>)
    {
        delete lookup;
        called = true;
    };
    lookup->reset(new ZK::DnsLookupThread("lookup", ZK::bindArgs(ZK::directCall(), destroy), "::1", Type::EMPTY, 0));
    ASSERT_TRUE((*lookup)->start("").isSuccess());
    ASSERT_TRUE(eventually([&] { return called.load(); }));

    Answer answer;
    for (int i = 0; i < 40; i++)
    {
        ZK::DnsLookupThread brief("brief", answer.callback(), "localhost", Type::EMPTY, 0);
        ASSERT_TRUE(brief.start("").isSuccess());
        if (i % 2 == 1)
            brief.detach();
    }
    EXPECT_EQ(ZKThread::GET_BY_NAME("brief"), nullptr);
}
