#pragma once

#include "zekovar/files/file.h"

#include <atomic>
#include <cstdint>
#include <sys/epoll.h>

class ZKEventLoop;

namespace ZK
{
/// What a `ZKFileQueue` sees of an observer. Its four callbacks run on the loop's thread, in the order read, write,
/// hangup, error. All observers are edge-triggered on a non-blocking descriptor: who is told of data reads until
/// `EAGAIN`.
class FileObserverIf
{
public:
    enum Type
    {
        READ = 0,
        WRITE = 1,
        READ_WRITE = 2
    };

    virtual ~FileObserverIf() = default;

    /// `priority` is true for urgent data (`EPOLLPRI`).
    virtual void onObservedFileReadReady(bool priority) = 0;
    virtual void onObservedFileWriteReady() = 0;
    virtual void onObservedFileHangup() = 0;
    virtual void onObservedFileError() = 0;

    virtual ZKFile& getObservedFile() = 0;

    /// The events asked for; `data.ptr` is the observer itself.
    virtual epoll_event& getObservedFileEpollEvent() = 0;

    virtual XCode enable() = 0;
    virtual XCode enable(ZKFile const& file, Type type) = 0;
    virtual void disable() = 0;
};

namespace Detail
{
/// What the observer classes share: the loop, the file and whether it stands in the loop's epoll set.
class FileObserverBase : public FileObserverIf
{
public:
    FileObserverBase(FileObserverBase const&) = delete;
    FileObserverBase& operator=(FileObserverBase const&) = delete;
    ~FileObserverBase() override;

    ZKFile& getObservedFile() override { return m_file; }

    epoll_event& getObservedFileEpollEvent() override { return m_epollEvent; }

    /// Takes the file out of the loop's epoll set and turns what is left of the present turn's batch into skips.
    /// Without effect on a disabled observer. On a thread other than the loop's, one last callback may still be
    /// running.
    void disable() override;

    bool isEnabled() const { return m_enabled.load(std::memory_order_relaxed); }

protected:
    explicit FileObserverBase(ZKEventLoop& loop);
    FileObserverBase(ZKEventLoop& loop, ZKFile const& file, Type type);

    void setFile(ZKFile const& file, Type type);

    /// Adds the file to the loop's epoll set unless the observer is enabled. On the kernel's refusal the observer stays
    /// enabled.
    XCode addToLoop();

    ZKEventLoop& m_loop;
    epoll_event m_epollEvent;
    ZKFile m_file;
    Type m_type;
    std::atomic<bool> m_enabled;
};
}

/// Watches a file with four virtual callbacks, which are empty here.
///
/// `enable` and `disable` may come from any thread, one at a time. A callback can disable or delete this or any other
/// observer of the loop. A thread other than the loop's must synchronise to the loop before it deletes an enabled
/// observer.
///
///     class Link : public ZK::FileObserver
///     {
///         void onObservedFileReadReady(bool) override { drain(getObservedFile()); }
///     };
class FileObserver : public Detail::FileObserverBase
{
public:
    explicit FileObserver(ZKEventLoop& loop);

    /// With `enable` the callbacks may begin on the loop's thread before a derived class is built: a class that
    /// overrides them passes false and enables itself at the end of its own constructor, unless it is built on the
    /// loop's thread.
    FileObserver(ZKEventLoop& loop, ZKFile const& file, Type type, bool enable);

    ~FileObserver() override;

    void onObservedFileReadReady(bool priority) override;
    void onObservedFileWriteReady() override;
    void onObservedFileHangup() override;
    void onObservedFileError() override;

    /// Makes the file non-blocking and puts it into the loop's epoll set; success on an enabled observer.
    /// `XCODE_FAILURE` for a closed file, which leaves the observer disabled; the kernel's refusal is dropped and
    /// leaves it enabled.
    XCode enable() override;

    /// Disables, takes over `file` and `type`, and enables.
    XCode enable(ZKFile const& file, Type type) override;

    /// Stores file and type. Any type that is none asks for no events but errors and hangups.
    virtual void prepare(ZKFile const& file, Type type);
};
}

/// Watches a file with plain functions, for the library's own use. Read-ready, write-ready and error all call
/// `onReady`.
///
/// Threads and lifetime are those of `ZK::FileObserver`.
class _ZKFileObserver : public ZK::Detail::FileObserverBase
{
public:
    /// The functions may be null.
    _ZKFileObserver(ZKEventLoop& loop, void (*readyHandler)(void*), void* argument, void (*hangupHandler)(void*));

    /// `enable` has the limits told at `ZK::FileObserver`.
    _ZKFileObserver(ZKEventLoop& loop, ZKFile const& file, Type type, bool enable, void (*readyHandler)(void*),
                    void* argument, void (*hangupHandler)(void*));

    ~_ZKFileObserver() override;

    void onObservedFileReadReady(bool priority) override;
    void onObservedFileWriteReady() override;
    void onObservedFileHangup() override;
    void onObservedFileError() override;

    /// As `ZK::FileObserver::enable`, but success in every case, a closed file included.
    XCode enable() override;
    XCode enable(ZKFile const& file, Type type) override;

    virtual void onFileReady();
    virtual void onHangup();

protected:
    void (*m_onReady)(void*);
    void (*m_onHangup)(void*);
    void* m_argument;
};
