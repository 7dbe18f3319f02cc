#include "zekovar/diagnostics/qep.h"
#include "zekovar/threads/assertion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <utility>

namespace
{
std::string s_trace; // what happened, in order

/// States from 1 on by number; 0 is the root, and no target. Tells what must happen from the shape alone.
struct Shape
{
    int (*parent)(int);
    int (*initial)(int);

    int depth(int n) const { return n == 0 ? 0 : 1 + depth(parent(n)); }

    bool contains(int outer, int n) const { return n == outer || (n != 0 && contains(outer, parent(n))); }

    int common(int outer, int n) const { return contains(outer, n) ? outer : common(parent(outer), n); }

    int leaf(int n) const { return initial(n) == 0 ? n : leaf(initial(n)); }

    static std::string step(char const* what, int n) { return what + std::to_string(n) + " "; }

    std::string exits(int n, int outer) const { return n == outer ? "" : step("-", n) + exits(parent(n), outer); }

    std::string entries(int outer, int n) const { return n == outer ? "" : entries(outer, parent(n)) + step("+", n); }

    /// The states that it enters at a time are listed by the engine, and more than 6 reported.
    std::string settle(int outer, int n, char const* report) const
    {
        return (depth(n) - depth(outer) > 6 ? report : "") + entries(outer, n) +
               (initial(n) != 0 ? step(">", n) + settle(n, initial(n), report) : "");
    }

    /// The way leads through the innermost state that contains source and target or is one of them, but a source that is
    /// its own target is left. The states from the target up to the source or the root, unless the two are next to each
    /// other, are listed: at most 6 again.
    std::string transition(int current, int source, int target) const
    {
        int const up = parent(source);
        int const outer = common(source == target ? up : source, target);
        bool const isNear = up == target || up == parent(target) || source == target || source == parent(target);
        bool const isLong = !isNear && depth(target) - (outer == source ? depth(source) : 0) > 5;
        return step("D", current) + exits(current, source) +
               (isLong ? step("qhsm_dis", outer == source ? 124 : 135) : "") + exits(source, outer) +
               entries(outer, target) + settle(target, target, "qhsm_dis219 ") +
               step("T", 1000 * source + leaf(target));
    }
};

/// Notes states that are entered, left or take an initial transition ("+3 -4 >5"), and log hooks ("D3").
template <class Engine>
struct Machine : Engine
{
    Machine(Shape const& itsShape, int first, unsigned char code = Q_TRANSITION)
        : Engine(HANDLERS[BEGIN]), shape(itsShape), source(BEGIN), target(first), answer(code)
    {
        this->init(&EVENT);
    }

    void logDispatch(QEvent const*, QStateHandler state) override { note("D", number(state)); }

    void logTransition(QStateHandler to, QStateHandler from) override { note("T", 1000 * number(from) + number(to)); }

    void logHandled(QEvent const*, QStateHandler state) override { note("H", number(state)); }

    void logHandledNoAction(QEvent const*, QStateHandler state) override { note("N", number(state)); }

    void logIgnored(QEvent const*, QStateHandler state) override { note("I", number(state)); }

    static int number(QStateHandler state) { return int(std::ranges::find(HANDLERS, state) - HANDLERS.begin()); }

    static void note(char const* what, int number) { s_trace += Shape::step(what, number); }

    /// An event that `from` answers with `code`; a transition goes to `to`.
    void dispatch(int from, unsigned char code, int to = 0)
    {
        std::tie(source, answer, target) = std::tie(from, code, to);
        Engine::dispatch(&EVENT);
    }

    unsigned char run(int state, unsigned int signal)
    {
        if (signal == Q_USER_SIG && state == source)
            return answer == Q_TRANSITION ? this->transitionTo(HANDLERS[target]) : answer;
        int const next = signal == Q_INIT_SIG ? shape.initial(state) : 0;
        if (next != 0 || signal == Q_ENTRY_SIG || signal == Q_EXIT_SIG)
            note(next != 0 ? ">" : signal == Q_ENTRY_SIG ? "+" : "-", state);
        if (next != 0)
            return this->transitionTo(HANDLERS[next]);
        if (signal == Q_ENTRY_SIG || (signal == Q_EXIT_SIG && state % 3 != 0)) // the others leave it to the superstate
            return state % 3 == 1 ? Q_HANDLED : Q_HANDLED_NO_ACTION;
        this->m_state = HANDLERS[state == BEGIN ? state : shape.parent(state)];
        return Q_SUPER;
    }

