#pragma once

#include <type_traits>
#include <utility>

namespace ZK
{
/// Carries an object together with one reference to it, from `new` or from another owner, to a pointer template.
///
/// Whoever takes the object leaves the carrier empty, also a const one; a reference that nobody took is released.
///
///     ZKLWPtr<Node> node = ZK::MovePtr<Node>(new Node()); // the count stays 1
template <class T>
class MovePtr
{
public:
    /// Takes over a reference of the caller's.
    explicit MovePtr(T* object) noexcept : m_object(object) {}

    template <class U>
    MovePtr(MovePtr<U>&& other) noexcept requires std::is_convertible_v<U*, T*> : m_object(other.take())
    {
    }

    MovePtr(MovePtr&& other) noexcept : m_object(other.take()) {}

    MovePtr& operator=(MovePtr const&) = delete;

    ~MovePtr()
    {
        if (m_object != nullptr)
            m_object->release();
    }

    T* get() const noexcept { return m_object; }

    /// Hands the object out; its reference is the caller's from here on.
    T* take() const noexcept { return std::exchange(m_object, nullptr); }

private:
    mutable T* m_object;
};
}
