#include "zekovar/jobs/unknown.h"

#include "tests/string_printer.h"
#include "zekovar/jobs/future_result.h"

#include <gtest/gtest.h>

TEST(Component, IdentifiersAreThoseThatClientsKnow)
{
    EXPECT_EQ(CID_WeakIdentity().toString(true), "343571a4-e155-4840-ae9c-e442c9c5b5dc-CID_WeakIdentity");
    EXPECT_EQ(IID_Unknown().toString(true), "1e7be6bc-6ebb-4e16-8cc1-c107055e1f94-IID_Unknown");
    EXPECT_EQ(CID_Unknown(), IID_Unknown());
    EXPECT_EQ(ZK::IExecutor::IID().toString(true), "f17cf1e4-3267-4d4c-ab1e-047d222272ec-IExecutor");
    EXPECT_EQ(ZK::IFuture::IID().toString(true), "8362e461-d0ba-4281-bb7f-ac6f9c7da350-IFuture");
    EXPECT_EQ(ZK::IFutureResult<int>::IID().toString(true), "36726ee9-5732-49b6-a05c-dfff0a7bc2a2-IFutureResult");
    EXPECT_EQ(ZK::IFutureStream::IID().toString(true), "88adbcc1-3901-4df3-954e-135c045e01b4-IFutureStream");
    EXPECT_EQ(ZK::IJob::IID().toString(true), "cba60ca5-2ef8-42b7-afcb-e482da8bd24a-IJob");
}

TEST(Component, QueriesFindEachInterfaceOfTheChainAndCountThem)
{
    auto* const object = new ZK::CFutureResult<String>(nullptr);
    ZKPtr<ZK::IFuture> future(ZK::MovePtr<ZK::IFuture>{object});
    std::pair<ZK::UUID const&, void*> const rows[] = {
        {ZK::IFuture::IID(), static_cast<ZK::IFuture*>(object)},
        {IID_Unknown(), static_cast<ZK::IFuture*>(object)},
        {ZK::IFutureResult<String>::IID(), static_cast<ZK::IFutureResult<String>*>(object)},
        {ZK::IFutureStream::IID(), nullptr}};
    for (auto const& [iid, expected] : rows)
    {
        void* found = object;
        EXPECT_EQ(object->queryInterface(iid, &found), testExpression(expected)) << iid.text().c_str();
        EXPECT_EQ(found, expected);
        EXPECT_EQ(future->queryInterface(iid, nullptr), testExpression(expected)) << "a test, by another interface";
        EXPECT_EQ(object->getRefCount(), expected != nullptr ? 2u : 1u);
        if (found != nullptr)
            static_cast<IUnknown*>(found)->release();
    }

    ZKPtr<ZK::IFutureResult<String>> result;
    EXPECT_TRUE(future->queryIf(result));
    future = nullptr;
    EXPECT_TRUE(result->queryIf(result)) << "while it holds the last reference";
    EXPECT_EQ(object->getRefCount(), 1u);
    ZKPtr<ZK::IFutureStream> stream;
    EXPECT_FALSE(result->queryIf(stream) || stream);

    CObject bare;
    void* found = nullptr;
    EXPECT_TRUE(bare.queryInterface(IID_Unknown(), &found).isErr() && found == static_cast<IUnknown*>(&bare));
}
