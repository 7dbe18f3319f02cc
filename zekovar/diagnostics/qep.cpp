#include "zekovar/diagnostics/qep.h"

#include "zekovar/threads/assertion.h"

#include <atomic>
#include <functional>
#include <typeinfo>

QEvent* QEvent::clone() const
{
    return new QEvent(sig, userByte1, userByte2);
}

bool QEvent::isEqual(QEvent const& other) const
{
    return sig == other.sig;
}

bool operator==(QEvent const& left, QEvent const& right)
{
    // compares the names' addresses, then their text, unless a "*" in front marks a class that only its own file knows
    return typeid(left) == typeid(right) && left.isEqual(right);
}

bool operator!=(QEvent const& left, QEvent const& right)
{
    return !(left == right);
}

char const* QEP::getVersion()
{
    return "4.2.00";
}

QFsm::QFsm(QStateHandler initial) : m_state(initial)
{
}

void QFsm::init(QEvent const* event)
{
    if (m_state(this, event) != Q_TRANSITION)
        Q_onAssert("qfsm_ini", 55);
    trigger(m_state, Q_ENTRY_SIG);
}

void QFsm::dispatch(QEvent const* event)
{
    QStateHandler const source = m_state;
    logDispatch(event, source);
    switch (source(this, event))
    {
    case Q_TRANSITION:
        logTransition(m_state, source);
        trigger(source, Q_EXIT_SIG);
        trigger(m_state, Q_ENTRY_SIG);
        break;
    case Q_HANDLED:
        logHandled(event, source);
        break;
    case Q_HANDLED_NO_ACTION:
        logHandledNoAction(event, source);
        break;
    default:
        logIgnored(event, source);
        break;
    }
}

unsigned char QFsm::trigger(QStateHandler state, QReservedSignal signal)
{
    return state(this, &QEP_reservedEvt_[signal]);
}

namespace
{
/// The states to be entered, from the target outward.
class EntryPath
{
public:
    static constexpr int LIMIT = 6; // what machines are designed for: more is reported

    explicit EntryPath(QStateHandler target) : m_count(1) { m_states[0] = target; }

    /// False if there is no room, or if `state` is the last one again: a state that doesn't tell its superstate.
    bool add(QStateHandler state)
    {
        if (m_count == CAPACITY || back() == state)
            return false;
        m_states[m_count++] = state;
        return true;
    }

    /// Drops `state` and what is outside of it; false if it isn't there.
    bool cutAt(QStateHandler state)
    {
        for (int i = m_count - 1; i >= 0; --i)
        {
            if (m_states[i] == state)
            {
                m_count = i;
                return true;
            }
        }
        return false;
    }

    QStateHandler front() const { return m_states[0]; } // the target, also when it isn't entered

    QStateHandler back() const { return m_states[m_count - 1]; }

    QStateHandler operator[](int i) const { return m_states[i]; }

    int size() const { return m_count; }

private:
    static constexpr int CAPACITY = 32;

    int m_count;
    QStateHandler m_states[CAPACITY];
};
}

/// Moves a machine through its states. Hidden in this file, its small steps can be joined by the compiler: as calls they
/// would cost more than what they do.
class QHsm::Walker
{
public:
    explicit Walker(QHsm& machine) : m_machine(machine) {}

    unsigned char trigger(QStateHandler state, QReservedSignal signal)
    {
        return state(&m_machine, &QEP_reservedEvt_[signal]);
    }

    /// The state itself for `top`.
    QStateHandler superstateOf(QStateHandler state)
    {
        m_machine.m_state = state;
        trigger(state, Q_EMPTY_SIG);
        return m_machine.m_state;
    }

    /// Gives the superstate. A state that handles its exit doesn't tell it, so it is asked then. If it still doesn't,
    /// that is reported, and the way ends at `top`.
    QStateHandler leave(QStateHandler state)
    {
        QStateHandler const outer = trigger(state, Q_EXIT_SIG) == Q_SUPER ? m_machine.m_state : superstateOf(state);
        if (outer != state)
            return outer;
        Q_onAssert("qhsm_dis", 135);
        return ROOT;
    }

    /// The transition from `source`, a superstate of `current` or that itself, to the machine's state.
    void transit(QStateHandler current, QStateHandler source)
    {
        tellPredictor(source, m_machine.m_state);
        EntryPath path(m_machine.m_state);
        while (current != source && current != ROOT)
            current = leave(current);
        leaveFor(path, source);
        enter(path);
        QStateHandler leaf = path.front();
        m_machine.m_state = leaf;
        while (trigger(leaf, Q_INIT_SIG) == Q_TRANSITION)
            leaf = enterInitial(leaf, "qhsm_dis", 219);
        m_machine.logTransition(leaf, source);
        m_machine.m_state = leaf;
    }

