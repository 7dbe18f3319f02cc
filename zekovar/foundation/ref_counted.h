#pragma once

#include <atomic>

class ZKLock;

namespace ZK
{
/// What the pointer templates need of an object: a count of references, and the lock that its destruction keeps to.
///
/// All operations are safe from every thread that holds a reference.
class RefCountedIf
{
public:
    virtual void addRef() = 0;

    /// Drops a reference; the last one destroys the object.
    virtual void release() = 0;

    /// As `release`, with the destructor running under the object's lock.
    virtual void protectedRelease() = 0;

    /// Null if the object needs no lock. It isn't the object's own and outlives it.
    virtual ZKLock* getLock() = 0;

    virtual ~RefCountedIf() = default;
};

/// Base of objects that live on the heap and are shared between threads.
///
/// Whoever calls `new` owns one reference. Handing the object to a pointer template by raw pointer makes two, so a
/// maker that keeps none passes a `ZK::MovePtr`:
///
///     ZKPtr<Report> report(ZK::MovePtr<Report>(new Report(nullptr)));
///
/// A count that is released more often than it was taken isn't detected.
class RefCounted : public RefCountedIf
{
public:
    /// The count starts at 1. `lock`, which may be null, must outlive the object.
    explicit RefCounted(ZKLock* lock) noexcept : RefCounted(1, lock) {}

    RefCounted(unsigned int initialCount, ZKLock* lock) noexcept : m_count(initialCount), m_lock(lock) {}

    RefCounted(RefCounted const&) = delete;
    RefCounted& operator=(RefCounted const&) = delete;

    void addRef() override;
    void release() override;

    /// Decrements first and takes the lock only if the object dies. If the lock can't be had, the destructor runs
    /// without it.
    void protectedRelease() override;

    ZKLock* getLock() override;

    ~RefCounted() override = default;

    /// Runs the deleting destructor. A subclass may put destruction off.
    virtual void callDtor();

    /// Drops a reference without destroying anything; true if it was the last one.
    virtual bool tryRelease();

    /// As `protectedRelease`, but decrements under the lock: a thread that finds the object through a structure guarded
    /// by this lock can't take a reference between the decrement and the destructor.
    virtual void securedProtectedRelease();

    /// References held at this moment; other threads may change it at once.
    unsigned int getRefCount() const noexcept { return m_count.load(); }

protected:
    std::atomic<unsigned int> m_count;

private:
    ZKLock* m_lock;
};

/// A counted object whose destructor may hand out temporary references to itself.
///
/// Once the count has reached 0 such references are counted apart, so none of them starts a second destruction.
class RefCountedUnlessBeingDestroying : public RefCounted
{
public:
    explicit RefCountedUnlessBeingDestroying(ZKLock* lock) noexcept : RefCounted(lock) {}

    RefCountedUnlessBeingDestroying(unsigned int initialCount, ZKLock* lock) noexcept : RefCounted(initialCount, lock)
    {
    }

    void addRef() override;
    bool tryRelease() override;

    /// References taken since the count reached 0 and not yet given back.
    unsigned int getAfterDeathCount() const noexcept { return m_afterDeathCount.load(); }

private:
    std::atomic<unsigned int> m_afterDeathCount{0};
};
}
