#include "zekovar/foundation/ptr.h"

#include "tests/recording_lock.h"
#include "zekovar/foundation/ref_counted.h"

#include <gtest/gtest.h>

namespace
{
using Calls = std::vector<std::string>;

class Object : public ZK::RefCounted
{
public:
    explicit Object(Calls& calls, ZKLock* lock = nullptr) : RefCounted(lock), m_calls(calls) {}

    ~Object() override { m_calls.push_back("destroy"); }

    int call(int result = 0)
    {
        m_calls.push_back("call");
        return result;
    }

private:
    Calls& m_calls;
};

class Derived : public Object
{
public:
    using Object::Object;
};

template <class Pointer>
class AnyPtr : public testing::Test
{
protected:
    Calls m_calls;
};

using Pointers = testing::Types<ZKPtr<Object>, ZKPPtr<Object>, ZKLWPtr<Object>>;
TYPED_TEST_SUITE(AnyPtr, Pointers);
}

TYPED_TEST(AnyPtr, RawPointersAreCountedAndCarriersHandTheirReferenceOver)
{
    auto* object = new Object(this->m_calls);
    {
        TypeParam const first(object);
        TypeParam second = first;
        TypeParam third;
        third = object;
        EXPECT_EQ(object->getRefCount(), 4u);
        EXPECT_TRUE(first == second && first == object && first != nullptr);
        TypeParam const moved(std::move(second));
        EXPECT_EQ(object->getRefCount(), 4u);
        EXPECT_FALSE(second);
    }
    EXPECT_EQ(object->getRefCount(), 1u);

    TypeParam owner = ZK::MovePtr<Object>(object);
    EXPECT_EQ(object->getRefCount(), 1u);
    owner = ZK::MovePtr(new Derived(this->m_calls));
    EXPECT_EQ(owner->getRefCount(), 1u);
    EXPECT_EQ(this->m_calls, Calls{"destroy"});
    owner = nullptr;
    {
        ZK::MovePtr<Object> const dropped = ZK::MovePtr(new Derived(this->m_calls));
    }
    EXPECT_EQ(this->m_calls, (Calls{"destroy", "destroy", "destroy"}));
}

TYPED_TEST(AnyPtr, SameObjectChangesNoCount)
{
    auto* object = new Object(this->m_calls);
    TypeParam pointer = ZK::MovePtr<Object>(object);
    TypeParam const& alias = pointer;
    pointer = alias;
    pointer = object;
    pointer.setObj(object);
    pointer = std::move(const_cast<TypeParam&>(alias));
    EXPECT_EQ(object->getRefCount(), 1u);
    object->addRef();
    pointer.setObj(ZK::MovePtr<Object>(object));
    EXPECT_EQ(object->getRefCount(), 1u) << "the carrier's reference is dropped";
    TypeParam other(object);
    pointer = std::move(other);
    EXPECT_TRUE(pointer == other);
    EXPECT_EQ(object->getRefCount(), 2u);
}

TEST(ZKPPtr, ArrowHoldsTheLockForTheCallAlsoThroughThePlainType)
{
    Calls calls;
    RecordingLock lock(calls);
    ZKPPtr<Object> const guarded = ZK::MovePtr<Object>(new Object(calls, &lock));
    ZKPtr<Object> const plain(guarded);
    plain->call();
    EXPECT_EQ(calls, Calls{"call"});
    calls.clear();
    ZKPtr<Object> const& base = guarded;
    base->call();
    EXPECT_EQ(calls, (Calls{"lock", "call", "unlock"}));
}

TEST(ZKPPtr, ObjectsDieUnderTheirLockHoweverTheyAreDropped)
{
    Calls calls;
    RecordingLock lock(calls);
    auto const make = [&] { return ZK::MovePtr<Object>(new Object(calls, &lock)); };
    Calls const expected{"lock", "destroy", "unlock"};
    {
        ZKPPtr<Object> const pointer = make();
    }
    EXPECT_EQ(calls, expected);
    calls.clear();
    ZKPPtr<Object> pointer = make();
    pointer = nullptr;
    EXPECT_EQ(calls, expected);
    calls.clear();
    pointer = make();
    static_cast<ZKPtr<Object>&>(pointer).setObj(nullptr);
    EXPECT_EQ(calls, expected);
    calls.clear();
    ZKPtr<Object> plain = make();
    plain = nullptr;
    EXPECT_EQ(calls, Calls{"destroy"});
}

TEST(ZKLockPtr, LocksOnceAndUnlocksAtTheEnd)
{
    Calls calls;
    RecordingLock lock(calls);
    lock.result = XCODE_FAILURE;
    ZKPPtr<Object> const guarded = ZK::MovePtr<Object>(new Object(calls, &lock));
    {
        ZKLockPtr<Object> const held = guarded.getLock();
        EXPECT_TRUE(calls.empty());
        held.lock();
        held.lock();
        held->call();
        EXPECT_EQ(calls, (Calls{"lock", "call"}));
        EXPECT_TRUE(held.isLocked()) << "a failure to lock is dropped";
        held.unlock();
        held.unlock();
        EXPECT_EQ(calls, (Calls{"lock", "call", "unlock"}));
        held.lock();
    }
    EXPECT_EQ(calls.back(), "unlock");

    calls.clear();
    ZKLockPtr<Object> const none(nullptr, &lock);
    none.lock();
    ZKLockPtr<Object> const free = ZKPtr<Object>(guarded).getLock();
    free.lock();
    EXPECT_FALSE(none.isLocked() || free.isLocked());
    free.unlock();
    EXPECT_TRUE(calls.empty());
}

TEST(ZKPtr, NullAndDerivedObjectsConvert)
{
    Calls calls;
    static_assert(sizeof(ZKLWPtr<Object>) == sizeof(void*));
    ZKPtr<Derived> const derived = ZK::MovePtr(new Derived(calls));
    ZKPPtr<Object> const guarded = derived;
    ZKLWPtr<Derived> const light(derived.getObj());
    ZKLWPtr<Object> const lightBase = light;
    EXPECT_TRUE(guarded == derived && lightBase == light && derived.getObj() == guarded);
    EXPECT_EQ(derived->getRefCount(), 4u);
    EXPECT_EQ((*derived).call(7), 7);
    EXPECT_TRUE(testExpression(derived).isSuccess());
    EXPECT_EQ(testExpression(ZKPPtr<Object>()), XCODE_FAILURE);
}
