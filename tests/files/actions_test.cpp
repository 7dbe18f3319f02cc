#include "zekovar/files/actions.h"

#include <gmock/gmock.h>

namespace
{
struct Engine : Actions
{
    using Text = String const&;

    MOCK_METHOD(XCode, onSystemUp, (), (override));
    MOCK_METHOD(XCode, addRule, (Text), (override));
    MOCK_METHOD(XCode, removeRule, (Text), (override));
    MOCK_METHOD(XCode, addRuleCondition, (Text, Text, Text, Text), (override));
    MOCK_METHOD(XCode, removeRuleCondition, (Text, Text, Text, Text), (override));
    MOCK_METHOD(XCode, registerEvent, (Text, Text, Text), (override));
    MOCK_METHOD(XCode, unregisterEvent, (Text, Text, Text), (override));
    MOCK_METHOD(XCode, sendEvent, (Text, Text, Text), (override));
};
}

TEST(Actions, CallsReachTheRegisteredEngineOnly)
{
    testing::StrictMock<Engine> engine;
    String const a("a"), b("b"), c("c"), d("d");
    auto const callAll = [&]
    {
        return Actions::ON_SYSTEM_UP() && Actions::ADD_RULE(a) && Actions::REMOVE_RULE(b) &&
               Actions::ADD_RULE_CONDITION(a, b, c, d) && Actions::REMOVE_RULE_CONDITION(d, c, b, a) &&
               Actions::REGISTER_EVENT(a, b, c) && Actions::UNREGISTER_EVENT(c, b, a) && Actions::SEND_EVENT(b, c, a);
    };
    EXPECT_TRUE(callAll());

    EXPECT_TRUE(Actions::REGISTER_ACTIONS_INTERFACE(&engine));
    EXPECT_CALL(engine, onSystemUp);
    EXPECT_CALL(engine, addRule(a));
    EXPECT_CALL(engine, removeRule(b));
    EXPECT_CALL(engine, addRuleCondition(a, b, c, d));
    EXPECT_CALL(engine, removeRuleCondition(d, c, b, a));
    EXPECT_CALL(engine, registerEvent(a, b, c));
    EXPECT_CALL(engine, unregisterEvent(c, b, a));
    EXPECT_CALL(engine, sendEvent(b, c, a)).WillOnce(testing::Return(XCODE_FAILURE));
    EXPECT_FALSE(callAll());

    EXPECT_TRUE(Actions::UNREGISTER_ACTIONS_INTERFACE(nullptr) && Actions::REGISTER_ACTIONS_INTERFACE(nullptr));
    EXPECT_TRUE(callAll());
}
