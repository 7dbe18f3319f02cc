#include "tests/threads/function_thread.h"
#include "zekovar/threads/thread_attribute.h"

#include <gtest/gtest.h>

namespace
{
class Attribute : public ZKThreadAttribute
{
public:
    Attribute(ZKThreadAttributeType const& type, std::atomic<int>& destroyed)
        : ZKThreadAttribute(type), m_destroyed(destroyed)
    {
    }

    ~Attribute() override { m_destroyed++; }

private:
    std::atomic<int>& m_destroyed;
};
}

TEST(ThreadAttributeType, ClearDeletesAndModeSaysWhetherTheEndOfTheThreadDoes)
{
    ZKThreadAttributeType deleting(ZKThreadAttributeType::DELETE_ATTRIBUTE);
    ZKThreadAttributeType keeping(ZKThreadAttributeType::KEEP_ATTRIBUTE);
    std::atomic<int> deleted = 0, kept = 0;
    Attribute attribute(keeping, kept);
    FunctionThread(
        [&]
        {
            auto* const owned = new Attribute(deleting, deleted);
            EXPECT_TRUE(deleting.set(owned).isSuccess());
            EXPECT_TRUE(keeping.set(&attribute).isSuccess());
            EXPECT_EQ(deleting.get(), owned);
        })
        .run();
    EXPECT_EQ(deleting.get(), nullptr) << "each thread has its own";
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(kept, 0);

    keeping.clear();
    keeping.set(new Attribute(keeping, kept));
    keeping.clear();
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(keeping.get(), nullptr);
}