    /// A branch that does nothing. Processors tell where an indirect call leads by the conditional branches before it,
    /// and states that are alike take the same ones: where a machine goes to and fro between such states nearly each
    /// call would be mispredicted, which doubles the cost. The order of the two states makes a difference to go by.
    static void tellPredictor(QStateHandler source, QStateHandler target)
    {
        if (std::less<>()(source, target))
            std::atomic_signal_fence(std::memory_order_seq_cst); // no instruction, but keeps the branch
    }

    /// Leaves `source` as far as the target of `path` lies outside, and completes `path`. The near relations come
    /// first: they need to know no more than the two superstates.
    void leaveFor(EntryPath& path, QStateHandler source)
    {
        QStateHandler const target = path.front();
        if (source == target)
        {
            trigger(source, Q_EXIT_SIG);
            return;
        }
        QStateHandler const superstateOfTarget = superstateOf(target);
        if (source == superstateOfTarget)
            return;
        QStateHandler const superstateOfSource = superstateOf(source);
        if (superstateOfSource == superstateOfTarget)
        {
            trigger(source, Q_EXIT_SIG);
            return;
        }
        if (superstateOfSource == target)
        {
            trigger(source, Q_EXIT_SIG);
            path.cutAt(target);
            return;
        }
        path.add(superstateOfTarget);
        leaveUpTo(path, source, superstateOfSource);
    }

    /// The general case: `path` holds the target and its superstate. Unless the target lies within `source`, the path
    /// goes up to `top` and is cut at the first superstate of `source` that stands on it.
    void leaveUpTo(EntryPath& path, QStateHandler source, QStateHandler superstateOfSource)
    {
        while (path.back() != ROOT && trigger(path.back(), Q_EMPTY_SIG) == Q_SUPER)
        {
            if (m_machine.m_state == source)
            {
                if (path.size() >= EntryPath::LIMIT)
                    Q_onAssert("qhsm_dis", 124);
                return;
            }
            if (!path.add(m_machine.m_state))
                break;
        }
        if (path.size() > EntryPath::LIMIT || path.back() != ROOT)
            Q_onAssert("qhsm_dis", 135);
        trigger(source, Q_EXIT_SIG);
        QStateHandler state = superstateOfSource;
        while (!path.cutAt(state) && state != ROOT)
            state = leave(state);
    }

    void enter(EntryPath const& path)
    {
        for (int i = path.size() - 1; i >= 0; --i)
            trigger(path[i], Q_ENTRY_SIG);
    }

    /// Enters the machine's state and its superstates up to, but without, `from`; gives that state. A limit of the path
    /// that is exceeded, and an initial transition that leads out of `from`, is reported with `module` and `line`.
    QStateHandler enterInitial(QStateHandler from, char const* module, int line)
    {
        EntryPath path(m_machine.m_state);
        QStateHandler outer = superstateOf(m_machine.m_state);
        while (outer != from && path.add(outer))
            outer = superstateOf(outer);
        m_machine.m_state = path.front();
        if (path.size() > EntryPath::LIMIT || outer != from)
            Q_onAssert(module, line);
        enter(path);
        return path.front();
    }

private:
    static constexpr QStateHandler ROOT = &QHsm::top;

    QHsm& m_machine;
};

QHsm::QHsm(QStateHandler initial) : m_state(initial)
{
}

void QHsm::init(QEvent const* event)
{
    if (m_state(this, event) != Q_TRANSITION)
        Q_onAssert("qhsm_ini", 50);
    Walker walker(*this);
    QStateHandler leaf = &QHsm::top;
    do
        leaf = walker.enterInitial(leaf, "qhsm_ini", 73);
    while (walker.trigger(leaf, Q_INIT_SIG) == Q_TRANSITION);
    m_state = leaf;
}

void QHsm::dispatch(QEvent const* event)
{
    QStateHandler const current = m_state;
    logDispatch(event, current);
    QStateHandler source;
    unsigned char result;
    do
    {
        source = m_state;
        result = source(this, event);
    } while (result == Q_SUPER && m_state != source); // a state that names itself as its superstate ends the way
    if (result == Q_TRANSITION)
    {
        Walker(*this).transit(current, source);
        return;
    }
    if (result == Q_IGNORED || result == Q_SUPER)
        logIgnored(event, current);
    else if (result == Q_HANDLED_NO_ACTION)
        logHandledNoAction(event, source);
    else
        logHandled(event, source);
    m_state = current;
}

bool QHsm::isIn(QStateHandler state)
{
    QStateHandler const current = m_state;
    QStateHandler inner = nullptr;
    while (m_state != state && m_state != inner) // `top` stores nothing, and so ends the way
    {
        inner = m_state;
        inner(this, &QEP_reservedEvt_[Q_EMPTY_SIG]);
    }
    bool const found = m_state == state;
    m_state = current;
    return found;
}

unsigned char QHsm::top(void*, QEvent const*)
{
    return Q_IGNORED;
}

unsigned char QHsm::top(QHsm* me, QEvent const* event)
{
    return top(static_cast<void*>(me), event);
}
