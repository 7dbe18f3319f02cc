#include "zekovar/events/sig.h"

#include "zekovar/foundation/string.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace
{
using ZK::Sig::Connection;
using ZK::Sig::Ordering;
using ZK::Sig::ScopedConnection;

/// A signal whose slots have letters for names. A call of a slot is written down, and then runs the slot's next action.
class Letters
{
public:
    explicit Letters(char const* names = "")
    {
        for (; *names != '\0'; names++)
            connect(*names);
    }

    void connect(char name, Ordering ordering = Ordering::BACK)
    {
        connections[name] = signal->connect(ZK::bindArgs(ZK::directCall(), [this, name] { call(name); }), ordering);
    }

    std::string emit()
    {
        calls.clear();
        emitAgain();
        return calls;
    }

    void emitAgain() { (*signal)(); }

    std::unique_ptr<ZK::Sig::Signal<void()>> signal = std::make_unique<ZK::Sig::Signal<void()>>();
    std::map<char, Connection> connections;
    std::map<char, std::function<void()>> actions;
    std::string calls;

private:
    void call(char name)
    {
        calls += name;
        std::function<void()> action = std::exchange(actions[name], nullptr);
        if (action)
            action();
    }
};

struct ChangeDuringEmission
{
    char const* description;
    char const* names;
    char actor;
    void (*action)(Letters&);
    char const* emission; // the one in which the actor acts
    char const* nextEmission;
};

ChangeDuringEmission const CHANGES[] = {
    {"a later slot that is disconnected is still called", "AB", 'A',
     [](Letters& l) { l.connections['B'].disconnect(); }, "AB", "A"},
    {"an earlier slot is disconnected", "AB", 'B', [](Letters& l) { l.connections['A'].disconnect(); }, "AB", "B"},
    {"a slot disconnects itself", "AB", 'A', [](Letters& l) { l.connections['A'].disconnect(); }, "AB", "B"},
    {"a new slot waits for the next emission", "AB", 'B', [](Letters& l) { l.connect('C', Ordering::FRONT); }, "AB",
     "CAB"},
    {"a suspended slot is passed over at once", "ABC", 'A', [](Letters& l) { l.connections['B'].suspend(); }, "AC",
     "AC"},
    {"the first slot is called though it is suspended", "AB", 'A', [](Letters& l) { l.connections['A'].suspend(); },
     "AB", "AB"},
    {"a nested emission runs over the changed list, the outer one over its own", "AB", 'A',
     [](Letters& l)
     {
         l.connect('C');
         l.emitAgain();
     },
     "AABCB", "ABC"},
    {"after a nested emission the outer one loses a slot and gains another", "ABC", 'A',
     [](Letters& l)
     {
         l.emitAgain();
         l.connections['B'].disconnect();
         l.connect('D');
     },
     "AABCCD", "ACD"},
    {"after a nested emission all slots go, and one comes", "ABC", 'B',
     [](Letters& l)
     {
         l.emitAgain();
         for (char name : {'B', 'A', 'C'})
             l.connections[name].disconnect();
         l.connect('D');
     },
     "ABABCD", "D"},
};
}

TEST(Signal, EmissionKeepsToItsListWhileSlotsChangeIt)
{
    for (ChangeDuringEmission const& change : CHANGES)
    {
        SCOPED_TRACE(change.description);
        Letters letters(change.names);
        letters.actions[change.actor] = [&] { change.action(letters); };
        EXPECT_EQ(letters.emit(), change.emission);
        EXPECT_EQ(letters.emit(), change.nextEmission);
    }
}

TEST(Signal, OrderingCountsForMinusOneAloneAndSuspensionsNest)
{
    Letters letters;
    EXPECT_EQ(letters.emit(), "");
    EXPECT_FALSE(letters.signal->hasSlots());
    letters.connect('A', 1);
    letters.connect('B', -2);
    letters.connect('C', -1);
    letters.connect('D', 0);
    letters.connect('E', -1);
    EXPECT_EQ(letters.emit(), "ECABD");

    letters.connections['B'].suspend();
    letters.connections['B'].suspend();
    letters.connections['B'].resume();
    EXPECT_EQ(letters.emit(), "ECAD");
    letters.connections['B'].resume();
    EXPECT_EQ(letters.emit(), "ECABD");
}

TEST(Signal, EachSlotGetsTheArgumentsAsTheyWereAtTheEmission)
{
    ZK::Sig::Signal<void(String, int&)> signal;
    String text("before");
    String seen;
    auto slot = [&](String argument, int& sum)
    {
        text = "after";
        seen.concat(argument);
        sum++;
    };
    signal.connect(ZK::bindArgs(ZK::directCall(), slot));
    signal.connect(ZK::bindArgs(ZK::directCall(), slot));
    int sum = 0;
    signal(text, sum);
    EXPECT_EQ(seen, "beforebefore");
    EXPECT_EQ(sum, 2);
}

