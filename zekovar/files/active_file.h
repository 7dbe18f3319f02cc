#pragma once

#include "zekovar/events/event_loop.h"
#include "zekovar/events/file_observer_fn.h"
#include "zekovar/events/sig.h"
#include "zekovar/files/file.h"
#include "zekovar/foundation/lw_ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>

namespace ZK
{
/// A file of an event loop that reads itself and raises signals, for as long as somebody listens.
///
/// The first slot on any read-side signal (all but `onWriteReady`) has the loop watch the descriptor for reading, and
/// makes it non-blocking; the last one that is disconnected ends that. A file without slots costs the loop nothing and
/// what arrives stays in the kernel, to be delivered once a slot is connected. Only descriptors that can be polled are
/// reported: pipes, fifos, sockets, terminals, but no regular files.
///
/// One report of the kernel raises `onReadReady`, reads, and raises one of the other four:
///
/// | the read gives           | raised                                                    |
/// | ------------------------ | --------------------------------------------------------- |
/// | bytes                    | `onStringData` if it has a slot, otherwise `onBinaryData` |
/// | the end, or ECONNRESET   | `onHangup`, once a report; the file stays open            |
/// | an empty datagram        | `onHangup`                                                |
/// | another failure          | `onError`                                                 |
///
/// The kernel reports arrivals only, so the read takes all that is there. Of more than `MAX_DATA_BYTES` the rest comes in
/// further reports, between which the loop serves its other files. While only `onReadReady` has slots, these are in charge:
/// nothing else is read, and a slot that leaves something hears of it with the next arrival. Once any other signal has a
/// slot, what no data slot takes is read and dropped; so whoever wants the data connects to it first. EAGAIN is a failure
/// like others: `onError` tells it if a slot of `onReadReady` has taken all.
///
/// Signals are raised on the loop's thread. A slot may close and reopen the file, connect and disconnect slots of any
/// signal, and drop the last reference, which destroys the file when the report has been served. Another thread may
/// connect the first slot of a signal, two threads at once to two signals; it disconnects slots, and connects to a signal
/// that has some, while it is synchronised to the loop. It may also close the file and drop the last reference. What ends
/// or changes a watch waits until the loop stands still between two handlers (one that isn't running isn't waited for), so
/// that must not be done with a lock held that a handler needs. The loop must outlive its files.
///
/// An object that isn't counted, a member or a local one, is destroyed on the loop's thread or synchronised to it if a slot
/// was ever connected.
///
///     ZKPtr<ZK::ActiveFile> input(ZK::MovePtr<ZK::ActiveFile>(new ZK::ActiveFile(IO::INSTANCE(), fd, true, false)));
///     input->onStringData.connect(ZK::bindArgs(&Console::read, this, std::placeholders::_1));
class ActiveFile : public RefCountedUnlessBeingDestroying, public ZKFile
{
public:
    /// The most that one data signal carries.
    static constexpr unsigned int MAX_DATA_BYTES = 256 * 1024;

    /// A closed file. The counted object's lock is the stop of the loop. The flags are those of `ZKFile`.
    ActiveFile(ZKEventLoop& loop, String const& path, bool autoClose, bool autoRemove);

    /// Takes `fd`, which may be -1. The counted object has no lock.
    ActiveFile(ZKEventLoop& loop, int fd, bool autoClose, bool autoRemove);

    /// Shares the other's descriptor, and has signals without slots and no lock. A loop can watch only one of the two.
    ActiveFile(ActiveFile const& other);
    ActiveFile(ActiveFile&& other);

    /// Shares the other's file and takes over its loop. The own slots stay, and watch the new file from here on.
    ActiveFile& operator=(ActiveFile const& other);
    ActiveFile& operator=(ActiveFile&& other);

    /// A class with members that its slots use calls `destruct` first thing in its own destructor, unless its objects are
    /// always counted ones: these are no longer watched when the outermost destructor begins.
    ~ActiveFile() override;

    /// As those of `ZKFile`; the slots that are connected watch the new descriptor.
    XCode open(int flags, unsigned int mode, XOFlag extra) override;
    XCode close() override;

    /// Closes the old descriptor, whose failure ends the call, and takes `fd` and its path. (`setValidFd` of the base doesn't
    /// look at the slots.)
    virtual XCode setFd(int fd);

    /// Ends the watching and gives up this handle on the file.
    void destruct() override;

    ZKEventLoop& getEventLoop() const { return *m_loop; }

    /// Ends the watching before any destructor runs.
    void callDtor() override;

    Sig::Signal<void()> onReadReady{this};               ///< something can be read, and nothing has been so far
    Sig::Signal<void()> onWriteReady{this};              ///< the descriptor takes data, at first and again
    Sig::Signal<void(String)> onStringData{this};        ///< 1 to `MAX_DATA_BYTES` bytes, read as text
    Sig::Signal<void(TString<char>)> onBinaryData{this}; ///< as above; silent while `onStringData` has a slot
    Sig::Signal<void(XCode)> onError{this};              ///< the code of a failed read
    Sig::Signal<void()> onHangup{this};                  ///< the other side is gone

private:
    class Observer;

    void updateObservers();
    void registerSignalObservers();
    void _onReadyForReading();

    void onHangupReported();
    unsigned int wantedWatch() const;
    void endWatch();
    void changeWatch(unsigned int before, unsigned int watch);
    void adjustObservers(unsigned int before, unsigned int watch);
    template <class Data>
    void readAndRaise(Sig::Signal<void(Data)>& onData);
    template <class Data>
    Data readReported(XCode& code);
    XCode drain(char* buffer, unsigned int size, unsigned int& count);
    void requestReport();
    void raiseFailure(XCode const& code);

    ZKEventLoop* m_loop;
    ZKLWPtr<FileObserverFn> m_readObserver; // null while nobody listens to read-side signals

    // Null while nobody listens to onWriteReady. A descriptor can be watched only once: if both are wanted, this is the
    // read observer.
    ZKLWPtr<FileObserverFn> m_writeObserver;
    ZKMutexPrivate m_mutex{false};         // guards the observers; taken while the loop stands still, or by itself
    std::atomic<unsigned int> m_watch = 0; // what the observers are for, see the source

    // only for the loop's thread
    unsigned int m_hangupReport = 0; // the queue's number of the report in which onHangup was raised last
    bool m_hasHangupReport = false;
    bool m_bringsMuch = false;      // the last report did
    bool m_shortReadDrains = false; // a read that gives less than it could has taken all
};
}
