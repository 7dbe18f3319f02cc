#pragma once

#include "zekovar/threads/lock.h"

/// A System V semaphore between processes, with a hand-over protocol for two of them.
///
/// Not set up, it has the id 0 and every operation fails. Its members have no lock: set it up before threads share it.
///
///     _ZKSemGlobal semaphore;
///     if (semaphore.setup(0)) semaphore.startBallAtA(); // the other process: setup(semaphore.getId())
class _ZKSemGlobal : public ZKLock
{
public:
    _ZKSemGlobal();

    _ZKSemGlobal(_ZKSemGlobal const&) = delete;
    _ZKSemGlobal& operator=(_ZKSemGlobal const&) = delete;

    ~_ZKSemGlobal() override;

    /// "%d (%p)" of the id and this object.
    String getLockName() const override;

    /// "creator" or "user"
    String getLockStatus() const override;

    int getId() const { return m_semId; }

    /// Makes a semaphore for a `key` of 0; any other `key` is the id of one that another process made. `XCODE_FAILURE`
    /// if that has been done already, or if the kernel refuses.
    XCode setup(int key);

    /// Removes the semaphore if this object made it, and forgets it.
    XCode destroy();

    /// @name Operations
    /// All fail with `XCODE_FAILURE`.
    /// @{
    XCode initialiseWithValue(int value);

    /// Looks each 100 ms until the value is at least `value`.
    XCode waitForMinValue(int value);

    /// Adds `delta`, which is negative, blocking while the value is too small for it. 0 to 65535 fail without touching
    /// the semaphore. A semaphore knows 16 bits: of any other `delta` these count, with their sign.
    XCode operation(int delta);

    /// Always fails: see `operation`.
    XCode waitForZero();

    XCode decrementOne();

    /// Always fails: see `operation`.
    XCode incrementOne();
    /// @}

    /// @name Ball protocol of two processes A and B
    /// @{
    XCode startBallAtA();
    XCode aThrowsBallToB();
    XCode bThrowsBallToA();
    /// @}

private:
    bool m_creator;
    int m_semId; // 0: none
};
