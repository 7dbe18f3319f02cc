#pragma once

#include "zekovar/files/file.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/threads/lock.h"
#include "zekovar/threads/mutex.h"

/// Counting semaphore between processes: a named fifo that holds one byte for each unit.
///
/// One process makes it with the id 0 and tells the others its id. Waiting and signalling are safe from all threads and
/// processes; a waiting thread shows in the lock report. The maker removes the fifo with its object. A signal blocks
/// while the fifo is full (64 KiB).
///
///     ZKSemFifo semaphore(0, 1);          // the maker
///     ZKSemFifo other(semaphore.getId(), 0); // anyone else
class ZKSemFifo : public ZKLock
{
public:
    /// Opens the fifo of `id`, or for an `id` below 1 makes one with an id of its own, and signals `initial` times. A
    /// failure is a line in syslog; all operations fail then.
    ZKSemFifo(int id, int initial);

    ZKSemFifo(ZKSemFifo const&) = delete;
    ZKSemFifo& operator=(ZKSemFifo const&) = delete;

    ~ZKSemFifo() override;

    /// "%s (%p)" of the fifo's path and this object.
    String getLockName() const override;

    int getId() const { return m_id; }

    /// Takes one unit, blocking without limit.
    XCode wait();

    /// Adds one unit.
    XCode signal();

    /// "/tmp/semfifo_%d"
    static String BUILD_FIFO_PATH(int id);

    /// Reserves an id that no other semaphore of this process has. Fails if the first one can't be drawn at random.
    XCode getUniqueId(int& id);
    void putUniqueId(int id);

    /// Sets the path and makes sure of the fifo behind it: one of a given id must be there, with `XCODE_FAILURE` if it
    /// isn't, and one of an own id is made.
    XCode createFifo();

    /// Removes the fifo and gives the id back, if this object made it.
    void removeFifo();

private:
    static ZKMutex s_mutex;                 // recursive; guards the two below
    static ZKIntHashTable<int> s_semIdList; // ids in use
    static int s_nextId;                    // 0 until the first one is drawn

    int m_id;
    ZKFile m_file;
    bool m_created;
};
