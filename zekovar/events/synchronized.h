#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/thread_attribute.h"

#include <vector>

class ZKEventLoop;
class ZKEventQueue;
class ZKEventSync;
class ZKThread;

/// The threads that a thread has stopped by `ZKEventSync`, its own id first, one entry for each nested level.
///
/// Belongs to its thread and is deleted with it; no other thread reads it.
class ZKThreadAttributeSynchronized : public ZKThreadAttribute
{
public:
    static constexpr unsigned int CAPACITY = 32;

    static ZKThreadAttributeType s_attributeType;

    /// The calling thread's list; null if it never synchronised.
    static ZKThreadAttributeSynchronized* CURRENT();

    ZKThreadAttributeSynchronized();

    void clearThreads();

    /// `XCODE_FAILURE`, with the list unchanged, when 32 entries are there.
    XCode pushThread(unsigned long id);

    /// Removes and returns the last entry; 0 if there is none.
    unsigned long popThread();

    bool containsThread(unsigned long id) const;

    unsigned int count() const { return m_count; }

    /// 0 for an index that is out of range.
    unsigned long getThread(unsigned int index) const;

private:
    friend class ZKEventSync;

    /// True for the own thread and for one that any level has stopped, listed or not.
    bool isStopped(unsigned long id) const;

    /// True if a level on that thread has been entered and not left.
    bool hasLevel(unsigned long id) const;

    void enterLevel(unsigned long id);

    /// Ends a level on that thread, which there must be.
    void leaveLevel(unsigned long id);

    unsigned long m_threads[CAPACITY];
    unsigned int m_count;
    std::vector<unsigned long> m_unlisted; // levels that found the list full, so that their ends don't unlist others
};

/// True if the calling thread is the one asked for, or has stopped it by `ZKEventSync`: waiting for that thread would
/// then never end. Takes no lock but that of the registry, for names. An unknown name gives false.
bool isCurrentThreadSynchronizedTo(unsigned long threadId);
bool isCurrentThreadSynchronizedTo(ZKThread const& thread);
bool isCurrentThreadSynchronizedTo(String const& threadName);
bool isCurrentThreadSynchronizedTo(ZKEventLoop const& loop);
bool isCurrentThreadSynchronizedTo(ZKEventQueue const& queue);

/// The name for messages of the thread that the matching `isCurrentThreadSynchronizedTo` asks about.
String getThreadName(unsigned long threadId);
String getThreadName(ZKThread const& thread);
String getThreadName(String const& threadName);
String getThreadName(ZKEventLoop const& loop);
String getThreadName(ZKEventQueue const& queue);

/// Replaces `threadIds` by the calling thread's list, own id first; empty for a thread that never synchronised.
void getCurrentThreadSynchornization(ZKVector<unsigned long>& threadIds);

/// Writes "Current Thread %s is synchronized to %s" to syslog at `priority`, 0 to 7.
void printCurrentSynchronizationToSyslog(int priority);
