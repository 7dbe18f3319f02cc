#pragma once

#include "zekovar/events/file_observer.h"
#include "zekovar/files/file.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>

/// What a `ZKTickerManager` calls on each of its ticks.
class ZKTicker
{
public:
    /// Runs on the loop's thread. It may remove and delete itself or any other ticker.
    virtual void onTick() = 0;

protected:
    ~ZKTicker() = default;
};

/// One periodic timer of a loop that serves up to 64 tickers with a single descriptor.
///
/// The descriptor is opened by the first ticker and stays open, without tickers too, until `stop`. A tick that a busy
/// loop missed isn't made up.
///
/// `addTicker` and `removeTicker` are safe from any thread. The ticks themselves take no lock: a ticker that is removed
/// on a thread other than the loop's may see one more tick, so such a thread synchronises to the loop before it deletes
/// the ticker.
class ZKTickerManager : public _ZKFileObserver
{
public:
    static constexpr unsigned int CAPACITY = 64;

    /// `resolution` is the length of a tick in milliseconds; a manager of 0 is out of use.
    ZKTickerManager(ZKEventLoop& loop, unsigned int resolution);

    ~ZKTickerManager() override;

    /// Ticks `ticker` from now on; the first tick comes after anything up to a whole resolution. Success if it is there
    /// already. Fails with the code of `ENOMEM` when all places are taken, and with the code of `errno` when the timer
    /// can't be opened or armed, which leaves the manager closed. `XCODE_FAILURE` for null and for a manager that is
    /// out of use.
    XCode addTicker(ZKTicker* ticker);

    /// Without effect on a ticker that isn't there.
    void removeTicker(ZKTicker* ticker);

    /// Closes the timer. The tickers keep their places, and the next `addTicker` makes them all tick again. For the
    /// loop's thread, or while the loop stands still.
    void stop();

    /// Milliseconds in a tick.
    unsigned int getResolution() const { return m_resolution; }

    /// Ticks every ticker once, in the order of their places.
    void onFileReady() override;

private:
    XCode startTimer();

    ZKMutexPrivate m_mutex; // guards m_timerFile and the changes of m_tickers
    unsigned int m_resolution;
    ZKFile m_timerFile;
    std::atomic<unsigned int> m_count; // places that have been in use, never fewer again
    std::atomic<ZKTicker*> m_tickers[CAPACITY];
};
