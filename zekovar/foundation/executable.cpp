#include "zekovar/foundation/executable.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <getopt.h>

namespace
{
constexpr std::size_t SIGNAL_STACK_BYTES = 16384;

// In the order in which they are taken over; SIGABRT goes on to the fatal ones.
constexpr int QUIT_SIGNALS[] = {SIGHUP,  SIGQUIT, SIGTSTP, SIGINT, SIGTERM,   SIGPIPE, SIGALRM,
                                SIGUSR1, SIGTTIN, SIGTTOU, SIGIO,  SIGPROF,   SIGTRAP, SIGVTALRM,
                                SIGXCPU, SIGXFSZ, SIGABRT, SIGIO,  SIGSTKFLT, SIGPWR};
constexpr int FATAL_SIGNALS[] = {SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGSYS, SIGABRT};

static_assert(std::atomic<ZKExecutable*>::is_always_lock_free, "signal handlers read it");

/// A handler leaves `errno` to the code that it interrupts.
class ErrnoKeeper
{
public:
    ErrnoKeeper() : m_errno(errno) {}

    ~ErrnoKeeper() { errno = m_errno; }

    ErrnoKeeper(ErrnoKeeper const&) = delete;
    ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;

private:
    int m_errno;
};
}

constinit std::atomic<ZKExecutable*> ZKExecutable::m_spInstance{nullptr};

ZKExecutable::ZKExecutable(char const* optionString, option* longOptions)
    : m_optionString(optionString != nullptr ? optionString : ""), m_longOptions(longOptions)
{
}

ZKExecutable::~ZKExecutable()
{
    ZKExecutable* self = this;
    m_spInstance.compare_exchange_strong(self, nullptr);

    stack_t current{};
    if (m_signalStack != nullptr && sigaltstack(nullptr, &current) == 0 && current.ss_sp == m_signalStack)
    {
        current.ss_flags = SS_DISABLE; // the handlers stay in force and must not run on freed memory
        sigaltstack(&current, nullptr);
    }
    std::free(m_signalStack);
}

XCode ZKExecutable::setup(int argc, char** argv)
{
    m_argv = argv;
    m_argc = argc;
    m_spInstance = this;
    installSignalStack();
    INSTALL_SIGNAL_HANDLERS();
    if (argv == nullptr)
        return XCODE_SUCCESS;

    String const path(argv[0]);
    m_name = path.substring(path.lastIndexOf('/') + 1);

    for (long long pass = 0; pass <= argc; pass++)
    {
        int index = 0;
        int const result = getopt_long(argc, argv, m_optionString, m_longOptions, &index);
        parseArgument(static_cast<char>(result & 0xff), String(optarg));
    }
    return XCODE_SUCCESS;
}

XCode ZKExecutable::parseArgument(char, String const&)
{
    return XCODE_SUCCESS;
}

int ZKExecutable::handleException(int)
{
    return 0;
}

void ZKExecutable::SIG_HANDLE_QUIT(int signalNumber)
{
    ErrnoKeeper const keeper;
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    action.sa_handler = SIG_HANDLE_QUIT;
    sigaction(signalNumber, &action, nullptr);

    if (ZKExecutable* instance = m_spInstance)
        instance->onQuitSignal(signalNumber);
}

// Takes no backtrace: nothing would show it, and to make its text allocates, which can hang the process for good where
// the fault lies in the allocator. A daemon that wants one writes it in `handleException`.
void ZKExecutable::SIG_HANDLE_SEGV(int signalNumber)
{
    ErrnoKeeper const keeper;
    ZKExecutable* instance = m_spInstance;
    if (instance != nullptr && instance->handleException(signalNumber) != 0)
        return;
    raise(signalNumber); // SA_RESETHAND has put the default action in place; it runs as the handler returns
}

void ZKExecutable::installSignalStack()
{
    if (m_signalStack == nullptr)
        m_signalStack = std::malloc(SIGNAL_STACK_BYTES);
    if (m_signalStack == nullptr)
        return; // the handlers run on the interrupted stack then
    stack_t stack{};
    stack.ss_sp = m_signalStack;
    stack.ss_size = SIGNAL_STACK_BYTES;
    sigaltstack(&stack, nullptr);
}

void ZKExecutable::INSTALL_SIGNAL_HANDLERS()
{
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = static_cast<int>(SA_ONSTACK | SA_RESETHAND);
    action.sa_handler = SIG_HANDLE_QUIT;
    for (int signalNumber : QUIT_SIGNALS)
        sigaction(signalNumber, &action, nullptr);
    action.sa_handler = SIG_HANDLE_SEGV;
    for (int signalNumber : FATAL_SIGNALS)
        sigaction(signalNumber, &action, nullptr);
}
