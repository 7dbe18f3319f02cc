#pragma once

#include "zekovar/diagnostics/monitor.h"
#include "zekovar/diagnostics/pointer_queue.h"
#include "zekovar/diagnostics/qep.h"
#include "zekovar/events/event_dataqueue.h"
#include "zekovar/foundation/lw_ptr.h"

namespace ZK
{
/// A hierarchical state machine that can be watched by name on a live system: each dispatch, transition and ignored
/// event is a line of a debug monitor.
///
/// The hooks write only if the monitor's effective debug level isn't negative and at least the machine's own level; an
/// event that no state takes is reported as an error at every level. One thread at a time; sessions of the monitor may
/// come and go on other threads meanwhile.
class QHsmRtd : public QHsm
{
public:
    /// Without a monitor, and so without a line, until `setMonitor`.
    explicit QHsmRtd(QStateHandler initial);

    /// `monitor` may be null. The machine holds a reference. `level` is the detail level of the machine's lines.
    QHsmRtd(QStateHandler initial, RTD::Monitor* monitor, int level);

    ~QHsmRtd() override;

    void logDispatch(QEvent const* event, QStateHandler state) override;
    void logTransition(QStateHandler target, QStateHandler source) override;
    void logHandled(QEvent const* event, QStateHandler state) override;
    void logHandledNoAction(QEvent const* event, QStateHandler state) override;
    void logIgnored(QEvent const* event, QStateHandler state) override;

    /// The machine's names for its lines. A machine passes signals that it doesn't name itself on to `EVENT_NAME`.
    virtual char const* getEventName(unsigned short signal) = 0;
    virtual char const* getStateName(QStateHandler state) = 0;

    /// What stands in brackets at the beginning of each line, such as the name of the object that is controlled.
    virtual char const* getLogPrefix() = 0;

    /// "SM   "
    virtual char const* machineName() const;

    /// As in the constructor; on the machine's thread.
    void setMonitor(RTD::Monitor* monitor, int level);

    /// The names of the signals 1 to 3; "(unknown)" for any other.
    static char const* EVENT_NAME(unsigned short signal);

protected:
    ZKLWPtr<RTD::Monitor> m_monitor;
    int m_level;
    bool m_logAlways; ///< writes what the hooks log at severity 6, whatever the levels are; false at construction

private:
    bool isWatched() const;
    void write(String const& line) const;
};

/// A monitored machine that keeps events which it can't serve in its present state, and tries them again later.
///
///     case Q_ENTRY_SIG:
///         me->recall(); // idle again
///         return Q_HANDLED;
///     case CALL_SIG: // in a busy state
///         me->defer(event, false);
///         return Q_HANDLED;
///
/// All operations belong to the machine's thread, which is the loop's once it recalls events. The destructor runs there
/// too, or on a thread that is synchronised to the loop; the loop must outlive the machine.
class QHsmDeferEv : public QHsmRtd
{
public:
    /// The next power of two from `maxDeferred` on, less 1, events can be deferred, and `maxDeferred` can be recalled
    /// and not yet served. From 0xAAAAAAB on it throws `std::bad_array_new_length`. `priority` is that of recalled
    /// events on `loop`.
    QHsmDeferEv(QStateHandler initial, RTD::Monitor* monitor, int level, unsigned int maxDeferred, ZKEventLoop& loop,
                EventPrio::Type priority);

    /// Deletes what is deferred or recalled and not yet served.
    ~QHsmDeferEv() override;

    /// Keeps a clone of `event`; the caller keeps its own. With `unique` an event that equals a deferred one is left out,
    /// which is a success. `XCODE_FAILURE`, and a line at severity 2, if there is no room.
    XCode defer(QEvent const* event, bool unique);

    /// Whether an event that `event` equals, as the left side of `==`, is deferred.
    bool containsEvent(QEvent const* event) const;

    /// Posts all deferred events to the loop, oldest first; each is dispatched by itself later. When one can't be posted
    /// it is lost, with a line at severity 2, the others stay deferred, and the code tells why: that of `ENOENT` if too
    /// many are under way.
    XCode recall();

    /// Dispatches a recalled event on the loop's thread and deletes it; `event` is null then.
    void recallEvent(QEvent*& event);

    /// Deletes all deferred events.
    void flushDeferEvents();

    ZKEventLoop& eventLoop() const { return m_loop; }

private:
    void onRecalled(QEvent* event) { recallEvent(event); }

    ZKQ<QEvent*> m_deferred; // owns them
    ZKEventDataqueue<QHsmDeferEv, QEvent*> m_recallPool;
    ZKEventLoop& m_loop;
};

/// A monitored machine that runs on a loop's thread and takes events from any thread. It is also the way to feed a
/// machine from its own handlers.
///
/// `init`, and what is said of `QHsmDeferEv`, belongs to the loop's thread, or comes before the first event. Nobody may
/// dispatch any more when the destructor runs.
class QHsmDispatchAsync : public QHsmDeferEv
{
public:
    /// As for `QHsmDeferEv`; besides, up to `maxDeferred` dispatched events can be under way.
    QHsmDispatchAsync(QStateHandler initial, RTD::Monitor* monitor, int level, unsigned int maxDeferred,
                      ZKEventLoop& loop, EventPrio::Type priority);

    /// Deletes the events that are under way.
    ~QHsmDispatchAsync() override;

    /// Posts a clone of `event`; the caller keeps its own. It is lost, in silence, if too many are under way. Safe from
    /// any thread; doesn't block.
    void dispatch(QEvent const* event);

    /// As above for a plain event of that signal.
    void dispatch(unsigned short signal);

    /// Dispatches a posted event on the loop's thread and deletes it; `event` is null then.
    void onDispatch(QEvent const*& event);

private:
    void onPosted(QEvent const* event) { onDispatch(event); }

    ZKEventDataqueue<QHsmDispatchAsync, QEvent const*> m_dispatchPool;
};
}
