#include "zekovar/events/loop_supervisor.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_queue.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/file_queue.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace
{
constexpr unsigned int HEARTBEAT_MILLISECONDS = 1000;
constexpr unsigned int QUEUING_EMERGENCY_SECONDS = 120;
constexpr unsigned int PROCESSING_ALERTING_SECONDS = 30;
constexpr unsigned int PROCESSING_EMERGENCY_SECONDS = 120;

// A loop that is a global object stops when the supervisor has gone already, and finds nothing to leave.
constinit std::atomic<bool> s_gone = false;

/// A threshold that a figure has reached.
struct Exceeded
{
    char const* word = "";
    unsigned int threshold = 0;
};

unsigned int toWord(uint64_t count)
{
    return static_cast<unsigned int>(std::min<uint64_t>(count, std::numeric_limits<uint32_t>::max()));
}

EventPrio::Type priorityOf(unsigned int index)
{
    return static_cast<EventPrio::Type>(index);
}

Exceeded queuingThreshold(unsigned int seconds)
{
    if (seconds >= QUEUING_EMERGENCY_SECONDS)
        return {"EMERGENCY", QUEUING_EMERGENCY_SECONDS};
    return {};
}

Exceeded processingThreshold(unsigned int seconds)
{
    if (seconds >= PROCESSING_EMERGENCY_SECONDS)
        return {"EMERGENCY", PROCESSING_EMERGENCY_SECONDS};
    if (seconds >= PROCESSING_ALERTING_SECONDS)
        return {"ALERTING", PROCESSING_ALERTING_SECONDS};
    return {};
}

void endFigureLine(String& text, Exceeded const& exceeded)
{
    if (exceeded.threshold != 0)
        text.concatf("   EXCEEDS %s THRESHOLD OF %u S", exceeded.word, exceeded.threshold);
    text += '\n';
}

void printQueues(String& text, ZKEventLoop const& loop)
{
    text += "      Event queue by priority:   added - processed = fill-level  max level  status\n";
    for (unsigned int i = 0; i < EventPrio::COUNT; i++)
    {
        ZKEventQueue const& queue = loop.getQueue(priorityOf(i));
        text.concatf("          %-6s              %8u - %9u = %10u  %9u  %s\n", EventPrio::NAME(priorityOf(i)),
                     toWord(queue.getAddedCount()), toWord(queue.getProcessedCount()), queue.getFillLevel(),
                     toWord(queue.getMaxFillLevel()), queue.isProcessing() ? "processing" : "");
    }
}

void printFiles(String& text, ZKFileQueue const& files)
{
    text.concatf("      File events processed:              %8u (%u observers)\n", files.getProcessedEvents(),
                 files.getObserverCount());
    if (files.getSkippedError() != 0 || files.getSkippedHangup() != 0 || files.getSkippedRead() != 0 ||
        files.getSkippedWrite() != 0)
    {
        text.concatf(
            "          Skipped callbacks:              %8u error, %7u hangup, %7u read-ready, %7u write-ready\n",
            files.getSkippedError(), files.getSkippedHangup(), files.getSkippedRead(), files.getSkippedWrite());
    }
    if (files.getDisabledPending() != 0)
        text.concatf("    Disabled pending events:              %8u\n", files.getDisabledPending());
}
}

void ZKEventLoopSupervisor::LoopStatus::countSecond(QueueState const (&queues)[EventPrio::COUNT])
{
    queuingDelay++;
    processingTime++;
    bool progress = false;
    bool busy = false;
    for (unsigned int i = 0; i < EventPrio::COUNT; i++)
    {
        unsigned int const processed = toWord(queues[i].processed);
        progress |= processed > lastProcessed[i];
        busy |= queues[i].fillLevel != 0 || queues[i].processing;
        lastProcessed[i] = processed;
    }
    if (progress || !busy)
        processingTime = 0;
    maxQueuingDelay = std::max(maxQueuingDelay, queuingDelay);
    maxProcessingTime = std::max(maxProcessingTime, processingTime);
}

void ZKEventLoopSupervisor::LoopStatus::print(String& text) const
{
    bool const ready = queuingDelay < 2 && processingTime == 0;
    text.concatf(ready ? "  %s: Event Loop is ready\n" : "! %s: EVENT LOOP IS BLOCKED\n", loop->getName().c_str());
    text += "      Performance  [s]:        current         max\n";
    // the heartbeat's normal second doesn't count
    Exceeded const queuing = queuingThreshold(queuingDelay);
    text.concatf("%s         %s:       %7u     %7u", queuing.threshold != 0 ? "!" : " ",
                 queuing.threshold != 0 ? "QUEUING DELAY" : "queuing delay", std::max(queuingDelay, 1u) - 1,
                 std::max(maxQueuingDelay, 1u) - 1);
    endFigureLine(text, queuing);
    Exceeded const processing = processingThreshold(processingTime);
    text.concatf("%s         %s:     %7u     %7u", processing.threshold != 0 ? "!" : " ",
                 processing.threshold != 0 ? "PROCESSING TIME" : "processing time", processingTime, maxProcessingTime);
    endFigureLine(text, processing);
    printQueues(text, *loop);
    printFiles(text, loop->getFileQueue());
}

ZKEventLoopSupervisor& ZKEventLoopSupervisor::INSTANCE()
{
    static ZKEventLoopSupervisor s_instance;
    return s_instance;
}

