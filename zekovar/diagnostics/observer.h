#pragma once

#include "zekovar/diagnostics/calls_under_way.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/marshaller.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>
#include <memory>
#include <vector>

/// What a `T` tells its observers: the object that it is about, kept alive by the event, and a payload.
///
/// The payload's items are unmarshalled in the order that the observer's operation states. Each observer gets a copy of
/// its own. No lock: an event belongs to one thread.
template <class T>
class ObserverEvent
{
public:
    explicit ObserverEvent(ZKPPtr<T> const& source) : m_source(source) {}

    ObserverEvent(ObserverEvent const&) = default;
    ObserverEvent& operator=(ObserverEvent const&) = delete;

    virtual ~ObserverEvent() = default;

    /// A copy from `new`, which the caller owns, with what of the payload hasn't been read here.
    virtual ObserverEvent* clone() const { return new ObserverEvent(*this); }

    ZKPPtr<T> const& getSource() const { return m_source; }

    ZKMarshaller& getMarshaller() { return m_marshaller; }

private:
    ZKPPtr<T> m_source;
    ZKMarshaller m_marshaller;
};

/// A counted stand-in for an observer, which may die before those that it watches.
///
/// The container counts references to it and never owns the observer. The last reference may go on any thread.
///
/// @tparam T what is observed
/// @tparam O the interface of its observers
template <class T, class O>
class ObserverDelegate
{
public:
    using Event = ObserverEvent<T>;

    /// The count starts at 1, the maker's.
    explicit ObserverDelegate(O* observer) : m_observer(observer), m_count(1) {}

    ObserverDelegate(ObserverDelegate const&) = delete;
    ObserverDelegate& operator=(ObserverDelegate const&) = delete;

    virtual void addRef() { m_count.fetch_add(1); }

    virtual void release()
    {
        if (m_count.fetch_sub(1) == 1)
            delete this;
    }

    /// From here on nothing reaches the observer, which may be destroyed. Blocks while a notification is under way on
    /// another thread; whoever holds a lock that the observer needs there deadlocks. Inside a notification of its own
    /// it doesn't wait for that one.
    virtual void stopNotifications()
    {
        m_observer.store(nullptr);
        m_calls.waitForOthers();
    }

    /// Calls `operation` of the observer; nothing once it is stopped. The caller has a reference.
    virtual void notifyEvent(void (O::*operation)(Event&), Event& event)
    {
        ZK::Detail::CallsUnderWay::Call const call(m_calls);
        if (O* const observer = getObserver())
            (observer->*operation)(event);
    }

    /// As above with the observer's result; success once it is stopped.
    virtual XCode notifyEvent(String& text, XCode (O::*operation)(String&, Event&), Event& event)
    {
        ZK::Detail::CallsUnderWay::Call const call(m_calls);
        O* const observer = getObserver();
        return observer != nullptr ? (observer->*operation)(text, event) : XCode(XCODE_SUCCESS);
    }

    virtual void notifyDestructionEvent(void (O::*operation)(T*), T* source)
    {
        ZK::Detail::CallsUnderWay::Call const call(m_calls);
        if (O* const observer = getObserver())
            (observer->*operation)(source);
    }

    virtual ~ObserverDelegate() = default;

    /// Null once it is stopped.
    O* getObserver() const { return m_observer.load(); }

private:
    std::atomic<O*> m_observer;
    ZK::Detail::CallsUnderWay m_calls;
    std::atomic<unsigned int> m_count;
};

/// The observers of one object, by ascending priority; among equals the newest comes first.
///
/// An observer that was added several times has to be removed as often. Inside any notification observers may be added
/// and removed, also the one that is being notified. One that is added in front of the one being notified doesn't get
/// that event any more; one that was removed gets nothing more at once.
///
/// No lock: the observed object guards it, and notifies under that lock.
template <class T, class O>
class ObserverContainer
{
    /// Keeps every place where it is for a scope.
    class [[nodiscard]] Hold
    {
    public:
        explicit Hold(ObserverContainer& container) : m_container(container) { container.m_broadcasts++; }

        Hold(Hold const&) = delete;
        Hold& operator=(Hold const&) = delete;

        ~Hold()
        {
            m_container.m_broadcasts--;
            m_container.doHousekeeping();
        }

    private:
        ObserverContainer& m_container;
    };

public:
    using Event = ObserverEvent<T>;
    using Delegate = ObserverDelegate<T, O>;

    /// An observer's place. Without uses it has no delegate and only waits to be erased.
    class Wrapper
    {
    public:
        Wrapper() = default;

        Wrapper(Delegate* delegate, unsigned int priority, bool flag)
            : m_delegate(delegate), m_priority(priority), m_flag(flag)
        {
        }

