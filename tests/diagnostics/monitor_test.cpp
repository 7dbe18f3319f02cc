#include "tests/captured_syslog.h"
#include "tests/diagnostics/recorder.h"
#include "tests/info_lines.h"
#include "tests/string_printer.h"
#include "zekovar/diagnostics/log.h"
#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/threads/thread.h"

#include <climits>
#include <gtest/gtest.h>
#include <tuple>
#include <unistd.h>

using namespace RTD;
using Lines = std::vector<std::string>;

namespace
{
class MonitorTest : public testing::Test
{
protected:
    ZKPPtr<Monitor> add(RtdMonitorID id) { return repository->addMonitor(id, NO_SLOT, NO_PORT); }

    ~MonitorTest() override
    {
        for (RtdMonitorID const id : {MON_NO, MON_SYSTEM, MON_TEST, MON_JOB, MON_DATABASE})
        {
            repository->setMinDebugLevel(id, -1);
            repository->removeMonitor(REPOSITORY::GET_MONITOR(id).getObj());
        }
    }

    ZKPPtr<REPOSITORY>& repository = REPOSITORY::_INSTANCE();
};

/// Returns how many arguments were evaluated.
int writeEverywhere(Monitor* monitor)
{
    int evaluated = 0;
    RTD_DEBUG(MON_TEST, 2, "id %d", ++evaluated);
    RTD_DEBUG_MONITOR(monitor, 2, "pointer %d", ++evaluated);
    error(MON_TEST, "error");
    warning(monitor, "warning");
    ZK::Detail::logToMonitor(MON_TEST, LOG_DEBUG, "debug");
    ZK::Detail::logToSystemMonitor(LOG_CRIT, "system");
    return evaluated;
}
}

TEST(LogDeathTest, LinesAreSafeBeforeTheRepositoryExistsAndAfterItIsGone)
{
    auto const writeAlone = []
    {
        CapturedSyslog log;
        if (writeEverywhere(nullptr) != 0 || ZKThread::GET_BY_NAME("Crit") != nullptr ||
            log.lines() != Lines{"7 TEST       # debug\n", "2 SYSTEM     # system\n"})
            _exit(2);
    };
    auto const live = [&]
    {
        writeAlone();
        std::atexit(writeAlone); // runs when what is made from here on is gone
        REPOSITORY::_INSTANCE()->addMonitor(MON_SYSTEM, NO_SLOT, NO_PORT);
        REPOSITORY::_INSTANCE()->addMonitor(MON_TEST, NO_SLOT, NO_PORT)->setMinDebugLevel(9);
        std::exit(0);
    };
    EXPECT_EXIT(live(), testing::ExitedWithCode(0), "");
}

TEST_F(MonitorTest, DebugLinesAreEvaluatedOnlyIfTheyPassAndOthersAlwaysGoOut)
{
    ZKPPtr<Monitor> monitor = add(MON_TEST);
    for (int const level : {-1, 1, 2})
    {
        CapturedSyslog log;
        monitor->addSession("s", 7, level);
        monitor->setMinDebugLevel(level == 2 ? 2 : -1); // debug lines get severity 6
        EXPECT_EQ(writeEverywhere(monitor.getObj()), level == 2 ? 2 : 0);
        Lines expected = {"3 TEST       # error\n", "4 TEST       # warning\n",
                          level == 2 ? "6 TEST       # debug\n" : "7 TEST       # debug\n", "2 SYSTEM     # system\n"};
        if (level == 2)
            expected.insert(expected.begin(), {"6 TEST       # id 1\n", "6 TEST       # pointer 2\n"});
        EXPECT_EQ(log.lines(), expected);
    }
}

TEST_F(MonitorTest, LevelFollowsSessionsMinimumAndCeiling)
{
    // minimum, requested level of a session and effective level with it
    std::tuple<RtdMonitorID, int, int, int, char const*> const rows[] = {
        {MON_NO, -1, 5, -1, "session 0 s 6 -1|gone 0 s"},
        {MON_SYSTEM, -1, 5, 9, "1 level 9|session 1 s 6 -2|gone 1 s"},
        {MON_JOB, -1, 5, 3, "session 8 s 6 3|8 level 3|8 level -1|gone 8 s"},
        {MON_TEST, 2, 1, 2, "7 level 2|session 7 s 6 1|gone 7 s"},
        {MON_DATABASE, 2, 5, 2, "9 level 2|session 9 s 6 1|gone 9 s"},
    };
    for (auto const& [id, minimum, requested, effective, heard] : rows)
    {
        repository->setMinDebugLevel(id, minimum);
        ZKPPtr<Monitor> monitor = add(id);
        Recorder recorder;
        monitor->addObserver(&recorder);
        monitor->addSession("s", 6, requested);
        EXPECT_EQ(REPOSITORY::GET_MONITOR_IF_ENABLED_FOR_LOGGING(id, effective), monitor.getObj());
        EXPECT_EQ(REPOSITORY::GET_MONITOR_IF_ENABLED_FOR_LOGGING(id, effective + 1), nullptr);
        monitor->removeSession("s");
        EXPECT_EQ(recorder.heard(), heard);
        monitor->removeObserver(&recorder);
    }
}

