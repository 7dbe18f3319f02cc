#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "tests/threads/function_thread.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/thread_supervisor.h"

#include <gtest/gtest.h>

namespace
{
ZKThreadSupervisor& supervisor()
{
    return ZKThreadSupervisor::INSTANCE();
}

/// The reports of the threads that run at this moment.
ZKVector<ZKThreadSupervisor::Report> status()
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    supervisor().getStatus(reports);
    return reports;
}
}

TEST(ThreadSupervisor, TellsWhoHoldsAndWhoWaits)
{
    ZKMutex mutex(false);
    Door held(0), release(0);
    FunctionThread holder(
        [&]
        {
            ZKAutoLock<ZKMutex> guard(mutex);
            held.release();
            release.acquire();
        },
        "the holder");
    FunctionThread waiter([&] { ZKAutoLock<ZKMutex> guard(mutex); }, "the waiter");
    holder.start("");
    held.acquire();
    waiter.start("");
    EXPECT_TRUE(eventually(
        []
        {
            auto const reports = status();
            return reports.size() == 2 && !reports[1].waiting.isEmpty() && reports[1].waiting[0].waitMilliseconds > 0;
        }));

    auto const reports = status();
    EXPECT_EQ(reports[0].name, "the holder");
    ASSERT_EQ(reports[0].obtained.size(), 1u);
    EXPECT_EQ(reports[0].obtained[0].name, mutex.getLockName());
    auto const& wait = reports[1].waiting[0];
    EXPECT_EQ(wait.name, mutex.getLockName());
    EXPECT_EQ(wait.holderId, holder.getId());
    EXPECT_EQ(wait.holderName, "the holder");

    String text;
    ZKThreadSupervisor::GET_STATUS(text, reports);
    for (char const* frame : {"the holder (0x", "the waiter (0x", "ZKMutex::lock()", "  1 "})
        EXPECT_GE(text.indexOf(frame, text.indexOf("Thread backtraces:")), 0) << frame << " in " << text.c_str();
    release.release();
}

TEST(ThreadSupervisor, TextShowsEachFieldThatIsThere)
{
    String text("before\n");
    unsigned long id = 0;
    FunctionThread(
        [&]
        {
            ZKThreadSupervisor::Report report;
            report.id = id = ZKThread::CURRENT_ID();
            report.name = "quiet";
            ZKVector<ZKThreadSupervisor::Report> reports;
            reports.add(report);
            report.name = "busy one";
            report.obtained.add({ZKLock::Type::SYNC_EVENT, "loop-1"});
            report.obtained.add({static_cast<ZKLock::Type::Value>(9), "m"});
            report.waiting.add({ZKLock::Type::SEMAPHORE, "s", "curr=0,max=1", 2999, 0, ""});
            report.waiting.add({ZKLock::Type::READ_LOCK, "r", "", 0, 5, "other"});
            reports.add(report);
            ZKThreadSupervisor::GET_STATUS(text, reports);
        })
        .run();
    String const locks = String::stringOfFormat("before\n"
                                                "Lock status:\n"
                                                "------------\n"
                                                "\n"
                                                "busy one (%lu):\n"
                                                " + holding sync-event loop-1\n"
                                                " + holding (unknown) m\n"
                                                " - waiting for semaphore s\n"
                                                "               curr=0,max=1\n"
                                                "               waiting for 2 s\n"
                                                " - waiting for read-lock r\n"
                                                "               other (5) is holding the read-lock\n"
                                                "\n"
                                                "Thread backtraces:\n"
                                                "------------------\n"
                                                "\n"
                                                "test (%p):\n",
                                                id, reinterpret_cast<void*>(id));
    EXPECT_EQ(text.substring(0, locks.length()), locks);
}

TEST(ThreadSupervisor, ThreadThatHasGoneTakesThePlaceOfTheText)
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    FunctionThread([&] { reports = status(); }, "gone").run();
    ASSERT_EQ(reports.size(), 1u);
    String text("before");
    ZKThreadSupervisor::GET_STATUS(text, reports);
    EXPECT_EQ(text, String::stringOfFormat("gone (%lu): THREAD DOES NOT EXIST\n", reports[0].id));
}

TEST(ThreadSupervisor, RegistryKeepsOrderAndIgnoresWhatItDoesNotKnow)
{
    ZKThread first("same"), second("same");
    for (ZKThread* thread : {static_cast<ZKThread*>(nullptr), &first, &second})
    {
        supervisor().removeThread(thread);
        supervisor().addThread(thread);
    }
    EXPECT_EQ(supervisor().getByName("same"), &first);
    EXPECT_EQ(status().size(), 2u);
    supervisor().removeThread(&first);
    EXPECT_EQ(supervisor().getByName("same"), &second);
    EXPECT_EQ(supervisor().getById(1), nullptr);
}

TEST(ThreadSupervisor, ReportsWhileThreadsComeAndGo)
{
    std::atomic<bool> isOver = false;
    FunctionThread client(
        [&]
        {
            while (!isOver)
            {
                String text;
                ZKThreadSupervisor::GET_STATUS(text, status());
            }
        });
    client.start("");
    ZKMutex mutex(false);
    for (int i = 0; i < 150; i++)
    {
        FunctionThread first([&] { ZKAutoLock<ZKMutex> guard(mutex); });
        FunctionThread second([&] { ZKAutoLock<ZKMutex> guard(mutex); });
        ASSERT_TRUE(first.start("").isSuccess());
        ASSERT_TRUE(second.start("").isSuccess());
        if (i % 2 == 0)
            second.detach();
    }
    isOver = true;
}
