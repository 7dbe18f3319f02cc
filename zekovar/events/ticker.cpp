#include "zekovar/events/ticker.h"

#include "zekovar/events/timer_file.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"

ZKTickerManager::ZKTickerManager(ZKEventLoop& loop, unsigned int resolution)
    : _ZKFileObserver(loop, nullptr, nullptr, nullptr),
      m_mutex(false),
      m_resolution(resolution),
      m_timerFile("", true, false),
      m_count(0),
      m_tickers{}
{
}

ZKTickerManager::~ZKTickerManager()
{
    stop();
}

XCode ZKTickerManager::addTicker(ZKTicker* ticker)
{
    if (ticker == nullptr || m_resolution == 0)
        return XCODE_FAILURE;
    ZKAutoLock<ZKMutexPrivate> lock(m_mutex);
    if (!m_timerFile.isOpen())
    {
        if (XCode code = startTimer(); code.isErr())
            return code;
    }
    unsigned int const count = m_count.load(std::memory_order_relaxed);
    unsigned int place = count;
    for (unsigned int i = 0; i < count; i++)
    {
        ZKTicker const* occupant = m_tickers[i].load(std::memory_order_relaxed);
        if (occupant == ticker)
            return XCODE_SUCCESS;
        if (occupant == nullptr && place == count)
            place = i;
    }
    if (place == CAPACITY)
        return ZK::Detail::codeOfErrno(ENOMEM);
    m_tickers[place].store(ticker, std::memory_order_release);
    if (place == count)
        m_count.store(count + 1, std::memory_order_release);
    return XCODE_SUCCESS;
}

void ZKTickerManager::removeTicker(ZKTicker* ticker)
{
    if (ticker == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> lock(m_mutex);
    unsigned int const count = m_count.load(std::memory_order_relaxed);
    for (unsigned int i = 0; i < count; i++)
    {
        if (m_tickers[i].load(std::memory_order_relaxed) == ticker)
        {
            m_tickers[i].store(nullptr, std::memory_order_release);
            return;
        }
    }
}

void ZKTickerManager::stop()
{
    ZKAutoLock<ZKMutexPrivate> lock(m_mutex);
    disable();
    if (m_timerFile.isOpen())
        m_timerFile.close();
}

void ZKTickerManager::onFileReady()
{
    ZK::Detail::takeExpiries(m_timerFile);
    for (unsigned int i = 0; i < m_count.load(std::memory_order_acquire); i++)
    {
        // looked up anew at each place, because a tick may have removed the tickers behind it
        if (ZKTicker* ticker = m_tickers[i].load(std::memory_order_acquire))
            ticker->onTick();
    }
}

XCode ZKTickerManager::startTimer()
{
    if (XCode code = ZK::Detail::openTimer(m_timerFile); code.isErr())
        return code;
    XCode code = ZK::Detail::armTimer(m_timerFile, m_resolution, true);
    if (code.isSuccess())
        code = enable(m_timerFile, READ);
    if (code.isErr())
        m_timerFile.close();
    return code;
}
