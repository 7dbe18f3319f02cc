#include "zekovar/files/active_file.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"

#include <cstring>

namespace ZK
{
namespace
{
constexpr unsigned int STACK_BYTES = 16 * 1024;

// bits of ActiveFile::m_watch
constexpr unsigned int WATCH_READ = 1;
constexpr unsigned int WATCH_WRITE = 2;
constexpr unsigned int WATCH_TAKE = 4; // what can be read is read

FileObserverIf::Type typeOf(unsigned int watch)
{
    if ((watch & WATCH_WRITE) == 0)
        return FileObserverIf::READ;
    return (watch & WATCH_READ) != 0 ? FileObserverIf::READ_WRITE : FileObserverIf::WRITE;
}

void makeRoom(String& text, unsigned int bytes)
{
    text.native_alloc(static_cast<int>(bytes));
}

void makeRoom(TString<char>& bytes, unsigned int count)
{
    bytes.setLength(static_cast<int>(count));
}

void assign(String& text, char const* block, unsigned int count)
{
    text = String(block, static_cast<int>(count), 0, static_cast<int>(count));
}

void assign(TString<char>& bytes, char const* block, unsigned int count)
{
    bytes = TString<char>(block, static_cast<int>(count));
}
}

ActiveFile::ActiveFile(ZKEventLoop& loop, String const& path, bool autoClose, bool autoRemove)
    : RefCountedUnlessBeingDestroying(&loop.getEventSync(EventPrio::NORMAL)),
      ZKFile(path, autoClose, autoRemove),
      m_loop(&loop),
      m_mutex(false),
      m_watch(0),
      m_hangupReport(0),
      m_hasHangupReport(false)
{
    registerSignalObservers();
}

ActiveFile::ActiveFile(ZKEventLoop& loop, int fd, bool autoClose, bool autoRemove)
    : RefCountedUnlessBeingDestroying(nullptr),
      ZKFile(fd, autoClose, autoRemove),
      m_loop(&loop),
      m_mutex(false),
      m_watch(0),
      m_hangupReport(0),
      m_hasHangupReport(false)
{
    registerSignalObservers();
}

ActiveFile::ActiveFile(ActiveFile const& other)
    : RefCountedUnlessBeingDestroying(nullptr),
      ZKFile(other),
      m_loop(other.m_loop),
      m_mutex(false),
      m_watch(0),
      m_hangupReport(0),
      m_hasHangupReport(false)
{
    registerSignalObservers();
}

ActiveFile::ActiveFile(ActiveFile&& other) : ActiveFile(static_cast<ActiveFile const&>(other))
{
}

ActiveFile& ActiveFile::operator=(ActiveFile const& other)
{
    if (this == &other)
        return *this;
    endWatch();
    ZKFile::operator=(other);
    m_loop = other.m_loop;
    updateObservers();
    return *this;
}

ActiveFile& ActiveFile::operator=(ActiveFile&& other)
{
    return *this = static_cast<ActiveFile const&>(other);
}

ActiveFile::~ActiveFile()
{
    ActiveFile::destruct();
}

void ActiveFile::callDtor()
{
    // Not only in the destructor: the loop may be in a slot that uses what derived classes destroy before.
    endWatch();
    RefCountedUnlessBeingDestroying::callDtor();
}

void ActiveFile::destruct()
{
    endWatch();
    ZKFile::destruct();
}

XCode ActiveFile::open(int flags, unsigned int mode, XOFlag extra)
{
    XCode code = ZKFile::open(flags, mode, extra);
    updateObservers();
    return code;
}

XCode ActiveFile::close()
{
    // Before the descriptor goes: its number may belong to another file at once, and a forked child may keep the kernel
    // reporting the old one.
    endWatch();
    XCode code = ZKFile::close();
    updateObservers();
    return code;
}

XCode ActiveFile::setFd(int fd)
{
    XCode code = ZKFile::setFd(fd, true);
    updateObservers();
    return code;
}

void ActiveFile::registerSignalObservers()
{
    Function<void()> const update = bindArgs(&ActiveFile::updateObservers, this);
    onReadReady.observe(update);
    onWriteReady.observe(update);
    onStringData.observe(update);
    onBinaryData.observe(update);
    onError.observe(update);
    onHangup.observe(update);
}

bool ActiveFile::hasTakers() const
{
    return onBinaryData.hasSlots() || onStringData.hasSlots() || onHangup.hasSlots() || onError.hasSlots();
}

unsigned int ActiveFile::wantedWatch() const
{
    if (!isOpen())
        return 0;
    unsigned int watch = onWriteReady.hasSlots() ? WATCH_WRITE : 0;
    if (hasTakers())
        watch |= WATCH_READ | WATCH_TAKE;
    else if (onReadReady.hasSlots())
        watch |= WATCH_READ;
    return watch;
}

// Two threads may connect and disconnect slots of two signals at once. Each changes its signal first and then compares
// what is wanted with m_watch, and whoever changes m_watch compares again. All these are sequentially consistent, so at
// least one of the two sees what the other one did.
void ActiveFile::updateObservers()
{
    while (wantedWatch() != m_watch.load())
        watchWanted();
}

void ActiveFile::watchWanted()
{
    Detail::LoopStandstill const standstill(*m_loop);
    ZKAutoLock<ZKMutexPrivate> const guard(m_mutex);
    setWatch(wantedWatch());
}

void ActiveFile::endWatch()
{
    if (m_watch.load() == 0)
        return;
    Detail::LoopStandstill const standstill(*m_loop);
    ZKAutoLock<ZKMutexPrivate> const guard(m_mutex);
    setWatch(0);
}

void ActiveFile::setWatch(unsigned int watch)
{
    m_watch.store(watch);
    ZKLWPtr<FileObserverFn> observer = m_readObserver ? m_readObserver : m_writeObserver;
    if (watch != 0 && !observer)
        observer = makeObserver();
    m_writeObserver = (watch & WATCH_WRITE) != 0 ? observer : ZKLWPtr<FileObserverFn>();
    m_readObserver = (watch & WATCH_READ) != 0 ? observer : ZKLWPtr<FileObserverFn>();
    // Enabling anew has the kernel report once more what was there before somebody wanted it.
    if (watch != 0)
        observer->enable(*this, typeOf(watch));
}

ZKLWPtr<FileObserverFn> ActiveFile::makeObserver()
{
    ZKLWPtr<FileObserverFn> observer{MovePtr<FileObserverFn>(new FileObserverFn(*m_loop))};
    observer->setReadReady(bindArgs(directCall(), [this](bool) { _onReadyForReading(); }));
    observer->setHangup(bindArgs(directCall(), [this] { onHangupReported(); }));
    observer->setWriteReady(bindArgs(directCall(), [this] { onWriteReady(); }));
    return observer;
}

void ActiveFile::onHangupReported()
{
    // The read of this very report may have found the end already.
    if (m_hasHangupReport && m_hangupReport == m_loop->getFileQueue().getProcessedEvents())
        return;
    _onReadyForReading();
}

void ActiveFile::_onReadyForReading()
{
    ZKLWPtr<ActiveFile> const self(this);
    if (onReadReady.hasSlots())
        onReadReady();
    // A slot may have closed the file, or have left nobody who takes the data.
    if (!isOpen() || !hasTakers())
        return;
    if (onStringData.hasSlots())
        readAndRaise(onStringData);
    else
        readAndRaise(onBinaryData);
}

template <class Data>
void ActiveFile::readAndRaise(Sig::Signal<void(Data)>& onData)
{
    Data data;
    XCode const code = readReported(data);
    if (code == Detail::codeOfErrno(ECONNRESET) || (code.isSuccess() && data.isEmpty()))
    {
        m_hangupReport = m_loop->getFileQueue().getProcessedEvents();
        m_hasHangupReport = true;
        onHangup();
    }
    else if (code.isErr())
        onError(code);
    else
        onData(std::move(data));
}

/// Reads until nothing more is there, or `data` is full. Then the kernel, which reports arrivals only, is asked to report
/// anew.
template <class Data>
XCode ActiveFile::readReported(Data& data)
{
    char block[STACK_BYTES];
    unsigned int count = 0;
    bool eof = false;
    XCode code = readToEof(block, STACK_BYTES, count, eof, true);
    if (count < STACK_BYTES)
    {
        if (count > 0)
            assign(data, block, count);
        return code;
    }
    makeRoom(data, MAX_DATA_BYTES);
    std::memcpy(data.data(), block, STACK_BYTES);
    readToEof(data.data() + STACK_BYTES, MAX_DATA_BYTES - STACK_BYTES, count, eof, true);
    count += STACK_BYTES;
    makeRoom(data, count);
    if (count == MAX_DATA_BYTES)
    {
        ZKAutoLock<ZKMutexPrivate> const guard(m_mutex);
        if (m_readObserver)
            m_readObserver->enable(*this, typeOf(m_watch.load()));
    }
    return code;
}
}
