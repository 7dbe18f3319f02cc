#include "gatewayd.h"

#include "command_group.h"
#include "command_server.h"
#include "console.h"
#include "login_key.h"
#include "workbench.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <getopt.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <syslog.h>
#include <unistd.h>

namespace
{
constexpr char END_OF_OPTIONS = static_cast<char>(0xff);

// clang-format off
option s_longOptions[] = {{"help", no_argument, nullptr, 'h'},
                          {"name", required_argument, nullptr, 'n'},
                          {"loop", required_argument, nullptr, 'l'},
                          {"console", required_argument, nullptr, 'c'},
                          {"login-key", required_argument, nullptr, 'k'},
                          {"preferences", required_argument, nullptr, 'p'},
                          {"stderr", no_argument, nullptr, 'e'},
                          {nullptr, 0, nullptr, 0}};
// clang-format on

constexpr char const* HELP =
    "usage: gatewayd [options]\n"
    "Shows the zekovar runtime at work, by commands from standard input.\n"
    "\n"
    "  -h, --help           shows this text\n"
    "  -n, --name NAME      the daemon's name in the system log (default: gatewayd)\n"
    "  -l, --loop LOOP      the loop that the commands work on: config, crit, io or mgmt (default: io)\n"
    "  -c, --console PORT   takes the same commands on a TCP port of the loopback address, 0 for a free one;\n"
    "                       the end of standard input then no longer ends the daemon\n"
    "  -k, --login-key FILE the public key for 'login': modulus and exponent, two lines of hexadecimal digits\n"
    "  -p, --preferences FILE\n"
    "                       lines of a key and a value: 'loop' and 'stderr' stand for these options\n"
    "  -e, --stderr         shows the lines of the system log on standard error, too\n";

/// Where a standard descriptor is closed, the next file that is opened would take its place and be read as the console's input.
void openStandardDescriptors()
{
    int fd = -1;
    do
    {
        fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    close(fd);
}
}

Gatewayd::Gatewayd() : ZKExecutable("hn:l:c:k:p:e", s_longOptions)
{
    openStandardDescriptors();
    // Handlers of quit signals are reset by the kernel when they are called, and a second signal that comes before they are
    // installed again ends the process at once. Blocked signals that are read from a descriptor know no such moment; every
    // thread inherits the mask.
    sigset_t quitSignals;
    sigemptyset(&quitSignals);
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT})
    {
        sigaddset(&quitSignals, signal);
    }
    XCode code = m_signals.setValidFd(signalfd(-1, &quitSignals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (code.isErr())
    {
        std::fprintf(stderr, "gatewayd: signals end it at once: %s\n", code.toString().c_str());
        return;
    }
    pthread_sigmask(SIG_BLOCK, &quitSignals, nullptr);
}

XCode Gatewayd::parseArgument(char option, String const& value)
{
    switch (option)
    {
    case END_OF_OPTIONS:
        break;
    case 'h':
        m_mode = Mode::SHOW_HELP;
        break;
    case 'n':
        m_identity = value;
        break;
    case 'l':
        m_loop = value.lowerCase();
        break;
    case 'c':
        m_consolePort = value;
        break;
    case 'k':
        m_loginKey = value;
        break;
    case 'p':
        m_preferences = value;
        break;
    case 'e':
        m_logToStandardError = true;
        break;
    default:
        // getopt_long has named the culprit on standard error
        m_mode = Mode::REFUSE;
        break;
    }
    return XCODE_SUCCESS;
}

void Gatewayd::onQuitSignal(int signal)
{
    if (signal != SIGALRM)
    {
        return;
    }
    static constexpr char TEXT[] = "gatewayd: something doesn't come to its end and is given up\n";
    pollfd output{STDERR_FILENO, POLLOUT, 0};
    if (poll(&output, 1, 0) == 1 && write(STDERR_FILENO, TEXT, sizeof(TEXT) - 1) < 0)
    {
        // it ends all the same
    }
    _exit(1);
}

int Gatewayd::run()
{
    if (m_mode == Mode::SHOW_HELP)
    {
        std::fputs(HELP, stdout);
        return 0;
    }
    if (m_mode == Mode::SERVE && optind < getArgc())
    {
        std::fprintf(stderr, "gatewayd: unexpected argument '%s'\n", getArgv()[optind]);
        m_mode = Mode::REFUSE;
    }
    if (m_mode == Mode::SERVE && !m_preferences.isEmpty() && access(m_preferences.c_str(), R_OK) != 0)
    {
        std::fprintf(stderr, "gatewayd: the preferences %s can't be read: %s\n", m_preferences.c_str(),
                     XCode(XCODE_ERRNO + static_cast<unsigned int>(errno)).toString().c_str());
        return 2;
    }
    usePreferences();
    if (m_mode == Mode::SERVE && m_loop != "config" && m_loop != "crit" && m_loop != "io" && m_loop != "mgmt")
    {
        std::fprintf(stderr, "gatewayd: no loop '%s': config, crit, io or mgmt\n", m_loop.c_str());
        m_mode = Mode::REFUSE;
    }
    if (m_mode == Mode::REFUSE)
    {
        std::fputs("Try 'gatewayd --help'.\n", stderr);
        return 2;
    }
    XCode code = m_loginKey.isEmpty() ? XCode(XCODE_SUCCESS) : setUpLogin(m_loginKey);
    if (code.isErr())
    {
        std::fprintf(stderr, "gatewayd: the key %s can't be used: %s\n", m_loginKey.c_str(), code.toString().c_str());
        return 2;
    }
    return serve();
}

/// Has the console take clients, if that was asked for. Tells what is wrong otherwise, and returns false.
bool Gatewayd::listen(Console& console) const
{
    if (m_consolePort.isEmpty())
    {
        return true;
    }
    unsigned int port = 0;
    if (!CommandLine::parseNumber(m_consolePort, 0, 65535, port))
    {
        std::fprintf(stderr, "gatewayd: '%s' is no port: a number from 0 to 65535\n", m_consolePort.c_str());
        return false;
    }
    XCode const code = console.listen(static_cast<unsigned short>(port));
    if (code.isErr())
    {
        std::fprintf(stderr, "gatewayd: port %u of 127.0.0.1 can't be used: %s\n", port, code.toString().c_str());
    }
    return code.isSuccess();
}

/// Options win over preferences.
void Gatewayd::usePreferences()
{
    if (!m_preferences.isEmpty())
    {
        PREFERENCES::CREATEPREF(m_preferences);
    }
    if (m_loop.isEmpty())
    {
        m_loop = PREFERENCES::READPREF_STRING("loop", "io").lowerCase();
    }
    m_logToStandardError = m_logToStandardError || PREFERENCES::READPREF_BOOL("stderr", false);
}

int Gatewayd::serve()
{
    if (m_identity.isEmpty())
    {
        m_identity = getName().isEmpty() ? String("gatewayd") : getName();
    }
    openlog(m_identity.c_str(), LOG_PID | (m_logToStandardError ? LOG_PERROR : 0), LOG_DAEMON);

    CommandServer commands;
    if (XCode const code = commands.start(); code.isErr())
    {
        std::fprintf(stderr, "gatewayd: no program can be run: %s\n", code.toString().c_str());
    }
    Console console(m_signals);
    if (!listen(console))
    {
        return 2;
    }
    syslog(LOG_INFO, "starts on the %s loop", m_loop.c_str());
    Workbench workbench(chosenLoop(), console);
    console.serve(workbench);

    syslog(LOG_INFO, "ends: %s", console.reasonOfEnd().c_str());
    closelog();
    return 0;
}

ZKEventLoop& Gatewayd::chosenLoop() const
{
    if (m_loop == "config")
    {
        return CONFIG::INSTANCE();
    }
    if (m_loop == "crit")
    {
        return CRIT::INSTANCE();
    }
    if (m_loop == "mgmt")
    {
        return MGMT::INSTANCE();
    }
    return IO::INSTANCE();
}