TEST_F(MonitorTest, ObserversAreBroughtUpToDateAndToldOfEachChange)
{
    ZKPPtr<Monitor> monitor = add(MON_JOB);
    monitor->addSession("b", 7, 1);
    monitor->addSession("a", 3, 2);
    Recorder recorder;
    Monitor::Delegate delegate(&recorder); // the first reference is never given back
    monitor->addObserver(&delegate);
    EXPECT_EQ(recorder.heard(), "session 8 b 7 1|session 8 a 3 2|8 level 2");
    monitor->addObserver(&delegate);
    recorder.heard();
    monitor->removeObserver(&recorder); // was there twice
    monitor->removeSession("unknown");
    monitor->setMinDebugLevel(1);
    monitor->setLevel("new", 7, 0);
    monitor->setLevel("a", 7, 9);
    EXPECT_EQ(recorder.heard(), "gone 8 unknown|session 8 new 7 1|8 level 1|gone 8 a|session 8 a 7 3|8 level 3");
    delegate.stopNotifications();
    monitor->removeSession("a");
    EXPECT_EQ(recorder.heard(), "");
    monitor->removeObserver(&delegate);
}

TEST_F(MonitorTest, RegistrationsAreCountedAndBadKeysRefused)
{
    Monitor* const monitor = add(MON_TEST).getObj();
    EXPECT_EQ(add(MON_TEST), monitor);
    repository->removeMonitor(monitor);
    EXPECT_EQ(REPOSITORY::GET_MONITOR(MON_TEST), monitor);
    repository->removeMonitor(monitor);
    EXPECT_FALSE(REPOSITORY::GET_MONITOR(MON_TEST));
    unsigned int const refused[][3] = {{184, 1, 1}, {0xFFFFFFFF, 1, 1}, {7, 255, 1}, {7, 1, 65535}};
    for (auto const& [id, slot, port] : refused)
        EXPECT_EQ(repository->addMonitor(static_cast<RtdMonitorID>(id), slot, port), nullptr);
}

TEST_F(MonitorTest, NewMonitorsTakeTheSessionsOfTheirBaseAndTheMinimumOfTheirIdAndTheObservers)
{
    add(MON_TEST)->addSession("cli", 7, 3);
    Recorder recorder;
    repository->addObserver(&recorder);
    EXPECT_EQ(recorder.heard(), "+7|session 7 cli 7 3|7 level 3");
    repository->setMinDebugLevel(MON_JOB, 2);
    ZKPPtr<Monitor> const slot = repository->addMonitor(MON_TEST, 1, 2);
    ZKPPtr<Monitor> const port = repository->addMonitor(MON_TEST, NO_SLOT, 2);
    ZKPPtr<Monitor> const job = repository->addMonitor(MON_JOB, 1, 2);
    EXPECT_EQ(job->getEffectiveDebugLevel(), 2);
    EXPECT_TRUE(repository->enableMonitor(MON_JOB, 1, 2, "web", 5, 4)) << "the first number is dropped";
    EXPECT_EQ(recorder.heard(), "+7|session 7 cli 7 3|7 level 3|+7|+8|session 8 web 4 1");
    EXPECT_EQ(repository->getMonitor("test", 1, 2), slot);
    EXPECT_FALSE(repository->getMonitor("Test", 1, 2) || repository->getMonitor(String("test\0", 5, 0, 5), 1, 2));
    ZKVector<ZKPPtr<Monitor>> enabled;
    EXPECT_EQ(repository->getEnabledMonitors("cli", enabled).size(), 2u) << "not the one without a slot";
    EXPECT_TRUE(enabled[1] == slot && repository->disableMonitor("cli") && !repository->disableMonitor("cli"));
    for (ZKPPtr<Monitor> const& monitor : {slot, port, job})
        repository->removeMonitor(monitor.getObj());
    slot->addSession("cli", 7, 0);
    EXPECT_EQ(recorder.heard(), "7 level -1|gone 7 cli|7 level -1|gone 7 cli|-7|-7|-8")
        << "a removed monitor has lost its observers";
    repository->removeObserver(&recorder);
    repository->disableMonitor(MON_TEST, NO_SLOT, NO_PORT, "cli");
    EXPECT_EQ(recorder.heard(), "");
}

