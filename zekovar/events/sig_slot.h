#pragma once

#include "zekovar/events/function.h"
#include "zekovar/foundation/ref_counted.h"

namespace ZK::Sig
{
/// Where a new slot goes among those that are connected already.
class Ordering
{
public:
    /// -1 is in front of all others, every other number is behind them.
    constexpr Ordering(int value) : m_value(value) {}

    static Ordering const FRONT;
    static Ordering const BACK;

    constexpr bool isFront() const { return m_value == -1; }

private:
    int m_value;
};

inline constexpr Ordering Ordering::FRONT{-1};
inline constexpr Ordering Ordering::BACK{1};

namespace Detail
{
class SlotBase;

/// What a slot sees of its signal.
class SignalBase
{
public:
    virtual ~SignalBase() = default;

    /// Removes the slot; with `notify` the signal's observer is called. Null is ignored.
    virtual void disconnect(SlotBase* slot, bool notify) = 0;
};

/// What a connection can do with a slot, whatever its signature.
class SlotBase : public RefCounted
{
public:
    using RefCounted::RefCounted;

    virtual void suspend() = 0;
    virtual void resume() = 0;
    virtual bool isDisconnected() const = 0;
    virtual void disconnect(bool notify) = 0;
    virtual void disconnectIfReleased() = 0;
};

/// The part of a slot that its connections point to. It has a count of its own, of the connections alone; each of these
/// references keeps the slot alive too.
class SlotAdapter final : public SlotBase
{
public:
    explicit SlotAdapter(SlotBase& slot) : SlotBase(0, nullptr), m_slot(slot) {}

    void addRef() override;

    /// With the last connection the slot is disconnected if `disconnectIfReleased` asked for that.
    void release() override;

    void protectedRelease() override { release(); }

    void securedProtectedRelease() override { release(); }

    void suspend() override { m_slot.suspend(); }

    void resume() override { m_slot.resume(); }

    bool isDisconnected() const override { return m_slot.isDisconnected(); }

    void disconnect(bool notify) override { m_slot.disconnect(notify); }

    void disconnectIfReleased() override { m_disconnectWhenReleased = true; }

private:
    SlotBase& m_slot;
    bool m_disconnectWhenReleased = false;
};

/// One target of a signal. It may outlive its connection through references, and does nothing then.
template <class S, class G>
class Slot final : public SlotBase
{
public:
    Slot(SignalBase& signal, Ordering ordering, Function<S> const& function)
        : SlotBase(nullptr), m_adapter(*this), m_signal(&signal), m_ordering(ordering), m_function(function)
    {
    }

    ~Slot() override { Slot::disconnect(true); }

    void suspend() override { m_suspended++; }

    void resume() override { m_suspended--; }

    bool isDisconnected() const override { return m_signal == nullptr; }

    /// The last reference to the slot may go with this.
    void disconnect(bool notify) override
    {
        // first marked as disconnected: the observer may look at it, or disconnect it again
        if (SignalBase* const signal = std::exchange(m_signal, nullptr))
            signal->disconnect(this, notify);
    }

    void disconnectIfReleased() override {}

    /// For the signal, which has taken the slot off its list.
    void leaveSignal() { m_signal = nullptr; }

    SlotAdapter& getAdapter() { return m_adapter; }

    Function<S> const& getFunction() const { return m_function; }

    bool isSuspended() const { return m_suspended != 0; }

private:
    SlotAdapter m_adapter;
    SignalBase* m_signal; // null once disconnected
    Ordering m_ordering;
    Function<S> m_function;
    int m_suspended = 0;
};
}
}
