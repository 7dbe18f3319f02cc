#include "zekovar/events/ticker.h"

#include "zekovar/events/event_loop.h"

#include <functional>
#include <gtest/gtest.h>
#include <vector>

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
    ZKEventLoop loop("Ticks", 16, 100, 1000, 10000, 16); // never runs: the ticks are delivered by hand
    ZKTickerManager manager(loop, 100);
    auto const observers = [&, before = loop.getFileQueue().getObserverCount()]
    { return loop.getFileQueue().getObserverCount() - before; };
    std::vector<int> order;
    Ticker tickers[4];
    for (int i = 0; i < 4; i++)
        tickers[i].action = [&order, i] { order.push_back(i); };

    EXPECT_EQ(manager.addTicker(nullptr), XCODE_FAILURE);
    EXPECT_EQ(observers(), 0u);
    for (int i : {0, 1, 2, 1})
        EXPECT_TRUE(manager.addTicker(&tickers[i]).isSuccess());
    manager.onFileReady();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2})) << "adding twice is harmless";

    tickers[0].action = [&]
    {
        manager.removeTicker(&tickers[0]);
        manager.removeTicker(&tickers[1]);
        manager.removeTicker(&tickers[1]);
    };
    manager.onFileReady();
    manager.addTicker(&tickers[3]);
    manager.onFileReady();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 2, 3, 2})) << "a free place is used again";

    manager.removeTicker(&tickers[3]);
    manager.stop();
    manager.stop();
    EXPECT_EQ(observers(), 0u);
    manager.addTicker(&tickers[3]);
    EXPECT_EQ(observers(), 1u);
    manager.onFileReady();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 2, 3, 2, 3, 2}));
}
