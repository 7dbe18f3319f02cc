#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/threads/lock.h"
#include "zekovar/threads/runnable.h"
#include "zekovar/threads/thread_attribute.h"

#include <atomic>

class ZKBacktrace;

namespace ZK
{
class Time;
}

/// A thread with a name, known to `ZKThreadSupervisor` while it runs, whose locks show in the lock report.
///
/// A class overrides `runThread` or hands over a `ZKRunnable`. One object runs one thread at a time and can be started
/// again once that has ended. Operations are safe from all threads, but starting, joining and destroying an object is
/// the affair of its owner.
///
/// | state       | isAlive | isRunning | left by                                        |
/// | ----------- | ------- | --------- | ---------------------------------------------- |
/// | constructed | no      | no        | `start`                                        |
/// | started     | yes     | no        | the new thread's first step                    |
/// | running     | yes     | yes       | the end of `runThread`                         |
/// | finished    | yes     | no        | `join`, `start`; at once if the thread is detached |
/// | joined      | no      | no        | `start`                                        |
///
/// The destructor cancels a thread that still runs and waits until it has left the object. By then the members of a
/// derived class are gone, so a class whose thread uses them ends and joins it in its own destructor. A thread may
/// destroy its own object at the end of `runThread`.
///
///     ZKThreadMethod<Poller> thread("poller", &poller, &Poller::run);
///     if (XCode code = thread.start(""); code.isErr()) return code;
///     ...
///     thread.join();
class ZKThread : public ZKRunnable, public ZKThreadAttribute
{
public:
    /// The slot of the object of the calling thread.
    static ZKThreadAttributeType s_selfAttribute;

    /// `runnable` outlives the thread; null runs the object itself.
    explicit ZKThread(String const& name, ZKRunnable* runnable = nullptr);

    ~ZKThread() override;

    /// `XCODE_FAILURE` unless overridden.
    XCode runThread() override;

    /// A thread exists: also one that has finished and wasn't joined.
    virtual bool isAlive() const;

    /// The thread is between its first step and its end. Stays true once the thread was cancelled.
    virtual bool isRunning() const;

    /// The `pthread_t`; 0 while no thread exists, after a join, and after the end of a detached thread.
    virtual unsigned long getId() const;

    /// The kernel's thread id of the last start; 0 before the first.
    virtual int getTid() const;

    /// Starts the thread with ordinary scheduling, after joining one that has finished. A `name` that isn't empty
    /// replaces the thread's name; a thread without any takes its id as name. `XCODE_FAILURE` if it runs, or if the
    /// thread before can't be joined; else the code of the failing step.
    virtual XCode start(String const& name);

    /// Asks the thread to end at its next cancellation point and takes it out of the registry. It doesn't wait: `join`
    /// does. The thread's frames are unwound, and `isRunning` stays true, so the object can't be started again.
    virtual void stop();

    /// Gives the thread free: it isn't joined any more, and its id is forgotten at its end.
    virtual void detach();

    /// Blocks until the thread has ended, without limit. Does nothing without a thread, on the thread itself, and on a
    /// detached one.
    virtual void join();

    /// As `join` for at most `milliseconds`: the code of ETIMEDOUT when they have passed, of EDEADLK on the thread
    /// itself, of EINVAL for a detached one. On failure the thread can still be joined. OK without a thread.
    virtual XCode join(unsigned int milliseconds);

    /// Takes the thread's stack, beginning where the request met the thread and leaving out `skip` frames from there.
    /// Blocks as `ZKBacktrace::obtainBacktraceOfThread` does; `XCODE_FAILURE` without a thread, the code of ESRCH if it
    /// has ended.
    virtual XCode getBacktrace(ZKBacktrace& backtrace, unsigned int skip);

    /// The thread's `SCHED_...` policy and priority; `SCHED_OTHER` and 0 once it has ended. `XCODE_FAILURE`, with the
    /// arguments untouched, without a thread.
    virtual XCode getSchedulingPolicy(int& policy, int& priority) const;

    /// `priority` is clamped to 1 to 99 for `SCHED_FIFO` and `SCHED_RR` and is 0 for all others. `XCODE_FAILURE`
    /// without a thread. What the kernel refuses, for want of rights say, isn't reported.
    virtual XCode setSchedulingPolicy(int policy, int priority);

    String getName() const;

    /// The clamped priority of the last `setSchedulingPolicy`; 0 on each start.
    int getPriority() const { return m_priority.load(std::memory_order_relaxed); }

    /// Sleeps; a signal may end the sleep early. Nothing happens for 0 or less.
    static void SLEEP(int milliseconds);
    static void SLEEP(ZK::Time const& time);

