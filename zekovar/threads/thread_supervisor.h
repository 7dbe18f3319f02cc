#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/threads/lock.h"

class ZKThread;

/// The registry of the running threads that the library started, and the author of the report on locks and stacks.
///
/// Safe from all threads, and usable until the process is gone. A diagnostic client asks in two steps:
///
///     ZKVector<ZKThreadSupervisor::Report> reports;
///     String text;
///     ZKThreadSupervisor::INSTANCE().getStatus(reports);
///     ZKThreadSupervisor::GET_STATUS(text, reports);
class ZKThreadSupervisor
{
public:
    /// The locks of one thread, all read in one moment.
    struct Report
    {
        struct ObtainedLock
        {
            ZKLock::Type::Value type = ZKLock::Type::MUTEX;
            String name;
        };

        struct WaitLock
        {
            ZKLock::Type::Value type = ZKLock::Type::MUTEX;
            String name;
            String status;
            unsigned int waitMilliseconds = 0;
            unsigned long holderId = 0; ///< 0 without a holder
            String holderName;          ///< empty without a holder
        };

        Report() = default;

        unsigned long id = 0;
        String name;
        ZKVector<ObtainedLock> obtained; ///< oldest first
        ZKVector<WaitLock> waiting;      ///< at most one for each kind of lock, in order of kinds
    };

    static ZKThreadSupervisor& INSTANCE();

    ZKThreadSupervisor(ZKThreadSupervisor const&) = delete;
    ZKThreadSupervisor& operator=(ZKThreadSupervisor const&) = delete;

    /// A thread enters itself when it begins. Null is ignored; one that is registered already is entered again.
    void addThread(ZKThread* thread);

    /// A thread removes itself when it ends. Null and unknown threads are ignored. Blocks while the report takes the
    /// thread's backtrace.
    void removeThread(ZKThread* thread);

    /// The first match in order of entry, or null. Nothing keeps the thread from ending at once.
    ZKThread* getById(unsigned long id);
    ZKThread* getByTid(int tid);
    ZKThread* getByName(String const& name);

    /// Copies the name of the first thread of that id; false, with `name` untouched, if there is none.
    bool getNameById(unsigned long id, String& name);

    /// Replaces `reports` by the locks of all threads, in order of entry. The threads' `getId` and the locks'
    /// `getLockName` and `getLockStatus` are called with the registry's mutex and `ZKLock::s_globalMutex` held.
    void getStatus(ZKVector<Report>& reports);

    /// Appends the report as text: the lock status, then the stack of each thread, which that thread is asked for now.
    /// It blocks as `ZKBacktrace::obtainBacktraceOfThread` does. A thread that has gone since replaces the whole text
    /// so far by "%s (%lu): THREAD DOES NOT EXIST".
    static void GET_STATUS(String& text, ZKVector<Report> const& reports);

private:
    class Pin;

    ZKThreadSupervisor();

    static Report REPORT_OF(ZKThread const& thread);

    ZKThread* findById(unsigned long id) const;
    bool isPinned(ZKThread const& thread);

    ZKMutexPrivate& m_globalMutex; // taken after m_mutex
    ZKMutexPrivate m_mutex;        // guards m_threads and the threads' pins
    ZKPtrHashTable<ZKThread*> m_threads;
};
