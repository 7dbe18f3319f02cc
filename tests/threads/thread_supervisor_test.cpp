#include "tests/threads/function_thread.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

TEST(ThreadSupervisor, TellsWhoHoldsAndWhoWaits)
{
    ZKMutex mutex(false);
    Door held, release;
    auto const hold = [&]
    {
        ZKAutoLock<ZKMutex> guard(mutex);
        held.release();
        release.acquire();
    };
    FunctionThread holder(hold, "the holder");
    held.acquire();
    FunctionThread waiter([&] { ZKAutoLock<ZKMutex> guard(mutex); }, "the waiter");
    auto const reports = statusOfWaiter(ZKLock::Type::MUTEX);
    EXPECT_TRUE(eventually([] { return threadStatus()[1].waiting[0].waitMilliseconds > 0; }));
    EXPECT_EQ(reports[0].name, "the holder");
    EXPECT_TRUE(reports[0].obtained.size() == 1 && reports[0].obtained[0].name == mutex.getLockName());
    auto const& wait = reports[1].waiting[0];
    EXPECT_EQ(wait.name, mutex.getLockName());
    EXPECT_TRUE(wait.holderId == holder.getId() && wait.holderName == "the holder");

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
    auto const write = [&]
    {
        auto reports = threadStatus(); // of one thread that holds nothing
        auto report = reports[0];
        id = report.id;
        report.name = "busy one";
        report.obtained.add({ZKLock::Type::SYNC_EVENT, "loop-1"});
        report.obtained.add({static_cast<ZKLock::Type::Value>(9), "m"});
        report.waiting.add({ZKLock::Type::SEMAPHORE, "s", "curr=0,max=1", 2999, 0, ""});
        report.waiting.add({ZKLock::Type::READ_LOCK, "r", "", 0, 5, "other"});
        reports.add(report);
        ZKThreadSupervisor::GET_STATUS(text, reports);
    };
    FunctionThread(write).join();
    String const locks = String::stringOfFormat("before\n"
                                                "Lock status:\n------------\n\n"
                                                "busy one (%lu):\n"
                                                " + holding sync-event loop-1\n"
                                                " + holding (unknown) m\n"
                                                " - waiting for semaphore s\n"
                                                "               curr=0,max=1\n"
                                                "               waiting for 2 s\n"
                                                " - waiting for read-lock r\n"
                                                "               other (5) is holding the read-lock\n\n"
                                                "Thread backtraces:\n------------------\n\n"
                                                "test (%p):\n",
                                                id, reinterpret_cast<void*>(id));
    EXPECT_EQ(text.substring(0, locks.length()), locks);
}

TEST(ThreadSupervisor, ThreadThatHasGoneTakesThePlaceOfTheText)
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    FunctionThread([&] { reports = threadStatus(); }, "gone").join();
    ASSERT_EQ(reports.size(), 1u);
    String text("before");
    ZKThreadSupervisor::GET_STATUS(text, reports);
    EXPECT_EQ(text, String::stringOfFormat("gone (%lu): THREAD DOES NOT EXIST\n", reports[0].id));
}

TEST(ThreadSupervisor, RegistryKeepsOrderAndIgnoresWhatItDoesNotKnow)
{
    ZKThreadSupervisor& supervisor = ZKThreadSupervisor::INSTANCE();
    ZKThread first("same"), second("same");
    for (ZKThread* thread : {static_cast<ZKThread*>(nullptr), &first, &second})
    {
        supervisor.removeThread(thread);
        supervisor.addThread(thread);
    }
    EXPECT_EQ(supervisor.getByName("same"), &first);
    EXPECT_EQ(threadStatus().size(), 2u);
    supervisor.removeThread(&first);
    EXPECT_EQ(supervisor.getByName("same"), &second);
    EXPECT_EQ(supervisor.getById(1), nullptr);
}

TEST(ThreadSupervisor, ReportsWhileThreadsComeAndGo)
{
    std::atomic<bool> isOver = false;
    auto const report = [&]
    {
        while (!isOver)
        {
            String text;
            ZKThreadSupervisor::GET_STATUS(text, threadStatus());
        }
    };
    FunctionThread client(report);
    ZKMutex mutex(false);
    for (int i = 0; i < 150; i++)
    {
        FunctionThread first([&] { ZKAutoLock<ZKMutex> guard(mutex); });
        FunctionThread second([&] { ZKAutoLock<ZKMutex> guard(mutex); });
        if (i % 2 == 0)
            second.detach();
    }
    isOver = true;
}
