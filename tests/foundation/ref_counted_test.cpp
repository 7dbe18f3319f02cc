#include "zekovar/foundation/ref_counted.h"

#include "tests/recording_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{
using Calls = std::vector<std::string>;

class Object : public ZK::RefCounted
{
public:
    Object(Calls& calls, ZKLock* lock) : RefCounted(lock), m_calls(calls) {}

    ~Object() override { m_calls.push_back("destroy"); }

private:
    Calls& m_calls;
};

/// Notes the counts while it hands out a reference to itself in its destructor.
class Reviving : public ZK::RefCountedUnlessBeingDestroying
{
public:
    explicit Reviving(std::vector<unsigned int>& counts) : RefCountedUnlessBeingDestroying(nullptr), m_counts(counts) {}

    ~Reviving() override
    {
        RefCountedIf& self = *this;
        self.addRef();
        m_counts.insert(m_counts.end(), {getRefCount(), getAfterDeathCount()});
        self.release();
        m_counts.insert(m_counts.end(), {getRefCount(), getAfterDeathCount()});
    }

private:
    std::vector<unsigned int>& m_counts;
};
}

TEST(RefCounted, LockIsTakenForTheDestructorOrAroundTheDecrement)
{
    Calls calls;
    RecordingLock lock(calls);
    auto* object = new Object(calls, &lock);
    object->addRef();
    object->protectedRelease();
    EXPECT_TRUE(calls.empty());
    object->protectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "destroy", "unlock"}));

    calls.clear();
    object = new Object(calls, &lock);
    object->addRef();
    object->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "unlock"}));
    object->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "unlock", "lock", "destroy", "unlock"}));
}

TEST(RefCounted, ObjectsDieWithoutALockIfThereIsNoneToHave)
{
    Calls calls;
    RecordingLock lock(calls);
    lock.result = XCODE_FAILURE;
    (new Object(calls, &lock))->protectedRelease();
    (new Object(calls, &lock))->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "destroy", "lock", "destroy"}));
    calls.clear();
    (new Object(calls, nullptr))->protectedRelease();
    (new Object(calls, nullptr))->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"destroy", "destroy"}));
}

TEST(RefCounted, ThreadsThatDropTheirReferencesDestroyOnce)
{
    Calls plainCalls;
    std::vector<unsigned int> counts;
    ZK::RefCountedIf* const objects[] = {new Object(plainCalls, nullptr), new Reviving(counts)};
    for (ZK::RefCountedIf* object : objects)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; i++)
        {
            object->addRef();
            threads.emplace_back(
                [object]
                {
                    for (int k = 0; k < 1000; k++)
                    {
                        object->addRef();
                        object->release();
                    }
                    object->release();
                });
        }
        object->release();
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(plainCalls, Calls{"destroy"});
    EXPECT_EQ(counts, (std::vector<unsigned int>{0, 1, 0, 0})) << "the destructor's references are counted apart";
}
