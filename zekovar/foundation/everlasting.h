#pragma once

namespace ZK::Detail
{
/// Holds an object that is ready before everything else, as `constinit`, and is never destroyed: threads that still run
/// while the process exits go on using it. A template also because clang takes a constexpr destructor above a member's
/// plain one only there.
template <class T>
union Everlasting
{
    template <class... Arguments>
    explicit constexpr Everlasting(Arguments... arguments) : object(arguments...)
    {
    }

    constexpr ~Everlasting() {}

    T object;
};
}