TEST(Signal, ObserverHearsOfConnectsAndDisconnectsButNotOfTheSignalsEnd)
{
    Letters letters;
    std::string heard;
    letters.signal->observe(ZK::bindArgs(ZK::directCall(), [&] { heard += letters.signal->hasSlots() ? '+' : '-'; }));
    letters.connect('A');
    {
        ScopedConnection const scoped = letters.signal->connect(ZK::bindArgs(ZK::directCall(), [] {}));
        EXPECT_EQ(heard, "++");
    }
    EXPECT_EQ(heard, "+++") << "a scoped connection disconnects when it goes";
    letters.connections['A'].disconnect();
    letters.connections['A'].disconnect();
    EXPECT_EQ(heard, "+++-");
    letters.signal->disconnect(nullptr, true);
    EXPECT_EQ(heard, "+++-");

    letters.connect('B');
    letters.signal->observe(ZK::bindArgs(ZK::directCall(), [&] { letters.connections['B'].disconnect(); }));
    letters.connect('C');
    EXPECT_EQ(letters.emit(), "C") << "an observer may change the list";
    letters.signal->observe(ZK::bindArgs(ZK::directCall(), [] { ADD_FAILURE() << "told of the signal's end"; }));
    letters.signal.reset();
}

TEST(Connection, OutlivesItsSignal)
{
    Letters letters("AB");
    Connection const copy = letters.connections['A'];
    ScopedConnection scoped = std::move(letters.connections['B']);
    EXPECT_FALSE(copy.isDisconnected());
    letters.signal.reset();
    EXPECT_TRUE(copy.isDisconnected());
    scoped.suspend();
    scoped.disconnect();
    EXPECT_TRUE(Connection().isDisconnected());
}

TEST(Connection, ScopedSlotIsDisconnectedWithTheLastHandle)
{
    Letters letters("AB");
    Connection plain = letters.connections['A'];
    letters.connections.clear();
    EXPECT_EQ(letters.emit(), "AB") << "handles that go leave their slots connected";
    {
        ScopedConnection scoped = Connection(plain);
        ScopedConnection const moved = std::move(scoped);
        EXPECT_TRUE(scoped.isDisconnected());
    }
    EXPECT_EQ(letters.emit(), "AB") << "a handle is left";
    plain = Connection();
    EXPECT_EQ(letters.emit(), "B");

    letters.connect('C');
    letters.connect('D');
    ScopedConnection scoped = std::move(letters.connections['C']);
    scoped = std::move(letters.connections['D']);
    EXPECT_EQ(letters.emit(), "BD") << "what takes another slot over lets go of the one before";
    letters.actions['D'] = [&] { scoped = ScopedConnection(); };
    EXPECT_EQ(letters.emit(), "BD");
    EXPECT_EQ(letters.emit(), "B");
}

TEST(Signal, DisconnectedSlotIsDestroyedAfterTheCallThatDisconnectedIt)
{
    for (bool nested : {false, true})
    {
        Letters letters("A");
        auto disconnectB = [&](int* value)
        {
            delete value;
            letters.connections['B'].disconnect();
        };
        std::shared_ptr<int> token(new int(7), disconnectB);
        std::weak_ptr<int> const watch = token;
        auto leave = [&, token, depth = 0]() mutable
        {
            if (depth++ > 0)
                return;
            if (nested)
                letters.emitAgain();
            letters.connections['X'].disconnect();
            letters.calls += std::to_string(*token);
        };
        letters.connections['X'] = letters.signal->connect(ZK::bindArgs(ZK::directCall(), std::move(leave)));
        token.reset();
        letters.connect('B');
        letters.connect('C');
        EXPECT_EQ(letters.emit(), nested ? "AABC7C" : "A7BC");
        EXPECT_TRUE(watch.expired());
        EXPECT_EQ(letters.emit(), "AC") << "what went with the slot took slot B along";
    }
}

TEST(Signal, OwnerLivesUntilItsEmissionEnds)
{
    class Owner : public ZK::RefCounted
    {
    public:
        explicit Owner(bool& destroyed) : RefCounted(nullptr), m_destroyed(destroyed) {}

        ~Owner() override { m_destroyed = true; }

        ZK::Sig::Signal<void()> signal{this};

    private:
        bool& m_destroyed;
    };

    bool destroyed = false;
    auto* owner = new Owner(destroyed);
    std::string calls;
    owner->signal.connect(ZK::bindArgs(&Owner::release, owner));
    owner->signal.connect(ZK::bindArgs(ZK::directCall(), [&] { calls += destroyed ? "dead" : "alive"; }));
    owner->signal();
    EXPECT_EQ(calls, "alive");
    EXPECT_TRUE(destroyed);

    Letters ownerless("AB");
    ownerless.actions['A'] = [&] { ownerless.signal.reset(); };
    EXPECT_EQ(ownerless.emit(), "AB") << "a signal destroyed by its own slot ends its emission all the same";
}
