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

/// Hands out a reference to itself while it is being destroyed.
class Reviving : public ZK::RefCountedUnlessBeingDestroying
{
public:
    explicit Reviving(std::vector<unsigned int>& counts) : RefCountedUnlessBeingDestroying(nullptr), m_counts(counts) {}

    ~Reviving() override
    {
        RefCountedIf& self = *this;
        self.addRef();
        m_counts.push_back(getRefCount());
        m_counts.push_back(getAfterDeathCount());
        self.release();
        m_counts.push_back(getRefCount());
        m_counts.push_back(getAfterDeathCount());
    }

private:
    std::vector<unsigned int>& m_counts;
};
}

TEST(RefCounted, LastReleaseDestroysAndTheMakerHoldsTheFirstReference)
{
    Calls calls;
    auto* object = new Object(calls, nullptr);
    EXPECT_EQ(object->getRefCount(), 1u);
    object->addRef();
    object->release();
    EXPECT_EQ(object->getRefCount(), 1u);
    EXPECT_FALSE((object->addRef(), object->tryRelease()));
    EXPECT_TRUE(calls.empty());
    object->release();
    EXPECT_EQ(calls, Calls{"destroy"});
}

TEST(RefCounted, ProtectedReleaseLocksOnlyForTheDestructor)
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
    (new Object(calls, nullptr))->protectedRelease();
    EXPECT_EQ(calls, Calls{"destroy"});
}

TEST(RefCounted, SecuredProtectedReleaseLocksBeforeItDecrements)
{
    Calls calls;
    RecordingLock lock(calls);
    auto* object = new Object(calls, &lock);
    object->addRef();
    object->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "unlock"}));
    object->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "unlock", "lock", "destroy", "unlock"}));

    calls.clear();
    (new Object(calls, nullptr))->securedProtectedRelease();
    EXPECT_EQ(calls, Calls{"destroy"});
}

TEST(RefCounted, ObjectsDieWithoutTheLockIfItCannotBeHad)
{
    Calls calls;
    RecordingLock lock(calls);
    lock.result = XCODE_FAILURE;
    (new Object(calls, &lock))->protectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "destroy"}));
    (new Object(calls, &lock))->securedProtectedRelease();
    EXPECT_EQ(calls, (Calls{"lock", "destroy", "lock", "destroy"}));
}

TEST(RefCounted, ReferencesTakenByTheDestructorAreCountedApart)
{
    std::vector<unsigned int> counts;
    auto* object = new Reviving(counts);
    object->addRef();
    EXPECT_EQ(object->getRefCount(), 2u);
    EXPECT_EQ(object->getAfterDeathCount(), 0u);
    object->release();
    object->release();
    EXPECT_EQ(counts, (std::vector<unsigned int>{0, 1, 0, 0}));
}

TEST(RefCounted, ThreadsThatDropTheirReferencesDestroyOnce)
{
    for (int round = 0; round < 20; round++)
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
                        for (int k = 0; k < 100; k++)
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
        EXPECT_EQ(counts.size(), 4u);
    }
}
