#include "zekovar/events/ticker.h"

#include "zekovar/events/event_loop.h"

#include <cerrno>
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

/// A loop that never runs: the tests deliver the ticks.
class TickerManager : public ::testing::Test
{
protected:
    TickerManager()
    {
        for (int i = 0; i < 65; i++)
            m_tickers[i].action = [this, i] { m_order.push_back(i); };
    }

    ZKEventLoop m_loop{"Ticks", 16, 100, 1000, 10000, 16};
    ZKTickerManager m_manager{m_loop, 100};
    std::vector<Ticker> m_tickers{65};
    std::vector<int> m_order;
};
}

TEST_F(TickerManager, ServesItsPlacesInOrderAndRefusesThe65th)
{
    for (int i = 0; i < 64; i++)
        EXPECT_TRUE(m_manager.addTicker(&m_tickers[i]).isSuccess());
    EXPECT_EQ(m_manager.addTicker(&m_tickers[64]).getRawValue(), 0x11000000u + ENOMEM);
    EXPECT_TRUE(m_manager.addTicker(&m_tickers[63]).isSuccess()) << "who is there already needs no place";
    EXPECT_EQ(m_manager.addTicker(nullptr), XCODE_FAILURE);
    m_manager.removeTicker(&m_tickers[0]);
    m_manager.removeTicker(&m_tickers[0]);
    EXPECT_TRUE(m_manager.addTicker(&m_tickers[64]).isSuccess()) << "a free place is used again";
    m_manager.onFileReady();
    ASSERT_EQ(m_order.size(), 64u);
    EXPECT_EQ(m_order.front(), 64);
    EXPECT_EQ(m_order.back(), 63);
}

TEST_F(TickerManager, TickMayRemoveItselfAndTickersBehindIt)
{
    m_tickers[0].action = [this]
    {
        m_manager.removeTicker(&m_tickers[0]);
        m_manager.removeTicker(&m_tickers[1]);
    };
    for (int i = 0; i < 3; i++)
        m_manager.addTicker(&m_tickers[i]);
    m_manager.onFileReady();
    m_manager.onFileReady();
    EXPECT_EQ(m_order, (std::vector<int>{2, 2}));
}

TEST_F(TickerManager, KeepsItsTimerWithoutTickersAndItsTickersOverAStop)
{
    auto const observers = [this, before = m_loop.getFileQueue().getObserverCount()]
    { return m_loop.getFileQueue().getObserverCount() - before; };
    m_manager.addTicker(&m_tickers[0]);
    m_manager.removeTicker(&m_tickers[0]);
    EXPECT_EQ(observers(), 1u);
    m_manager.addTicker(&m_tickers[0]);
    m_manager.stop();
    m_manager.stop();
    EXPECT_EQ(observers(), 0u);
    m_manager.addTicker(&m_tickers[1]);
    EXPECT_EQ(observers(), 1u);
    m_manager.onFileReady();
    EXPECT_EQ(m_order, (std::vector<int>{0, 1}));
}
