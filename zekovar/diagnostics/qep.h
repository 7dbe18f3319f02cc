#pragma once

#include <cstdint>

class QEvent;

/// A state. `me` is the machine, as a `QHsm*` or `QFsm*`; the answer is a `QStateResult`.
using QStateHandler = unsigned char (*)(void* me, QEvent const* event);

/// What a state answers to an event.
enum QStateResult : unsigned char
{
    Q_HANDLED = 0,
    Q_IGNORED = 1,           ///< only `QHsm::top` gives it
    Q_TRANSITION = 2,        ///< the target is stored
    Q_SUPER = 3,             ///< not for this state: its superstate is stored
    Q_HANDLED_NO_ACTION = 10 ///< taken, but nothing happened; differs from handled in logs only
};

/// Signals of the engine itself, which it sends as `QEP_reservedEvt_`; those of a machine start above them.
enum QReservedSignal : uint16_t
{
    Q_EMPTY_SIG = 0, ///< asks a state for its superstate; it must do nothing else
    Q_ENTRY_SIG = 1,
    Q_EXIT_SIG = 2,
    Q_INIT_SIG = 3, ///< asks for an initial transition, to a state below the one that is asked
    Q_USER_SIG = 4  ///< the first one that is free
};

/// An event: a signal, with parameters in derived classes.
///
/// A derived class overrides `clone`, or it loses its parameters where events are kept for later, and `isEqual` if they
/// count in comparisons.
class QEvent
{
public:
    constexpr explicit QEvent(uint16_t signal, uint8_t byte1 = 0, uint8_t byte2 = 0)
        : sig(signal), userByte1(byte1), userByte2(byte2)
    {
    }

    constexpr QEvent(QEvent const&) = default;
    constexpr QEvent& operator=(QEvent const&) = default;

    constexpr virtual ~QEvent() {}

    /// A copy on the heap, which belongs to the caller.
    virtual QEvent* clone() const;

    /// Compares the signals. `other` is of the same class as this event when `operator==` asks.
    virtual bool isEqual(QEvent const& other) const;

    uint16_t sig;
    uint8_t userByte1; ///< for the machine; the engine doesn't read it
    uint8_t userByte2; ///< as `userByte1`
};

/// Events are equal if they are of one class and the left one's `isEqual` says so. Two classes of the same name in
/// unnamed namespaces of two files are different classes.
bool operator==(QEvent const& left, QEvent const& right);
bool operator!=(QEvent const& left, QEvent const& right);

/// The events with the signals 0 to 3.
extern QEvent const QEP_reservedEvt_[4];

namespace QEP
{
/// The engine's version, "4.2.00".
char const* getVersion();
}

/// A flat state machine: a state is a function, and an event changes it or not.
///
/// Takes no lock and allocates nothing. One thread at a time; a handler must not dispatch to its own machine.
class QFsm
{
public:
    /// `initial` answers the event of `init` with a transition to the first state.
    explicit QFsm(QStateHandler initial);

    QFsm(QFsm const&) = delete;
    QFsm& operator=(QFsm const&) = delete;

    virtual ~QFsm() = default;

    virtual void logDispatch(QEvent const* event, QStateHandler state) = 0;
    virtual void logTransition(QStateHandler target, QStateHandler source) = 0;
    virtual void logHandled(QEvent const* event, QStateHandler state) = 0;
    virtual void logHandledNoAction(QEvent const* event, QStateHandler state) = 0;
    virtual void logIgnored(QEvent const* event, QStateHandler state) = 0;

    /// Enters the first state; once, before the first `dispatch`. `event` goes to the initial handler and may be null
    /// if that doesn't read it. Calls `Q_onAssert` with "qfsm_ini" and 55 if the answer isn't a transition.
    void init(QEvent const* event);

    /// Runs one event to its end. An answer that isn't known counts as ignored.
    void dispatch(QEvent const* event);

protected:
    /// For handlers: stores the target and gives the answer.
    unsigned char transitionTo(QStateHandler target)
    {
        m_state = target;
        return Q_TRANSITION;
    }

    /// The current state; the target while a transition is under way.
    QStateHandler m_state;

private:
    unsigned char trigger(QStateHandler state, QReservedSignal signal);
};

/// A hierarchical state machine: what a state doesn't handle goes to its superstate, up to `top`.
///
///     unsigned char Door::open(void* machine, QEvent const* event)
///     {
///         auto* const me = static_cast<Door*>(static_cast<QHsm*>(machine));
///         if (event->sig == CLOSE_SIG)
///             return me->transitionTo(&Door::closed);
///         return me->superstate(&QHsm::top);
///     }
///
/// A transition leaves all states from the current one up to the one that answered, the source. A transition of the
/// source to itself leaves and enters it. Any other goes by way of the innermost state that contains both or is one of
/// them, which is neither left nor entered: so a superstate as target isn't entered again. Then the target's initial
/// transition is taken, and that of its target, down to a state without one.
///
/// Machines are designed for paths of up to 6 states, from a target outward; without a source on the way `top` counts
/// as well. A longer one is reported to `Q_onAssert`, with "qhsm_ini" or "qhsm_dis". It still works, up to 32 states;
/// of an even longer path the outer states aren't entered. The way outward also ends, with a report, at a state that
/// doesn't tell its superstate.
///
/// Takes no lock, allocates nothing and doesn't recurse. One thread at a time; a handler must not dispatch to its own
/// machine.
class QHsm
{
public:
    /// `initial` answers the event of `init` with a transition to the first state.
    explicit QHsm(QStateHandler initial);

    QHsm(QHsm const&) = delete;
    QHsm& operator=(QHsm const&) = delete;

    virtual ~QHsm() = default;

    /// Before the states see `event`; `state` is the current one.
    virtual void logDispatch(QEvent const* event, QStateHandler state) = 0;

    /// After a transition: `target` is the state where the initial transitions ended, `source` the one that answered.
    virtual void logTransition(QStateHandler target, QStateHandler source) = 0;

    /// `state` is the one that answered, as in `logHandledNoAction`.
    virtual void logHandled(QEvent const* event, QStateHandler state) = 0;
    virtual void logHandledNoAction(QEvent const* event, QStateHandler state) = 0;

    /// No state took the event; `state` is the current one.
    virtual void logIgnored(QEvent const* event, QStateHandler state) = 0;

    /// Enters the first state; once, before the first `dispatch`. `event` goes to the initial handler and may be null
    /// if that doesn't read it. Calls `Q_onAssert` with "qhsm_ini" and 50 if the answer isn't a transition.
    void init(QEvent const* event);

    /// Runs one event to its end. An answer that isn't known counts as handled.
    void dispatch(QEvent const* event);

    /// Whether the machine is in `state` or in a state within it. A handler that serves an event gets the answer for
    /// itself: not for the current state, from which the event may have come up to it.
    bool isIn(QStateHandler state);

    /// The root, which contains all states and ignores everything.
    static unsigned char top(void* me, QEvent const* event);
    static unsigned char top(QHsm* me, QEvent const* event);

protected:
    /// For handlers: stores the target and gives the answer.
    unsigned char transitionTo(QStateHandler target)
    {
        m_state = target;
        return Q_TRANSITION;
    }

    /// For handlers: stores the superstate and gives the answer.
    unsigned char superstate(QStateHandler state)
    {
        m_state = state;
        return Q_SUPER;
    }

    /// The current state between two events, and the engine's scratch while one is served.
    QStateHandler m_state;

private:
    class Walker;
};
