#pragma once

#include "zekovar/events/sig_impl.h"

#include <functional>
#include <type_traits>
#include <utility>

namespace ZK::Sig
{
/// `S` is the signature; what slots return is dropped by the combiner `C`, and the group `G` orders nothing.
template <class S, class C = LastValue<void>, class G = unsigned int>
class Signal;

/// A list of functions that are called in turn on emission. One to which nobody ever connected is an empty pointer.
///
/// Slots may connect and disconnect slots, themselves included, during an emission, which runs over the list as it
/// stood when it began: a new slot isn't called by it, and one that has been disconnected still is. A signal has no
/// lock and belongs to one thread at a time; the slots' functions say by their own contexts where their targets run.
///
///     ZK::Sig::Signal<void(String)> onLine;
///     ZK::Sig::ScopedConnection printing = onLine.connect(ZK::bindArgs(&Console::print, &console, _1));
///     onLine("link is up");
template <class... Args, class G>
class Signal<void(Args...), LastValue<void>, G> : public Detail::SignalBase
{
    using Impl = Detail::Signal<void(Args...), LastValue<void>, G>;

public:
    /// `owner`, which may be null, is the object that the signal lives in: emissions hold a reference on it. Without
    /// an owner a slot may not destroy the signal.
    explicit Signal(RefCountedIf* owner = nullptr) noexcept : m_owner(owner) {}

    Signal(Signal const&) = delete;
    Signal& operator=(Signal const&) = delete;

    /// Disconnects all slots without a word to the observer.
    ~Signal() override { delete m_impl; }

    /// Adds a slot and then tells the observer. The slot stays until it is disconnected or the signal goes.
    Connection connect(Function<void(Args...)> const& function, Ordering ordering = Ordering::BACK)
    {
        return impl().connect(function, ordering);
    }

    /// Removes the slot, wherever it stands, and with `notify` tells the observer.
    void disconnect(Detail::SlotBase* slot, bool notify) override
    {
        if (m_impl != nullptr)
            m_impl->disconnect(slot, notify);
    }

    /// `onChange` is called after each connect and disconnect, in place of the observer so far.
    void observe(Function<void()> const& onChange) { impl().observe(onChange); }

    /// Safe from any thread once an observer or a slot has been connected.
    bool hasSlots() const { return m_impl != nullptr && m_impl->hasSlots(); }

    /// Calls the slots. The arguments are copied once, and for each slot again.
    template <class... Values>
    void operator()(Values&&... values)
    {
        static_assert(std::is_invocable_v<std::function<void(Args...)>&, Values...>);
        if (m_impl != nullptr)
            (*m_impl)(std::forward<Values>(values)...);
    }

    /// As the call, for arguments that are costly to copy: the last slot gets those of the emission itself. The emission
    /// ends with that slot, whatever it connects.
    template <class... Values>
    void emitMoving(Values&&... values)
    {
        static_assert(std::is_invocable_v<std::function<void(Args...)>&, Values...>);
        if (m_impl != nullptr)
            m_impl->emitMoving(std::forward<Values>(values)...);
    }

private:
    Impl& impl()
    {
        if (m_impl == nullptr)
            m_impl = new Impl(m_owner);
        return *m_impl;
    }

    RefCountedIf* m_owner;
    Impl* m_impl = nullptr;
};
}
