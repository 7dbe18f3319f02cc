#pragma once

#include <atomic>

namespace ZK::Detail
{
/// Runs `action` while holding `FAST_MUTEX()`.
void underFastMutex(void (*action)());
}

/// Makes the one instance of `T` on first use, before `main` too. It is never destroyed, so it serves to the very end.
///
/// `INSTANCE` is safe from every thread and costs one load once the instance exists. The constructor of `T` runs under
/// `FAST_MUTEX()`, which isn't recursive: it must not use that mutex, nor make another `ZKSingleton`.
///
///     class Table : private ZKSingleton<Table>
///     {
///         friend class ZKSingleton<Table>;
///     public:
///         static Table& SHARED() { return INSTANCE(); }
///     };
template <class T>
class ZKSingleton
{
public:
    static T& INSTANCE()
    {
        T* instance = s_instance.load(std::memory_order_acquire);
        if (instance == nullptr)
        {
            ZK::Detail::underFastMutex(&CREATE);
            instance = s_instance.load(std::memory_order_acquire);
        }
        return *instance;
    }

private:
    static void CREATE()
    {
        if (s_instance.load(std::memory_order_relaxed) == nullptr)
            s_instance.store(new T(), std::memory_order_release);
    }

    static inline constinit std::atomic<T*> s_instance{nullptr};
};