ZKEventLoopSupervisor::ZKEventLoopSupervisor()
    : ZKThread("Event-Supervisor", nullptr),
      m_mutex(true),
      m_seconds(0),
      m_stopSignal(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME),
      m_left(m_mutex, ZK::Time::Source::REALTIME)
{
    start("Event-Supervisor");
}

ZKEventLoopSupervisor::~ZKEventLoopSupervisor()
{
    m_stopSignal.signal();
    join();
    while (ZKEventLoop* loop = firstLoop())
        unregisterEventLoop(loop);
    s_gone = true;
}

ZKEventLoop* ZKEventLoopSupervisor::firstLoop()
{
    ZKAutoLock<ZKMutex> lock(m_mutex);
    return m_loops.isEmpty() ? nullptr : m_loops.begin().value().loop;
}

XCode ZKEventLoopSupervisor::runThread()
{
    while (m_stopSignal.waitFor(1000) == ZK::Detail::codeOfErrno(ETIMEDOUT))
        countSecond();
    return XCODE_SUCCESS;
}

void ZKEventLoopSupervisor::onEvent(String const& uniqueName)
{
    ZKAutoLock<ZKMutex> lock(m_mutex);
    decltype(m_loops)::Iterator entry;
    if (m_loops.get(uniqueName, entry))
        entry.value().queuingDelay = 0;
}

void ZKEventLoopSupervisor::registerEventLoop(ZKEventLoop* loop)
{
    if (loop == nullptr || s_gone)
        return;
    ZKAutoLock<ZKMutex> lock(m_mutex);
    if (m_loops.contains(loop->getUniqueName()))
        return;
    LoopStatus status;
    status.loop = loop;
    status.heartbeat = new ZKEventTimeoutData<ZKEventLoopSupervisor, String>(
        *loop, EventPrio::LOW, *this, &ZKEventLoopSupervisor::onEvent, loop->getUniqueName());
    // without a heartbeat the queuing delay grows, which is what a reader of the report should see
    status.heartbeat->getEvent().start(HEARTBEAT_MILLISECONDS, true, false);
    m_loops.add(loop->getUniqueName(), status);
}

void ZKEventLoopSupervisor::unregisterEventLoop(ZKEventLoop* loop)
{
    if (loop == nullptr || s_gone)
        return;
    String const name = loop->getUniqueName();
    std::unique_ptr<ZKEventTimeoutData<ZKEventLoopSupervisor, String>> heartbeat;
    {
        ZKAutoLock<ZKMutex> lock(m_mutex);
        decltype(m_loops)::Iterator entry;
        if (!m_loops.get(name, entry))
            return;
        heartbeat.reset(std::exchange(entry.value().heartbeat, nullptr));
        if (heartbeat == nullptr)
        {
            // unless it is this very thread that the other caller waits for
            if (!isCurrentThreadSynchronizedTo(*loop))
                waitUntilGone(name);
            return;
        }
    }
    // The heartbeat takes m_mutex on the loop's thread, so the loop can't be stopped under it. The entry stays until
    // the loop has let go, for a second caller to wait for.
    {
        std::optional<ZKAutoLock<ZKEventSync>> stop;
        if (loop->getThread().isAlive())
            stop.emplace(loop->getEventSync(EventPrio::HIGH));
        heartbeat.reset();
    }
    ZKAutoLock<ZKMutex> lock(m_mutex);
    m_loops.remove(name);
    m_left.broadcast();
}

void ZKEventLoopSupervisor::waitUntilGone(String const& uniqueName)
{
    while (m_loops.contains(uniqueName))
        m_left.wait();
}

void ZKEventLoopSupervisor::getStatus(ZKVector<Report>& reports)
{
    reports.clear();
    ZKAutoLock<ZKMutex> lock(m_mutex);
    for (auto const& entry : m_loops)
    {
        Report report;
        report.name = entry.key();
        report.queuingDelay = entry.value().queuingDelay;
        report.processingTime = entry.value().processingTime;
        reports.add(std::move(report));
    }
}

void ZKEventLoopSupervisor::getStatus(String& text)
{
    ZKAutoLock<ZKMutex> lock(m_mutex);
    bool first = true;
    for (auto const& entry : m_loops)
    {
        if (!first)
            text += '\n';
        first = false;
        entry.value().print(text);
    }
    text.concatf("\n"
                 "  Queuing delay threshold:\n"
                 "      emergency: %6u s\n"
                 "  Processing-time threshold:\n"
                 "      alerting:  %6u s\n"
                 "      emergency: %6u s\n",
                 QUEUING_EMERGENCY_SECONDS, PROCESSING_ALERTING_SECONDS, PROCESSING_EMERGENCY_SECONDS);
}

void ZKEventLoopSupervisor::countSecond()
{
    ZKAutoLock<ZKMutex> lock(m_mutex);
    m_seconds++;
    for (auto& entry : m_loops)
    {
        LoopStatus& status = entry.value();
        QueueState queues[EventPrio::COUNT];
        for (unsigned int i = 0; i < EventPrio::COUNT; i++)
        {
            ZKEventQueue const& queue = status.loop->getQueue(priorityOf(i));
            queues[i] = {queue.getProcessedCount(), queue.getFillLevel(), queue.isProcessing()};
        }
        status.countSecond(queues);
    }
}