        void inc() { m_uses++; }

        /// Drops the delegate together with the last use.
        void dec()
        {
            if (m_uses > 0 && --m_uses == 0)
                ZKPtr<Delegate> const dropped(std::move(m_delegate));
        }

        ZKPtr<Delegate> const& delegate() const { return m_delegate; }

        unsigned int priority() const { return m_priority; }

        bool flag() const { return m_flag; }

        int uses() const { return m_uses; }

        bool isFor(Delegate const* delegate) const { return m_uses > 0 && m_delegate == delegate; }

        bool isFor(O const* observer) const { return m_uses > 0 && m_delegate.getObj()->getObserver() == observer; }

    private:
        ZKPtr<Delegate> m_delegate;
        unsigned int m_priority = 0;
        bool m_flag = false;
        int m_uses = 1;
    };

    /// The observers that are there when it is made, and whether they still are, while callbacks may remove and add
    /// them. One that was removed and added again counts as another one.
    class RollCall
    {
    public:
        struct Entry
        {
            Wrapper const* wrapper;
            ZKPtr<Delegate> delegate;
            int uses;
        };

        explicit RollCall(ObserverContainer& container) : m_hold(container)
        {
            for (Wrapper const& wrapper : container.m_wrappers)
            {
                if (wrapper.uses() > 0)
                    m_entries.push_back({&wrapper, wrapper.delegate(), wrapper.uses()});
            }
        }

        std::vector<Entry> const& entries() const { return m_entries; }

        static bool isPresent(Entry const& entry) { return entry.wrapper->uses() > 0; }

        bool isPresent(Delegate const* delegate) const
        {
            for (Entry const& entry : m_entries)
            {
                if (entry.delegate == delegate)
                    return isPresent(entry);
            }
            return false;
        }

    private:
        Hold m_hold;
        std::vector<Entry> m_entries;
    };

    ObserverContainer() = default;

    ObserverContainer(ObserverContainer const&) = delete;
    ObserverContainer& operator=(ObserverContainer const&) = delete;

    /// Takes a reference of its own. A delegate that is there already gets one more use and keeps its place; null
    /// changes nothing. `flag` is only stored.
    void addObserver(Delegate* delegate, unsigned int priority, bool flag)
    {
        if (delegate == nullptr)
            return;
        doHousekeeping();
        auto position = m_wrappers.begin();
        for (auto known = position; known != m_wrappers.end(); ++known)
        {
            if (known->isFor(delegate))
                return known->inc();
        }
        while (position != m_wrappers.end() && position->priority() < priority)
            ++position;
        m_wrappers.insert(position, Wrapper(delegate, priority, flag));
    }

    /// Takes one use from the first place that this observer has; null changes nothing.
    void removeObserver(O const* observer)
    {
        if (observer != nullptr)
            removeFirst([observer](Wrapper const& wrapper) { return wrapper.isFor(observer); });
    }

    /// As above for the delegate itself or another one of the same observer.
    void removeObserver(Delegate const* delegate)
    {
        if (delegate == nullptr)
            return;
        O const* const observer = delegate->getObserver();
        removeFirst([delegate, observer](Wrapper const& wrapper)
                    { return wrapper.isFor(delegate) || (observer != nullptr && wrapper.isFor(observer)); });
    }

    /// Calls `operation` of every observer in order, each with its own clone of `event`, which keeps the owner of this
    /// container alive.
    void broadcastEvent(Event const& event, void (O::*operation)(Event&))
    {
        Hold const hold(*this);
        for (Wrapper const& wrapper : m_wrappers)
        {
            if (wrapper.uses() == 0)
                continue;
            ZKPtr<Delegate> const delegate(wrapper.delegate()); // the observer may remove itself
            std::unique_ptr<Event> const copy(event.clone());
            delegate.getObj()->notifyEvent(operation, *copy);
        }
    }

    /// Erases the places without a use, unless a broadcast is under way.
    void doHousekeeping()
    {
        if (m_broadcasts > 0)
            return;
        for (auto wrapper = m_wrappers.begin(); wrapper != m_wrappers.end();)
        {
            if (wrapper->uses() == 0)
                m_wrappers.erase(wrapper);
            else
                ++wrapper;
        }
    }

private:
    template <class Condition>
    void removeFirst(Condition isWanted)
    {
        for (Wrapper& wrapper : m_wrappers)
        {
            if (isWanted(wrapper))
            {
                wrapper.dec();
                break;
            }
        }
        doHousekeeping();
    }

    ZKList<Wrapper> m_wrappers;
    unsigned int m_broadcasts = 0;
};
