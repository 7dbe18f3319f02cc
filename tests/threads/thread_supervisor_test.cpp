#include "tests/threads/function_thread.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

TEST(ThreadSupervisor, TellsWhoHoldsAndWhoWaits)
{
    ZKMutex mutex(false);
    Door begun, release;
    auto const wait = [&]
    {
        begun.release();
        release.acquire();
    };
    FunctionThread idle(wait, "idle");
    begun.acquire();
    auto const hold = [&]
    {
        ZKAutoLock<ZKMutex> guard(mutex);
        wait();
    };
    FunctionThread holder(hold, "the holder");
    begun.acquire();
    auto const take = [&]
    {
        ZKAutoLock<ZKMutex> guard(mutex);
        auto const reports = threadStatus();
        EXPECT_TRUE(reports[reports.size() - 1].waiting.isEmpty());
    };
    FunctionThread waiter(take, "the waiter");
    auto reports = statusOfWaiter(ZKLock::Type::MUTEX);
    EXPECT_TRUE(eventually([] { return threadStatus()[2].waiting[0].waitMilliseconds > 0; }));
    reports[1].obtained.add({static_cast<ZKLock::Type::Value>(9), "m"});
    reports[2].waiting[0].status = "curr=0,max=1";
    reports[2].waiting[0].waitMilliseconds = 2999;

    String text("before\n");
    ZKThreadSupervisor::GET_STATUS(text, reports);
    String const name = mutex.getLockName();
    String const locks = String::stringOfFormat("before\n"
                                                "Lock status:\n------------\n\n"
                                                "the holder (%lu):\n"
                                                " + holding mutex %s\n"
                                                " + holding (unknown) m\n\n"
                                                "the waiter (%lu):\n"
                                                " - waiting for mutex %s\n"
                                                "               curr=0,max=1\n"
                                                "               waiting for 2 s\n"
                                                "               the holder (%lu) is holding the mutex\n\n"
                                                "Thread backtraces:\n------------------\n\n"
                                                "idle (%p):\n",
                                                holder.getId(), name.c_str(), waiter.getId(), name.c_str(),
                                                holder.getId(), reinterpret_cast<void*>(idle.getId()));
    EXPECT_EQ(text.substring(0, locks.length()), locks);
    for (char const* frame : {"the holder (0x", "the waiter (0x", "ZKMutex::lock()", "  1 "})
        EXPECT_GE(text.indexOf(frame, static_cast<int>(locks.length())), 0) << frame << " in " << text.c_str();

    release.release();
    release.release();
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.getHolder() == nullptr && mutex.getLockCount() == 1) << "a foreign thread is no holder";
    mutex.unlock();
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
