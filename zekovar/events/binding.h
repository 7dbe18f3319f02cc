#pragma once

#include "zekovar/events/function_context.h"

#include <functional>
#include <type_traits>
#include <utility>

namespace ZK
{
namespace Detail
{
/// What a `ZK::Function` is made from: a callable and the context to call it in.
template <class Bound>
struct Binding
{
    FunctionContext context;
    Bound bound;
};

template <class F, class... Arguments>
auto bindTarget(F&& callable, Arguments&&... arguments)
{
    // std::bind of a plain callable would drop the arguments of the call
    if constexpr (sizeof...(Arguments) == 0)
        return std::decay_t<F>(std::forward<F>(callable));
    else
        return std::bind(std::forward<F>(callable), std::forward<Arguments>(arguments)...);
}

template <class F, class... Arguments>
using BoundTarget = decltype(bindTarget(std::declval<F>(), std::declval<Arguments>()...));
}

/// Joins a callable to the context in which a `ZK::Function` is to call it.
///
/// Bound arguments are copied, as by `std::bind`: placeholders stand for the arguments of the call, and those that no
/// placeholder names are dropped. A callable without bound arguments takes the arguments of the call as they are. An
/// object that is bound by address must outlive the function, and in the mode "async" its queued calls.
///
///     using namespace std::placeholders;
///     ZK::Function<void(String)> print = ZK::bindArgs(IO::INSTANCE().getAsyncContext(), &Console::print, this, _1);
///     ZK::Function<void(String)> count = ZK::bindArgs(ZK::directCall(), [&](String line) { bytes += line.length(); });
template <class F, class... Arguments>
Detail::Binding<Detail::BoundTarget<F, Arguments...>> bindArgs(FunctionContext const& context, F&& callable,
                                                               Arguments&&... arguments)
{
    return {context, Detail::bindTarget(std::forward<F>(callable), std::forward<Arguments>(arguments)...)};
}

/// As above for a member function of `object`, called directly on the caller's thread.
template <class Member, class C, class Object, class... Arguments>
auto bindArgs(Member C::*memberFunction, Object&& object, Arguments&&... arguments)
{
    return bindArgs(directCall(), memberFunction, std::forward<Object>(object), std::forward<Arguments>(arguments)...);
}
}
