#pragma once

#include "zekovar/events/sig_connection.h"
#include "zekovar/events/sig_emission.h"

#include <atomic>
#include <memory>
#include <utility>

namespace ZK::Sig
{
/// The combiner that drops what slots return.
template <class T>
class LastValue;

template <>
class LastValue<void>
{
};

namespace Detail
{
template <class S, class C, class G>
class Signal;

/// The slots of a `ZK::Sig::Signal` that has, or had, something connected.
template <class... Args, class G>
class Signal<void(Args...), LastValue<void>, G> final : public SignalBase
{
    using S = void(Args...);
    using Slots = ZKList<ZKLWPtr<Slot<S, G>>>;

    /// Guard around each change of the list, which is copied first while an emission runs over it.
    class WriteLock
    {
    public:
        WriteLock(Signal& signal, bool notify) : m_signal(signal), m_notify(notify)
        {
            if (m_signal.m_emitting)
                m_signal.m_slots = std::make_shared<Slots>(*m_signal.m_slots);
        }

        WriteLock(WriteLock const&) = delete;
        WriteLock& operator=(WriteLock const&) = delete;

        ~WriteLock()
        {
            m_signal.m_hasSlots.store(!m_signal.m_slots->isEmpty());
            if (!m_notify)
                return;
            // called through a copy: the observer may be replaced, or the signal destroyed, meanwhile
            Function<void()> const onChange = m_signal.m_onChange;
            onChange();
        }

    private:
        Signal& m_signal;
        bool m_notify;
    };

    /// Guard around an emission: keeps the owner and the list as it stands now.
    class EmissionLock
    {
    public:
        explicit EmissionLock(Signal& signal)
            : m_signal(&signal), m_outer(signal.m_emission), m_owner(signal.m_owner), m_slots(signal.m_slots)
        {
            signal.begin(this);
            if (m_owner != nullptr)
                m_owner->addRef();
        }

        EmissionLock(EmissionLock const&) = delete;
        EmissionLock& operator=(EmissionLock const&) = delete;

        ~EmissionLock()
        {
            if (m_signal != nullptr)
            {
                m_signal->m_emitting = false;
                m_signal->m_emission = m_outer;
            }
            // the signal may go with its owner
            if (m_owner != nullptr)
                m_owner->release();
        }

        Slots& getSlots() { return *m_slots; }

    private:
        friend class Signal;

        Signal* m_signal;      // null once destroyed
        EmissionLock* m_outer; // the emission in one of whose slots this one was begun
        RefCountedIf* m_owner;
        std::shared_ptr<Slots> m_slots;
        Iterator<S, G>* m_iterator = nullptr;
    };

    // Kept out of line: the compiler doesn't see that the lock takes its address away again, and warns where it looks in.
    [[gnu::noinline]] void begin(EmissionLock* emission)
    {
        m_emitting = true;
        m_emission = emission;
    }

public:
    explicit Signal(RefCountedIf* owner) : m_owner(owner), m_slots(std::make_shared<Slots>()) {}

    Signal(Signal const&) = delete;
    Signal& operator=(Signal const&) = delete;

    ~Signal() override
    {
        WriteLock const guard(*this, false);
        while (!m_slots->isEmpty())
        {
            ZKLWPtr<Slot<S, G>> const slot = *m_slots->begin();
            slot->disconnect(false);
        }
        for (EmissionLock* emission = m_emission; emission != nullptr; emission = emission->m_outer)
            emission->m_signal = nullptr;
    }

    Connection connect(Function<S> const& function, Ordering ordering)
    {
        WriteLock const guard(*this, true);
        ZKLWPtr<Slot<S, G>> const slot{MovePtr<Slot<S, G>>(new Slot<S, G>(*this, ordering, function))};
        if (ordering.isFront())
            m_slots->addFirst(slot);
        else
            m_slots->add(slot);
        return Connection(slot->getAdapter());
    }

    void disconnect(SlotBase* slot, bool notify) override
    {
        if (slot == nullptr)
            return;
        WriteLock const guard(*this, notify);
        for (auto position = m_slots->begin(); position != m_slots->end();)
        {
            if (position->get() == slot)
                erase(position);
            else
                ++position;
        }
    }

    void observe(Function<void()> const& onChange) { m_onChange = onChange; }

    /// Safe from any thread. An observer that a change is told to on one thread finds here what it was before or is now.
    bool hasSlots() const { return m_hasSlots.load(); }

    template <class... Values>
    void operator()(Values&&... values)
    {
        if (!m_hasSlots.load(std::memory_order_acquire))
            return; // and another thread may be connecting the first
        EmissionLock emission(*this);
        Invoker<S, G> invoker(std::forward<Values>(values)...);
        Iterator<S, G> slot(emission.getSlots(), invoker);
        emission.m_iterator = &slot;
        for (; !slot.isAtEnd(); slot.step())
            slot.call();
        emission.m_iterator = nullptr;
    }

    template <class... Values>
    void emitMoving(Values&&... values)
    {
        if (!m_hasSlots.load(std::memory_order_acquire))
            return; // as above
        EmissionLock emission(*this);
        Invoker<S, G> invoker(std::forward<Values>(values)...);
        Iterator<S, G> slot(emission.getSlots(), invoker);
        emission.m_iterator = &slot;
        for (; !slot.isAtEnd() && !slot.isAtLast(); slot.step())
            slot.call();
        if (!slot.isAtEnd())
            slot.callMoving();
        emission.m_iterator = nullptr;
    }

private:
    /// An emission may run over this very list: once an emission that was nested in it has ended, `m_emitting` is false
    /// and the list is changed in place.
    void erase(typename Slots::Iterator& position)
    {
        for (EmissionLock* emission = m_emission; emission != nullptr; emission = emission->m_outer)
        {
            if (emission->m_iterator != nullptr && emission->m_slots == m_slots)
                emission->m_iterator->beforeErase(position);
        }
        (*position)->leaveSignal();
        m_slots->erase(position);
    }

    Function<void()> m_onChange;
    RefCountedIf* m_owner;
    std::shared_ptr<Slots> m_slots;
    std::atomic<bool> m_hasSlots{false};
    bool m_emitting = false;            // a flag and no depth: it falls when the innermost emission ends
    EmissionLock* m_emission = nullptr; // the innermost one that is running
};
}
}