    template <int... STATE>
    static std::array<QStateHandler, sizeof...(STATE) + 1> handlers(std::integer_sequence<int, STATE...>)
    {
        return {&QHsm::top, [](void* machine, QEvent const* event)
                { return static_cast<Machine*>(static_cast<Engine*>(machine))->run(STATE + 1, event->sig); }...};
    }

    static constexpr int BEGIN = 127; // the pseudo-state before the first
    static constexpr QEvent EVENT = QEvent(Q_USER_SIG);
    static inline auto const HANDLERS = handlers(std::make_integer_sequence<int, BEGIN>());

    Shape shape;
    int source;
    int target;
    unsigned char answer;
};

/// All transitions of the states 1 to `last`, beginning in each from `first` on.
void checkTransitions(Shape const& shape, int first, int last)
{
    for (; first <= last; ++first)
        for (int source = shape.leaf(first); source != 0; source = shape.parent(source))
            for (int target = 0; target <= last; ++target)
            {
                s_trace.clear();
                Machine<QHsm>(shape, first).dispatch(source, Q_TRANSITION, target);
                ASSERT_EQ(s_trace,
                          shape.settle(0, first, "qhsm_ini73 ") + shape.transition(shape.leaf(first), source, target));
            }
}
}

extern "C" void Q_onAssert(char const* module, int line)
{
    s_trace += Shape::step(module, line);
}

TEST(Hsm, TakesAllTransitionsAndReportsLongPaths)
{
    auto const none = [](int) { return 0; };
    auto const tree = [](int n) { return (n - 1) / 2; };
    auto const chains = [](int n) { return std::max(n - 2, 0); }; // the odd states and the even ones
    checkTransitions({tree, none}, 1, 126);
    checkTransitions({tree, [](int n) { return n == 0 || n > 14 ? 0 : n % 2 == 1 ? 2 * n + 1 : 4 * n + 5; }}, 1, 62);
    checkTransitions({chains, [](int n) { return n == 2 ? 16 : n == 16 ? 30 : 0; }}, 57, 62);

    // far too deep: the target is still reached
    Machine<QHsm> deep({chains, [](int n) { return n == 2 ? 126 : 0; }}, 125);
    deep.dispatch(125, Q_TRANSITION, 124);
    EXPECT_TRUE(deep.isIn(deep.HANDLERS[124]) && deep.isIn(deep.HANDLERS[2]));
    deep.dispatch(124, Q_TRANSITION, 2);
    EXPECT_TRUE(deep.isIn(deep.HANDLERS[126]) && !deep.isIn(deep.HANDLERS[1]));

    s_trace.clear();
    Machine<QHsm>({none, [](int n) { return n == 1 ? 2 : 0; }}, 1); // an initial transition out of its state
    Machine<QHsm>({none, none}, 1, Q_HANDLED);
    Machine<QFsm>({none, none}, 1, Q_HANDLED);
    EXPECT_EQ(s_trace, "+1 >1 qhsm_ini73 +2 qhsm_ini50 qhsm_ini73 +127 qfsm_ini55 +127 ");

    // a state that gives itself for its superstate ends the way: in, out and for an event that nobody takes
    Machine<QHsm> lost({[](int n) { return n == 1 ? 1 : 0; }, none}, 2);
    s_trace.clear();
    lost.dispatch(2, Q_TRANSITION, 1);
    EXPECT_FALSE(lost.isIn(lost.HANDLERS[2]));
    lost.dispatch(3, Q_HANDLED);
    lost.dispatch(1, Q_TRANSITION, 2);
    EXPECT_EQ(s_trace, "D2 qhsm_dis135 -2 +1 T2001 D1 I1 D1 -1 -1 qhsm_dis135 +2 T1002 ");
}

TEST(Machines, TellTheLogWhatBecameOfAnEvent)
{
    Shape const shape{[](int n) { return n == 4 ? 1 : 0; }, [](int) { return 0; }};
    Machine<QHsm> hierarchical(shape, 4);
    Machine<QFsm> flat(shape, 4);
    s_trace.clear();
    for (unsigned char const code : {0, 10, 77})
    {
        hierarchical.dispatch(1, code);
        flat.dispatch(4, code);
    }
    hierarchical.dispatch(2, Q_HANDLED);
    flat.dispatch(4, Q_TRANSITION, 2);
    EXPECT_EQ(s_trace, "D4 H1 D4 H4 D4 N1 D4 N4 D4 H1 D4 I4 D4 I4 D4 T4002 -4 +2 ");
}
