// Shows what loading the library does: which objects it builds, in which order, that they go in reverse, and that no thread
// and no descriptor comes of it. Linked with the library, or with its path as the argument for dlopen. Exits with 0 if all
// is as it has to be.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#ifdef PROBE_IS_LINKED
#include "zekovar/zekovar.h"
#endif

namespace
{
/// The exported objects with a destructor, in the order of load time, and what stands for the tags of templates, which are
/// local objects.
constexpr char const* FACTORIES = "at least five local objects";
constexpr char const* EXPECTED[] = {
    "String::s_empty",
    "ZKBacktrace::Info::s_instance",
    "ZKSemFifo::s_mutex",
    "ZKSemFifo::s_semIdList",
    "ZKThread::s_selfAttribute",
    "ZKThreadAttributeType::s_none",
    "ZKThreadAttributeSynchronized::s_attributeType",
    "WgetUtil::s_userAgent",
    FACTORIES,
    "ZK::Property::emptyBlob",
    "ZK::TelnetClient::DEFAULT_USER_PROMPT",
    "ZK::TelnetClient::DEFAULT_PASSWORD_PROMPT",
    "ZK::TelnetClient::DEFAULT_PROMPT",
};
constexpr int EXPECTED_COUNT = sizeof(EXPECTED) / sizeof(EXPECTED[0]);

struct Object
{
    void (*destroy)(void*);
    void* address;
};

// plain data: all of this works before anything is built
constinit Object s_objects[64];
constinit int s_built = 0;
constinit int s_destroyed = 0;
constinit int s_failures = 0;
constinit int s_threads = 0; // before any library's initialisers; an emulator has one of its own
constinit int s_descriptors = 0;
constinit bool s_isWatching = false;

void fail(char const* what, char const* detail)
{
    ++s_failures;
    std::fprintf(stderr, "FAILED: %s: %s\n", what, detail);
}

int countEntries(char const* directory)
{
    DIR* const entries = opendir(directory);
    int count = 0;
    while (entries != nullptr && readdir(entries) != nullptr)
        ++count;
    closedir(entries);
    return count;
}

bool isOfLibrary(void* function)
{
    Dl_info info;
    return dladdr(function, &info) != 0 && std::strstr(info.dli_fname, "libzekovar") != nullptr;
}

/// Whether the object is exported, under `name` unless that is null.
bool isExported(void* object, char const* name)
{
    Dl_info info;
    if (dladdr(object, &info) == 0 || info.dli_saddr != object)
        return false;
    char* const demangled = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
    bool const isSame = name == nullptr || (demangled != nullptr && std::strcmp(demangled, name) == 0);
    std::free(demangled);
    return isSame;
}

void destroy(void* object)
{
    auto const* const entry = static_cast<Object*>(object);
    ++s_destroyed;
    if (entry != &s_objects[s_built - s_destroyed])
        fail("destroyed out of order", "an object that isn't the last that is left");
    entry->destroy(entry->address);
}

/// Behind everything else that happens at exit.
void finish(void*)
{
    if (s_destroyed != s_built)
        fail("objects", "some weren't destroyed");
    _exit(s_failures == 0 ? 0 : 1);
}

using AtExit = int (*)(void (*)(void*), void*, void*);

int registerDestructor(void (*function)(void*), void* object, void* library)
{
    static constinit AtExit real = nullptr;
    if (real == nullptr)
        real = reinterpret_cast<AtExit>(dlsym(RTLD_NEXT, "__cxa_atexit"));
    return real(function, object, library);
}

void beforeLibraries()
{
    s_threads = countEntries("/proc/self/task");
    s_descriptors = countEntries("/proc/self/fd");
    s_isWatching = true;
}

void checkOrder()
{
    int expected = 0;
    int locals = 0; // since the last exported one
    for (int i = 0; i < s_built; ++i)
    {
        if (!isExported(s_objects[i].address, nullptr))
        {
            ++locals;
            continue;
        }
        if (expected < EXPECTED_COUNT && EXPECTED[expected] == FACTORIES && locals >= 5)
            ++expected;
        if (expected == EXPECTED_COUNT || !isExported(s_objects[i].address, EXPECTED[expected]))
        {
            fail("built out of order", expected < EXPECTED_COUNT ? EXPECTED[expected] : "an object behind the last");
            return;
        }
        ++expected;
        locals = 0;
    }
    if (expected < EXPECTED_COUNT)
        fail("not built", EXPECTED[expected]);
}

void checkLoaded()
{
    checkOrder();
    if (countEntries("/proc/self/task") != s_threads)
        fail("threads", "there is another one");
    if (countEntries("/proc/self/fd") != s_descriptors)
        fail("descriptors", "not as many as before");

    struct sigaction action;
    sigaction(SIGUSR2, nullptr, &action);
    if (!isOfLibrary(reinterpret_cast<void*>(action.sa_sigaction)) || (action.sa_flags & SA_RESTART) == 0)
        fail("SIGUSR2", "the library doesn't take it");
}

#ifdef PROBE_IS_LINKED
/// The count of the loops is no object with a destructor.
void checkIds()
{
    for (char const* expected : {"Probe-abad1dea", "Probe-abad1deb"})
    {
        if (ZKEventLoop("Probe", 0, 100, 1000, 10000, 0).getUniqueName() != expected)
            fail("ZKEventLoop", "another id");
    }
}
#endif
}

/// Stands in front of the C library's: each object with a destructor passes here when it has been built.
extern "C" int __cxa_atexit(void (*function)(void*), void* object, void* library)
{
    static constinit bool isFirst = true;
    if (isFirst)
    {
        isFirst = false;
        registerDestructor(&finish, nullptr, nullptr);
    }
    if (!s_isWatching || !isOfLibrary(reinterpret_cast<void*>(function)) || s_built == 64)
        return registerDestructor(function, object, library);
    Object* const entry = &s_objects[s_built++];
    *entry = {function, object};
    return registerDestructor(&destroy, entry, library);
}

__attribute__((section(".preinit_array"), used)) static void (*s_beforeLibraries)() = &beforeLibraries;

int main(int argc, char** argv)
{
#ifdef PROBE_IS_LINKED
    checkLoaded();
    s_isWatching = false; // what is used from here on is built on first use
    checkIds();
    return argc > 1 && argv != nullptr ? 2 : 0;
#else
    if (argc != 2 || dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) == nullptr)
    {
        std::fprintf(stderr, "usage: load_probe LIBRARY: %s\n", argc == 2 ? dlerror() : "");
        return 2;
    }
    checkLoaded();
    s_isWatching = false;
    return 0;
#endif
}
