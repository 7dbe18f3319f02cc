#include "zekovar/foundation/ptr.h"

#include "zekovar/foundation/ref_counted.h"
#include "zekovar/threads/lock.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>
#include <vector>

namespace
{
/// Notes "(" and ")" and locks nothing.
class RecordingLock : public ZKLock
{
public:
    explicit RecordingLock(std::string& calls) : ZKLock(Type::MUTEX), m_calls(calls) {}

    XCode lock() override { return m_calls += "(", result; }

    void unlock() override { m_calls += ")"; }

    XCode result;

private:
    std::string& m_calls;
};

/// Notes "c" for a call and "d" for its destruction.
class Object : public ZK::RefCounted
{
public:
    explicit Object(std::string& calls, ZKLock* lock = nullptr) : RefCounted(lock), m_calls(calls) {}

    ~Object() override { m_calls += "d"; }

    void call() { m_calls += "c"; }

private:
    std::string& m_calls;
};

class Derived : public Object
{
public:
    using Object::Object;
};

/// Notes both counts while it hands out a reference to itself in its destructor.
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

class Pointers : public testing::Test
{
protected:
    std::string m_calls;
    RecordingLock m_lock{m_calls};
};

class RefCounted : public Pointers
{
};

template <class Pointer>
class AnyPtr : public Pointers
{
};

using PointerTypes = testing::Types<ZKPtr<Object>, ZKPPtr<Object>, ZKLWPtr<Object>>;
TYPED_TEST_SUITE(AnyPtr, PointerTypes);
}

TEST_F(RefCounted, LockIsTakenForTheDestructorOrAroundTheDecrement)
{
    auto* object = new Object(m_calls, &m_lock);
    object->addRef();
    object->protectedRelease();
    EXPECT_EQ(m_calls, "");
    object->addRef();
    object->securedProtectedRelease();
    EXPECT_EQ(m_calls, "()");
    object->protectedRelease();
    EXPECT_EQ(m_calls, "()(d)");
    (new Object(m_calls, &m_lock))->securedProtectedRelease();
    EXPECT_EQ(m_calls, "()(d)(d)");
}

TEST_F(RefCounted, ObjectsDieWithoutALockIfThereIsNoneToHave)
{
    m_lock.result = XCODE_FAILURE;
    (new Object(m_calls, &m_lock))->protectedRelease();
    (new Object(m_calls, &m_lock))->securedProtectedRelease();
    (new Object(m_calls))->protectedRelease();
    (new Object(m_calls))->securedProtectedRelease();
    EXPECT_EQ(m_calls, "(d(ddd");
}

TEST_F(RefCounted, ThreadsThatDropTheirReferencesDestroyOnce)
{
    std::vector<unsigned int> counts;
    std::vector<ZK::RefCountedIf*> const objects{new Object(m_calls), new Reviving(counts)};
    for (ZK::RefCountedIf* object : objects)
    {
        std::barrier start(2);
        auto const share = [object, &start]
        {
            start.arrive_and_wait();
            for (int i = 0; i < 50000; i++)
            {
                object->addRef();
                object->release();
            }
            object->release();
        };
        object->addRef();
        std::jthread const other(share);
        share();
    }
    EXPECT_EQ(m_calls, "d");
    EXPECT_EQ(counts, (std::vector<unsigned int>{0, 1, 0, 0})) << "the destructor's references are counted apart";
}

TYPED_TEST(AnyPtr, RawPointersAreCountedAndCarriersHandTheirReferenceOver)
{
    auto* object = new Object(this->m_calls);
    {
        TypeParam const first(object);
        TypeParam second = first;
        TypeParam third;
        third = object;
        EXPECT_TRUE(first == second && first == object && first != nullptr);
        TypeParam const moved(std::move(second));
        EXPECT_EQ(object->getRefCount(), 4u);
        EXPECT_FALSE(second);
    }
    TypeParam owner = ZK::MovePtr<Object>(object);
    EXPECT_EQ(object->getRefCount(), 1u);
    owner = ZK::MovePtr(new Derived(this->m_calls));
    EXPECT_EQ(this->m_calls, "d");
    owner = nullptr;
    EXPECT_EQ(this->m_calls, "dd");
    ZK::MovePtr<Object>(ZK::MovePtr(new Derived(this->m_calls)));
    EXPECT_EQ(this->m_calls, "ddd") << "nobody took the reference";
}

TYPED_TEST(AnyPtr, SameObjectChangesNoCount)
{
    auto* object = new Object(this->m_calls);
    TypeParam pointer = ZK::MovePtr<Object>(object);
    TypeParam& alias = pointer;
    pointer = alias;
    pointer = object;
    pointer = std::move(alias);
    EXPECT_EQ(object->getRefCount(), 1u);
    object->addRef();
    pointer.setObj(ZK::MovePtr<Object>(object));
    EXPECT_EQ(object->getRefCount(), 1u) << "the carrier's reference is dropped";
    TypeParam other(object);
    pointer = std::move(other);
    EXPECT_TRUE(pointer == other && object->getRefCount() == 2);
}

TEST_F(Pointers, ProtectedOneLocksForACallAndForTheDestructorHoweverTheObjectIsDropped)
{
    auto const make = [this] { return ZK::MovePtr<Object>(new Object(m_calls, &m_lock)); };
    {
        ZKPPtr<Object> pointer = make();
        ZKPtr<Object>& base = pointer;
        base->call();
        EXPECT_EQ(m_calls, "(c)");
        pointer = make();
        EXPECT_EQ(m_calls, "(c)(d)");
        base.setObj(nullptr);
        pointer = make();
    }
    EXPECT_EQ(m_calls, "(c)(d)(d)(d)");
    ZKPtr<Object> plain = make();
    plain->call();
    plain = nullptr;
    EXPECT_EQ(m_calls, "(c)(d)(d)(d)cd");
}

TEST_F(Pointers, LockPointerLocksOnceAndUnlocksAtTheEnd)
{
    m_lock.result = XCODE_FAILURE;
    ZKPPtr<Object> const guarded = ZK::MovePtr<Object>(new Object(m_calls, &m_lock));
    {
        ZKLockPtr<Object> const held = guarded.getLock();
        held.lock();
        held.lock();
        held->call();
        EXPECT_TRUE(held.isLocked()) << "a failure to lock is dropped";
        held.unlock();
        held.unlock();
        EXPECT_EQ(m_calls, "(c)");
        held.lock();
    }
    EXPECT_EQ(m_calls, "(c)()");

    ZKLockPtr<Object> const none(nullptr, &m_lock);
    ZKLockPtr<Object> const free = ZKPtr<Object>(guarded).getLock();
    none.lock();
    free.lock();
    EXPECT_FALSE(none.isLocked() || free.isLocked());
    free.unlock();
    EXPECT_EQ(m_calls, "(c)()");
}

TEST_F(Pointers, NullAndDerivedObjectsConvert)
{
    static_assert(sizeof(ZKLWPtr<Object>) == sizeof(void*));
    ZKPtr<Derived> const derived = ZK::MovePtr(new Derived(m_calls));
    ZKPPtr<Object> const guarded = derived;
    ZKLWPtr<Derived> const light(derived.getObj());
    ZKLWPtr<Object> const lightBase = light;
    EXPECT_TRUE(guarded == derived && lightBase == light && &*derived == guarded);
    EXPECT_EQ(derived->getRefCount(), 4u);
    EXPECT_TRUE(testExpression(derived).isSuccess());
    EXPECT_EQ(testExpression(ZKPPtr<Object>()), XCODE_FAILURE);
}