    /// The object of the calling thread; null on a thread that the library didn't start.
    static ZKThread* CURRENT() { return static_cast<ZKThread*>(s_selfAttribute.get()); }

    static unsigned long CURRENT_ID();
    static int CURRENT_TID();
    static bool CURRENT_HAS_ID(unsigned long id);

    /// The first registered thread of that id or name, or null. Nothing keeps it from ending at once.
    static ZKThread* GET_BY_ID(unsigned long id);
    static ZKThread* GET_BY_TID(int tid);
    static ZKThread* GET_BY_NAME(String const& name);

    /// The thread's name; for a thread that the library doesn't know its id, formatted with "%p".
    static String CURRENT_NAME();
    static String NAME_BY_ID(unsigned long id);

    /// Takes the calling thread's stack; printing begins with the caller of this operation and leaves out `skip`
    /// frames.
    static XCode GET_BACKTRACE(ZKBacktrace& backtrace, unsigned int skip);

    /// The file that this process runs, at most 1024 bytes of its path; empty if the system doesn't tell.
    static String CURRENT_PROGRAM_PATH();

    /// What stands behind the last "/" of the path.
    static String CURRENT_PROGRAM_NAME();

    /// The lock notifications: called on the object's own thread, with `ZKLock::s_globalMutex` held.
    void onWaitForLock(ZKLock* lock, unsigned int milliseconds);
    void onWaitforLockCanceled(ZKLock* lock);
    void onLocked(ZKLock* lock);

    /// Drops the newest obtained lock, whichever was let go: locks are assumed to be released in reverse order.
    void onUnlocked(ZKLock* lock);

private:
    friend class ZKLock;
    friend class ZKThreadSupervisor;
    friend class ZKBacktrace;

    class Life;

    enum State : unsigned int
    {
        DETACHED = 1, // nobody joins the thread
        ENDED = 2,    // the thread takes no more signal of ours and may be gone soon
        GONE = 4      // the thread doesn't touch the object any more
    };

    enum class Presence
    {
        FOREIGN, // no object has the id
        ENDED,   // the object's thread has ended
        PRESENT  // its thread can't end while ZKLock::s_globalMutex is held
    };

    static void* RUN(void* thread);
    static Presence PRESENCE_OF(unsigned long id);
    static void FORGET_LOCK(ZKLock* lock);

    XCode create(String const& name);
    void setKernelName() const;
    void leave(bool returned);
    void giveUpSelf();
    void stopAndAwaitEnd();
    XCode joinUntil(timespec const* deadline);
    void setWaitSlot(unsigned int type, ZKLock* lock, unsigned int milliseconds);
    void linkObject();
    void unlinkObject();

    bool has(State state) const { return (m_state.load() & state) != 0; }

    String m_name; // under m_startMutex
    ZKRunnable* m_runnable;
    std::atomic<unsigned long> m_id; // valid while s_globalMutex is held and the thread hasn't ENDED
    pthread_attr_t m_attributes;     // of the start under way
    std::atomic<int> m_tid;
    std::atomic<bool> m_running;
    std::atomic<int> m_priority;
    ZKLock* m_waitLocks[ZKLock::Type::COUNT]; // these three under ZKLock::s_globalMutex
    unsigned int m_waitMilliseconds[ZKLock::Type::COUNT];
    ZKVector<ZKLock*> m_obtainedLocks;

    mutable ZKMutexPrivate m_startMutex; // held while the thread is created; taken after any other mutex
    std::atomic<unsigned int> m_state;
    pid_t m_processId;      // of the process that started the thread: a forked child has only one
    bool* m_pDestroyed;     // tells RUN that the thread has destroyed its own object
    unsigned int m_pins;    // users that the registry waits for, under its mutex
    ZKLock* m_heldLocks;    // locks whose holder this is, under ZKLock::s_globalMutex
    ZKThread* m_nextObject; // all objects of the process, under ZKLock::s_globalMutex
    ZKThread* m_previousObject;
    static ZKThread* s_pFirstObject;
};

/// A thread that runs a member function of an object, which outlives it.
template <class T>
class ZKThreadMethod : public ZKThread
{
public:
    using Method = XCode (T::*)();

    ZKThreadMethod(String const& name, T* object, Method method) : ZKThread(name), m_object(object), m_method(method) {}

    /// The method's result; `XCODE_FAILURE` if object or method is null.
    XCode runThread() override
    {
        if (m_object == nullptr || m_method == nullptr)
            return XCODE_FAILURE;
        return (m_object->*m_method)();
    }

private:
    T* m_object;
    Method m_method;
};
