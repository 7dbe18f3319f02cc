#pragma once

#include "zekovar/events/file_observer.h"
#include "zekovar/events/function.h"
#include "zekovar/foundation/ref_counted.h"

namespace ZK
{
/// Watches a file with four functions, which the loop's thread calls; each says by its own context where it runs.
///
/// A counted object, whose lock is the loop's stop at normal priority: `protectedRelease`, and so a `ZKPPtr`, ends it
/// without meeting a callback, and blocks while the loop isn't running. A callback may drop the last reference. Set the
/// functions before `enable`, or later on the loop's thread or synchronised to it.
///
///     ZKPPtr<ZK::FileObserverFn> observer(ZK::MovePtr<ZK::FileObserverFn>(new ZK::FileObserverFn(loop)));
///     observer->setReadReady(ZK::bindArgs(&Link::drain, &link));
///     if (XCode code = observer->enable(file, ZK::FileObserverIf::READ); code.isErr()) return code;
class FileObserverFn : public RefCounted, public FileObserver
{
public:
    explicit FileObserverFn(ZKEventLoop& loop);

    /// Disabled; `enable()` starts watching the file.
    FileObserverFn(ZKEventLoop& loop, ZKFile const& file, Type type);

    /// Called with true for urgent data.
    void setReadReady(Function<void(bool)> const& readReady) { m_readReady = readReady; }

    void setWriteReady(Function<void()> const& writeReady) { m_writeReady = writeReady; }

    void setHangup(Function<void()> const& hangup) { m_hangup = hangup; }

    void setError(Function<void()> const& error) { m_error = error; }

    void onObservedFileReadReady(bool priority) override;
    void onObservedFileWriteReady() override;
    void onObservedFileHangup() override;
    void onObservedFileError() override;

protected:
    ~FileObserverFn() override;

private:
    Function<void(bool)> m_readReady;
    Function<void()> m_writeReady;
    Function<void()> m_hangup;
    Function<void()> m_error;
};
}