TEST_F(MonitorTest, ObserversChangeEverythingInsideANotification)
{
    ZKPPtr<Monitor> monitor = add(MON_JOB);
    Recorder last, victim, late;
    Recorder first(
        [&]
        {
            monitor->removeObserver(&first);
            monitor->removeObserver(&victim);
            monitor->addObserver(&late);
            repository->removeMonitor(monitor.getObj());
        });
    for (Recorder* const observer : {&last, &victim, &first}) // the newest is told first
        monitor->addObserver(observer);
    monitor->addSession("s", 7, -1);
    EXPECT_EQ(listed(first.heard(), victim.heard(), late.heard(), last.heard()),
              "session 8 s 7 -1||session 8 s 7 -1|session 8 s 7 -1");

    Recorder remover(
        [&]
        {
            repository->removeObserver(&remover);
            repository->addObserver(&late);
            repository->removeMonitor(MON_TEST, 1, 1);
        });
    repository->addObserver(&remover);
    EXPECT_EQ(repository->addMonitor(MON_TEST, 1, 1), nullptr) << "an observer has removed it";
    EXPECT_EQ(listed(remover.heard(), late.heard()), "+7|+7|-7");
    repository->removeObserver(&late);
}

TEST_F(MonitorTest, ContainerSortsByPriorityWithTheNewestFirst)
{
    String order;
    Recorder a([&] { order += 'a'; }), b([&] { order += 'b'; }), c([&] { order += 'c'; });
    auto const delegateOf = [](Monitor::Observer& observer)
    { return ZKPtr<Monitor::Delegate>(ZK::MovePtr<Monitor::Delegate>(new Monitor::Delegate(&observer))); };
    ZKPtr<Monitor::Delegate> const ofA = delegateOf(a), ofB = delegateOf(b), ofC = delegateOf(c);
    ObserverContainer<Monitor, Monitor::Observer> container;
    container.addObserver(ofA.get(), 1, false);
    container.addObserver(ofB.get(), 0, false);
    container.addObserver(ofC.get(), 1, false);
    container.broadcastEvent(Recorder::Event(add(MON_TEST)), &Monitor::Observer::onMonitorAdded);
    EXPECT_EQ(order, "bca");
}

TEST_F(MonitorTest, InfoTellsRowSessionsAndStateWithinItsBounds)
{
    ZKPPtr<Monitor> permanent = add(MON_SYSTEM);
    ZKPPtr<Monitor> monitor = repository->addMonitor(MON_TEST, 2, 14);
    monitor->addSession("cli", LOG_DEBUG, 3);
    monitor->addSession("web", LOG_WARNING, 1);
    InfoContainer all;
    repository->getInfo(all, 3, 0, 4, 0, "> ");
    EXPECT_EQ(linesOf(all),
              "0 > Debug Monitors|1 system=9|2 ID=1|2 Slot=(none)|2 Port=(none)|2 Name=system|2 Prompt=SYSTEM|"
              "2 Description=system|2 Severity Mask=0127|2 Max. Debug Level=4294967294|2 Permanent=yes|"
              "2 Sessions (Debug Level)=0|2 Effective Debug Level=9|2 Minimum Debug Level=-1|2 Debug Severity=7|"
              "2 Message Prefix=SYSTEM     # |2 Ref. Count=2|"
              "1 test:2/14=3|2 ID=7|2 Slot=2|2 Port=14|2 Name=test|2 Prompt=TEST|2 Description=test|"
              "2 Severity Mask=0255|2 Max. Debug Level=9|2 Permanent=no|2 Sessions (Debug Level)=2|"
              "3 cli=debug (detail 3)|3 web=warn|2 Effective Debug Level=3|2 Minimum Debug Level=-1|"
              "2 Debug Severity=7|2 Message Prefix=TEST:2/14  # |2 Ref. Count=2");

    InfoContainer few;
    repository->disableMonitor("cli");
    repository->disableMonitor("web");
    repository->getInfo(few, 1, 0, 0, 0, "");
    repository->getInfo(few, UINT_MAX, UINT_MAX, UINT_MAX, UINT_MAX, "");
    EXPECT_EQ(linesOf(few), "0 Debug Monitors|1 system=9|1 test:2/14=-|4294967295 Debug Monitors");
    repository->removeMonitor(MON_TEST, 2, 14);
}
