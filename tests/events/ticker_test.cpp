#include "zekovar/events/ticker.h"

#include "tests/events/loop_fixture.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace
{
struct Ticker : ZKTicker
{
    void onTick() override { action(); }

    std::function<void()> action;
};
}

TEST(TickerManager, ServesItsPlacesInOrderWhileTicksFreeThemAndKeepsThemOverAStop)
{
    TestLoop loop; // never runs: the ticks are delivered by hand
    ZKTickerManager manager(loop, 100);
    auto const observers = [&, before = loop.getFileQueue().getObserverCount()]
    { return loop.getFileQueue().getObserverCount() - before; };
    std::string order;
    Ticker tickers[4];
    for (int i = 0; i < 4; i++)
        tickers[i].action = [&order, i] { order += std::to_string(i); };

    EXPECT_EQ(manager.addTicker(nullptr), XCODE_FAILURE);
    EXPECT_EQ(observers(), 0u);
    for (int i : {0, 1, 2, 1})
        EXPECT_TRUE(manager.addTicker(&tickers[i]).isSuccess());
    manager.onFileReady();
    EXPECT_EQ(order, "012") << "adding twice is harmless";

    tickers[0].action = [&]
    {
        for (int i : {0, 1, 1})
            manager.removeTicker(&tickers[i]);
    };
    manager.onFileReady();
    manager.addTicker(&tickers[3]);
    manager.onFileReady();
    EXPECT_EQ(order, "012232") << "a free place is used again";

    manager.removeTicker(&tickers[3]);
    manager.stop();
    manager.stop();
    EXPECT_EQ(observers(), 0u);
    manager.addTicker(&tickers[3]);
    EXPECT_EQ(observers(), 1u);
    manager.onFileReady();
    EXPECT_EQ(order, "01223232");
}
