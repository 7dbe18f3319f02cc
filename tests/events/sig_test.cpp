#include "zekovar/events/sig.h"

#include "zekovar/foundation/string.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace
{
using ZK::Sig::Connection;
using ZK::Sig::Ordering;
using ZK::Sig::ScopedConnection;

/// A signal whose slots have letters for names. A call of a slot is written down, and then runs the slot's next action.
struct Letters
{
    explicit Letters(std::string const& names = "")
    {
        for (char const name : names)
            connect(name);
    }

    void connect(char name, Ordering ordering = Ordering::BACK)
    {
        auto call = [this, name]
        {
            calls += name;
            if (std::function<void()> const action = std::exchange(actions[name], nullptr))
                action();
        };
        connections[name] = signal->connect(ZK::bindArgs(ZK::directCall(), call), ordering);
    }

    std::string emit()
    {
        calls.clear();
        (*signal)();
        return calls;
    }

    /// "+A" connects, "^A" connects at the front, "-A" disconnects, "~A" suspends, "=A" resumes, and "!" emits.
    void run(char const* script)
    {
        std::map<char, void (Connection::*)()> const operations = {
            {'-', &Connection::disconnect}, {'~', &Connection::suspend}, {'=', &Connection::resume}};
        for (; *script != '\0'; script += *script == '!' ? 1 : 2)
        {
            if (*script == '!')
                (*signal)();
            else if (*script == '+' || *script == '^')
                connect(script[1], *script == '^' ? Ordering::FRONT : Ordering::BACK);
            else
                (connections[script[1]].*operations.at(*script))();
        }
    }

    std::unique_ptr<ZK::Sig::Signal<void()>> signal = std::make_unique<ZK::Sig::Signal<void()>>();
    std::map<char, Connection> connections;
    std::map<char, std::function<void()>> actions;
    std::string calls;
};
}

TEST(Signal, EmissionKeepsToItsListWhileSlotsChangeIt)
{
    using Text = char const*;
    std::tuple<Text, Text, char, Text, Text, Text> const cases[] = {
        {"a later slot that is disconnected is still called", "AB", 'A', "-B", "AB", "A"},
        {"an earlier slot is disconnected", "AB", 'B', "-A", "AB", "B"},
        {"a slot disconnects itself", "AB", 'A', "-A", "AB", "B"},
        {"a new slot waits for the next emission", "AB", 'B', "^C", "AB", "CAB"},
        {"a suspended slot is passed over at once", "ABC", 'A', "~B", "AC", "AC"},
        {"suspensions nest", "ABC", 'A', "~B~B=B", "AC", "AC"},
        {"as many resumptions end them", "ABC", 'A', "~B~B=B=B", "ABC", "ABC"},
        {"the first slot is called though it is suspended", "AB", 'A', "~A", "AB", "AB"},
        {"a nested emission runs over the changed list, the outer one over its own", "AB", 'A', "+C!", "AABCB", "ABC"},
        {"after a nested emission a slot goes and another comes", "ABC", 'A', "!-B+D", "AABCCD", "ACD"},
        {"after a nested emission all slots go, and one comes", "ABC", 'B', "!-B-A-C+D", "ABABCD", "D"},
    };
    for (auto const& [description, names, actor, script, emission, nextEmission] : cases)
    {
        SCOPED_TRACE(description);
        Letters letters(names);
        letters.actions[actor] = [&, changes = script] { letters.run(changes); };
        EXPECT_EQ(letters.emit(), emission);
        EXPECT_EQ(letters.emit(), nextEmission);
    }
}

TEST(Signal, EachSlotGetsTheArgumentsAsTheyWereAtTheEmission)
{
    ZK::Sig::Signal<void(String, int&)> signal;
    String text("before"), seen;
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
    EXPECT_EQ(letters.emit(), "");
    std::string heard;
    auto const observe = [&](auto observer)
    { letters.signal->observe(ZK::bindArgs(ZK::directCall(), std::move(observer))); };
    observe([&] { heard += letters.signal->hasSlots() ? '+' : '-'; });
    letters.run("+A+B");
    {
        ScopedConnection const scoped = std::move(letters.connections['B']);
        EXPECT_EQ(heard, "++");
    }
    EXPECT_EQ(heard, "+++") << "a scoped connection disconnects when it goes";
    letters.run("-A-A");
    letters.signal->disconnect(nullptr, true);
    EXPECT_EQ(heard, "+++-");

    letters.run("+B");
    observe([&] { letters.run("-B"); });
    letters.run("+C");
    EXPECT_EQ(letters.emit(), "C") << "an observer may change the list";
    observe([] { ADD_FAILURE() << "told of the signal's end"; });
    letters.signal.reset();
}

TEST(Connection, OutlivesItsSignalWhichASlotMayDestroy)
{
    Letters letters("AB");
    Connection const copy = letters.connections['A'];
    ScopedConnection scoped = std::move(letters.connections['B']);
    letters.actions['A'] = [&] { letters.signal.reset(); };
    EXPECT_FALSE(copy.isDisconnected());
    EXPECT_EQ(letters.emit(), "AB") << "the emission ends all the same";
    EXPECT_TRUE(copy.isDisconnected());
    EXPECT_TRUE(Connection().isDisconnected());
    scoped.suspend();
    scoped.disconnect();
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

    letters.run("+C+D");
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
            letters.run("-B");
        };
        std::shared_ptr<int> token(new int(7), disconnectB);
        std::weak_ptr<int> const watch = token;
        auto leave = [&, token = std::move(token), depth = 0]() mutable
        {
            if (depth++ > 0)
                return;
            letters.run(nested ? "!-X" : "-X");
            letters.calls += std::to_string(*token);
        };
        letters.connections['X'] = letters.signal->connect(ZK::bindArgs(ZK::directCall(), std::move(leave)));
        letters.run("+B+C");
        EXPECT_EQ(letters.emit(), nested ? "AABC7C" : "A7BC");
        EXPECT_TRUE(watch.expired());
        EXPECT_EQ(letters.emit(), "AC") << "what went with the slot took slot B along";
    }
}

TEST(Signal, OwnerLivesUntilItsEmissionEnds)
{
    struct Owner : ZK::RefCounted
    {
        explicit Owner(bool& isDestroyed) : RefCounted(nullptr), destroyed(isDestroyed) {}

        ~Owner() override { destroyed = true; }

        bool& destroyed;
        ZK::Sig::Signal<void()> signal{this};
    };

    bool destroyed = false;
    auto* owner = new Owner(destroyed);
    std::string calls;
    owner->signal.connect(ZK::bindArgs(&Owner::release, owner));
    owner->signal.connect(ZK::bindArgs(ZK::directCall(), [&] { calls += destroyed ? "dead" : "alive"; }));
    owner->signal();
    EXPECT_EQ(calls, "alive");
    EXPECT_TRUE(destroyed);
}
