#include "zekovar/files/active_file.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"

#include <algorithm>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace ZK
{
namespace
{
constexpr unsigned int BLOCK_BYTES = 16 * 1024;

// bits of ActiveFile::m_watch
constexpr unsigned int LISTEN_READY = 1; // to onReadReady
constexpr unsigned int LISTEN_TEXT = 2;  // to onStringData
constexpr unsigned int LISTEN_READ = 4;  // to anything that a read tells, onStringData included
constexpr unsigned int LISTEN_WRITE = 8; // to onWriteReady

FileObserverIf::Type typeOf(unsigned int watch)
{
    if ((watch & LISTEN_WRITE) == 0)
        return FileObserverIf::READ;
    return (watch & (LISTEN_READY | LISTEN_READ)) != 0 ? FileObserverIf::READ_WRITE : FileObserverIf::WRITE;
}

/// Whether the kernel is to be told of a change. The first one who wants what is read gets a report of what was there
/// before.
bool needsNewReport(unsigned int before, unsigned int watch)
{
    return watch != 0 && (before == 0 || typeOf(before) != typeOf(watch) || (watch & ~before & LISTEN_READ) != 0);
}

bool isTcp(int fd)
{
    int protocol = 0;
    socklen_t size = sizeof(protocol);
    return ::getsockopt(fd, SOL_SOCKET, SO_PROTOCOL, &protocol, &size) == 0 && protocol == IPPROTO_TCP;
}

/// False if nothing is there but an urgent byte, which a read doesn't give.
bool isReadable(int fd)
{
    pollfd file{fd, POLLIN, 0};
    return ::poll(&file, 1, 0) > 0;
}

/// Whether datagrams wait behind an empty one, or behind an error that an earlier one has met, which end a read as the end
/// of a stream does.
bool hasDatagrams(int fd)
{
    int type = 0;
    socklen_t size = sizeof(type);
    pollfd file{fd, POLLIN | POLLRDHUP, 0};
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM && ::poll(&file, 1, 0) > 0 &&
           file.revents == POLLIN;
}

void setLength(String& text, unsigned int bytes)
{
    text.native_alloc(static_cast<int>(bytes));
}

void setLength(TString<char>& bytes, unsigned int count)
{
    bytes.setLength(static_cast<int>(count));
}

template <class Data>
Data dataOf(char const* block, unsigned int count);

template <>
String dataOf(char const* block, unsigned int count)
{
    return String(block, static_cast<int>(count), 0, static_cast<int>(count));
}

template <>
TString<char> dataOf(char const* block, unsigned int count)
{
    return TString<char>(block, static_cast<int>(count));
}
}

/// Calls the file without the way through four functions.
class ActiveFile::Observer final : public FileObserverFn
{
public:
    explicit Observer(ActiveFile& owner) : FileObserverFn(owner.getEventLoop()), m_owner(owner) {}

    /// Has TCP tell of urgent data, too.
    void prepare(ZKFile const& file, Type type) override
    {
        FileObserverFn::prepare(file, type);
        m_isTcp = isTcp(file.getFd());
        m_owner.m_shortReadDrains = false; // a hangup may come first
        if (m_isTcp && type != WRITE)
            getObservedFileEpollEvent().events |= EPOLLPRI;
    }

    void onObservedFileReadReady(bool priority) override
    {
        if (priority && !isReadable(getObservedFile().getFd()))
            return;
        m_owner.m_shortReadDrains = m_isTcp && !priority;
        m_owner._onReadyForReading();
    }

    void onObservedFileWriteReady() override { m_owner.onWriteReady(); }

    void onObservedFileHangup() override { m_owner.onHangupReported(); }

private:
    ActiveFile& m_owner;
    bool m_isTcp = false;
};

ActiveFile::ActiveFile(ZKEventLoop& loop, String const& path, bool autoClose, bool autoRemove)
    : RefCountedUnlessBeingDestroying(&loop.getEventSync(EventPrio::NORMAL)),
      ZKFile(path, autoClose, autoRemove),
      m_loop(&loop)
{
    registerSignalObservers();
}

ActiveFile::ActiveFile(ZKEventLoop& loop, int fd, bool autoClose, bool autoRemove)
    : RefCountedUnlessBeingDestroying(nullptr), ZKFile(fd, autoClose, autoRemove), m_loop(&loop)
{
    registerSignalObservers();
}

ActiveFile::ActiveFile(ActiveFile const& other)
    : RefCountedUnlessBeingDestroying(nullptr), ZKFile(other), m_loop(other.m_loop)
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

unsigned int ActiveFile::wantedWatch() const
{
    if (!isOpen())
        return 0;
    bool const isTextWanted = onStringData.hasSlots();
    bool const isReadWanted = isTextWanted || onBinaryData.hasSlots() || onHangup.hasSlots() || onError.hasSlots();
    return (onReadReady.hasSlots() ? LISTEN_READY : 0) | (isTextWanted ? LISTEN_TEXT : 0) |
           (isReadWanted ? LISTEN_READ : 0) | (onWriteReady.hasSlots() ? LISTEN_WRITE : 0);
}

// Two threads may connect and disconnect slots of two signals at once. Each changes its signal first and then compares
// what is wanted with m_watch, and whoever changes m_watch compares again. All these are sequentially consistent, so at
// least one of the two sees what the other one did.
void ActiveFile::updateObservers()
{
    for (;;)
    {
        unsigned int const before = m_watch.load();
        unsigned int const watch = wantedWatch();
        if (watch == before)
            return;
        changeWatch(before, watch);
    }
}

void ActiveFile::endWatch()
{
    for (unsigned int before = 0; (before = m_watch.load()) != 0;)
        changeWatch(before, 0);
}

/// Without effect if another thread has been faster.
void ActiveFile::changeWatch(unsigned int before, unsigned int watch)
{
    // The loop's thread may be using an observer that is there.
    std::optional<Detail::LoopStandstill> standstill;
    if (before != 0 && (watch == 0 || needsNewReport(before, watch)))
        standstill.emplace(*m_loop);
    ZKAutoLock<ZKMutexPrivate> const guard(m_mutex);
    if (m_watch.compare_exchange_strong(before, watch))
        adjustObservers(before, watch);
}

void ActiveFile::adjustObservers(unsigned int before, unsigned int watch)
{
    ZKLWPtr<FileObserverFn> observer = m_readObserver ? m_readObserver : m_writeObserver;
    if (watch != 0 && !observer)
        observer = MovePtr<FileObserverFn>(new Observer(*this));
    m_writeObserver = (watch & LISTEN_WRITE) != 0 ? observer : ZKLWPtr<FileObserverFn>();
    m_readObserver = (watch & ~LISTEN_WRITE) != 0 ? observer : ZKLWPtr<FileObserverFn>();
    if (needsNewReport(before, watch))
        observer->enable(*this, typeOf(watch));
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
    if ((m_watch.load() & LISTEN_READY) != 0)
        onReadReady();
    // A slot may have closed the file, or left nobody who wants what is read.
    unsigned int const watch = m_watch.load();
    if ((watch & LISTEN_TEXT) != 0)
        readAndRaise(onStringData);
    else if ((watch & LISTEN_READ) != 0)
        readAndRaise(onBinaryData);
}

template <class Data>
void ActiveFile::readAndRaise(Sig::Signal<void(Data)>& onData)
{
    XCode code;
    Data data = readReported<Data>(code);
    if (!data.isEmpty())
        onData.emitMoving(std::move(data));
    else
        raiseFailure(code);
}

/// Reads until nothing more is there, or the most is read. Then the kernel, which reports arrivals only, is asked to
/// report anew.
///
/// Most reports bring little, for which a value of its size is made at the end. A file that brought much last time is
/// read into the value itself.
template <class Data>
Data ActiveFile::readReported(XCode& code)
{
    char block[BLOCK_BYTES];
    unsigned int count = 0;
    if (!m_bringsMuch)
        code = drain(block, BLOCK_BYTES, count);
    Data data = dataOf<Data>(block, count);
    if (!m_bringsMuch && count < BLOCK_BYTES)
        return data;

    data.reserve(static_cast<int>(MAX_DATA_BYTES));
    unsigned int const room = std::min(static_cast<unsigned int>(data.capacity()), MAX_DATA_BYTES);
    unsigned int added = 0;
    XCode const rest = drain(data.data() + count, room - count, added);
    if (count == 0)
        code = rest;
    count += added;
    if (count == room)
        requestReport();
    m_bringsMuch = count >= BLOCK_BYTES;
    if (count < room / 2)
        return dataOf<Data>(data.data(), count);
    setLength(data, count);
    return data;
}

/// Reads until `buffer` is full or nothing more is there. `count` is 0 with success at the end of the input.
///
/// In general only a further read can tell that nothing more is there. TCP gives less than it is asked for only at its end
/// and in front of urgent data, of which the report tells; what comes after the report leads to another one.
XCode ActiveFile::drain(char* buffer, unsigned int size, unsigned int& count)
{
    if (m_shortReadDrains)
    {
        ssize_t result = 0;
        do
            result = ::recv(getFd(), buffer, size, 0); // quicker for sockets than `read`
        while (result < 0 && errno == EINTR);
        count = result > 0 ? static_cast<unsigned int>(result) : 0;
        return result < 0 ? Detail::codeOfResult(-1) : XCode();
    }
    bool eof = false;
    XCode code = readToEof(buffer, size, count, eof, true);
    if (eof && hasDatagrams(getFd()))
        requestReport();
    return code;
}

void ActiveFile::requestReport()
{
    ZKAutoLock<ZKMutexPrivate> const guard(m_mutex);
    if (m_readObserver)
        m_loop->getFileQueue().rearmFileObserver(m_readObserver.get());
}

void ActiveFile::raiseFailure(XCode const& code)
{
    if (code.isErr() && code != Detail::codeOfErrno(ECONNRESET))
    {
        onError(code);
        return;
    }
    m_hangupReport = m_loop->getFileQueue().getProcessedEvents();
    m_hasHangupReport = true;
    onHangup();
}
}
