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
struct RecordingLock : ZKLock
{
    explicit RecordingLock(std::string& calls) : ZKLock(Type::MUTEX), m_calls(calls) {}

    XCode lock() override { return m_calls += "(", result; }

    void unlock() override { m_calls += ")"; }

    XCode result;
    std::string& m_calls;
};

/// Notes "c" for a call and "d" for its destruction.
struct Object : ZK::RefCounted
{
    explicit Object(std::string& calls, ZKLock* lock = nullptr) : RefCounted(lock), m_calls(calls) {}

    ~Object() override { m_calls += "d"; }

    void call() { m_calls += "c"; }

    std::string& m_calls;
};

struct Derived : Object
{
    using Object::Object;
};

/// Notes both counts while it hands out a reference to itself in its destructor.
struct Reviving : ZK::RefCountedUnlessBeingDestroying
{
    explicit Reviving(std::vector<unsigned int>& counts) : RefCountedUnlessBeingDestroying(nullptr), m_counts(counts) {}

    ~Reviving() override
    {
        RefCountedIf& self = *this;
        self.addRef();
        m_counts.insert(m_counts.end(), {getRefCount(), getAfterDeathCount()});
        self.release();
        m_counts.insert(m_counts.end(), {getRefCount(), getAfterDeathCount()});
    }

    std::vector<unsigned int>& m_counts;
};

struct Pointers : testing::Test
{
    Object* make() { return new Object(m_calls, &m_lock); }

    ZK::MovePtr<Object> makeOwned() { return ZK::MovePtr<Object>(make()); }

    std::string m_calls;
    RecordingLock m_lock{m_calls};
};

using RefCounted = Pointers;

template <class Pointer>
struct AnyPtr : Pointers
{
};

using PointerTypes = testing::Types<ZKPtr<Object>, ZKPPtr<Object>, ZKLWPtr<Object>>;
TYPED_TEST_SUITE(AnyPtr, PointerTypes);
}

TEST_F(RefCounted, LockIsTakenForTheDestructorOrAroundTheDecrementIfItCanBe)
{
    Object* object = make();
    object->addRef();
    object->protectedRelease();
    EXPECT_EQ(m_calls, "");
    object->addRef();
    object->securedProtectedRelease();
    EXPECT_EQ(m_calls, "()");
    object->protectedRelease();
    make()->securedProtectedRelease();
    EXPECT_EQ(m_calls, "()(d)(d)");

    m_calls.clear();
    m_lock.result = XCODE_FAILURE;
    make()->protectedRelease();
    make()->securedProtectedRelease();
    (new Object(m_calls))->protectedRelease();
    (new Object(m_calls))->securedProtectedRelease();
    EXPECT_EQ(m_calls, "(d(ddd") << "objects die without a lock if there is none to have";
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
    TypeParam& alias = owner;
    owner = alias;
    owner = object;
    owner = std::move(alias);
    EXPECT_EQ(object->getRefCount(), 1u) << "the same object again changes no count";
    object->addRef();
    owner.setObj(ZK::MovePtr<Object>(object));
    EXPECT_EQ(object->getRefCount(), 1u) << "the carrier's reference is dropped";
    TypeParam other(object);
    owner = std::move(other);
    EXPECT_TRUE(owner == other && object->getRefCount() == 2);
    other = nullptr;

    owner = ZK::MovePtr(new Derived(this->m_calls));
    EXPECT_EQ(this->m_calls, "d");
    owner = nullptr;
    EXPECT_EQ(this->m_calls, "dd");
    ZK::MovePtr<Object>(ZK::MovePtr(new Derived(this->m_calls)));
    EXPECT_EQ(this->m_calls, "ddd") << "nobody took the reference";
}

TEST_F(Pointers, ProtectedOneLocksForACallAndForTheDestructorHoweverTheObjectIsDropped)
{
    {
        ZKPPtr<Object> pointer = makeOwned();
        ZKPtr<Object>& base = pointer;
        base->call();
        EXPECT_EQ(m_calls, "(c)");
        pointer = makeOwned();
        EXPECT_EQ(m_calls, "(c)(d)");
        base.setObj(nullptr);
        pointer = makeOwned();
    }
    EXPECT_EQ(m_calls, "(c)(d)(d)(d)");
    ZKPtr<Object> plain = makeOwned();
    plain->call();
    plain = nullptr;
    EXPECT_EQ(m_calls, "(c)(d)(d)(d)cd");
}

TEST_F(Pointers, LockPointerLocksOnceAndUnlocksAtTheEnd)
{
    m_lock.result = XCODE_FAILURE;
    ZKPPtr<Object> const guarded = makeOwned();
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
