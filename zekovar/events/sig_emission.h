#pragma once

#include "zekovar/events/sig_slot.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/lw_ptr.h"

#include <tuple>
#include <type_traits>
#include <utility>

namespace ZK::Sig::Detail
{
template <class S, class G>
class Invoker;

/// The arguments of one emission, as they stood when it began, for all its slots.
///
/// Emissions keep it on their stack frame.
template <class... Args, class G>
class Invoker<void(Args...), G>
{
public:
    template <class... Values>
    explicit Invoker(Values&&... values) : m_arguments(std::forward<Values>(values)...)
    {
    }

    void operator()(Slot<void(Args...), G> const& slot)
    {
        std::apply([&slot](auto&... arguments) { slot.getFunction()(arguments...); }, m_arguments);
    }

    /// For the last call.
    void moveInto(Slot<void(Args...), G> const& slot)
    {
        std::apply([&slot](auto&... arguments) { slot.getFunction()(std::forward<Stored<Args>>(arguments)...); },
                   m_arguments);
    }

private:
    // what a slot may change stays the emitter's, all else is a copy
    template <class T>
    using Stored = std::conditional_t<std::is_lvalue_reference_v<T> && !std::is_const_v<std::remove_reference_t<T>>, T,
                                      std::decay_t<T>>;

    std::tuple<Stored<Args>...> m_arguments;
};

/// The place of a running emission in its list of slots.
template <class S, class G>
class Iterator
{
public:
    using List = ZKList<ZKLWPtr<Slot<S, G>>>;
    using Position = typename List::Iterator;

    Iterator(List& slots, Invoker<S, G>& invoker) : m_slots(slots), m_position(slots.begin()), m_invoker(invoker) {}

    bool isAtEnd() const { return m_position == m_slots.end(); }

    bool isAtLast() const
    {
        Position next = m_position;
        return ++next == m_slots.end();
    }

    void call() { m_invoker(**m_position); }

    void callMoving() { m_invoker.moveInto(**m_position); }

    /// Passes over suspended slots.
    void step()
    {
        // what goes with a removed slot may remove further ones, so this comes before the step
        m_removedSlot = ZKLWPtr<Slot<S, G>>();
        do
            ++m_position;
        while (!isAtEnd() && (*m_position)->isSuspended());
    }

    /// To be called before the slot at `position` is erased. If it is the present one it lives on until its call ends,
    /// and the next step goes to its successor.
    void beforeErase(Position const& position)
    {
        if (m_position != position)
            return;
        if (!m_removedSlot)
            m_removedSlot = *m_position;
        --m_position;
    }

private:
    List& m_slots;
    Position m_position;
    Invoker<S, G>& m_invoker;
    ZKLWPtr<Slot<S, G>> m_removedSlot;
};
}
