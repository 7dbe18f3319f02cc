#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/time.h"

#include <gtest/gtest.h>
#include <memory>
#include <sched.h>
#include <sys/prctl.h>

namespace
{
/// Counts the objects that unwinding destroys.
struct Counted
{
    ~Counted() { count++; }

    std::atomic<int>& count;
};
}

TEST(Thread, WithoutAThreadNothingHappens)
{
    ZKThread thread("idle");
    thread.stop();
    thread.detach();
    thread.join();
    EXPECT_TRUE(thread.join(0).isSuccess());
    int policy = 7, priority = 8;
    EXPECT_EQ(thread.getSchedulingPolicy(policy, priority), XCODE_FAILURE);
    EXPECT_EQ(thread.setSchedulingPolicy(SCHED_OTHER, 0), XCODE_FAILURE);
    EXPECT_EQ(policy + priority, 15);
    EXPECT_EQ(thread.runThread(), XCODE_FAILURE);
    EXPECT_EQ(ZKThreadMethod<ZKThread>("none", nullptr, &ZKThread::runThread).runThread(), XCODE_FAILURE);
}

TEST(Thread, KnowsItselfWhileItRunsAndCanBeStartedAgain)
{
    std::atomic<int> runs = 0;
    FunctionThread thread(
        [&]
        {
            runs++;
            EXPECT_EQ(ZKThread::CURRENT(), &thread);
            EXPECT_TRUE(thread.isRunning());
            EXPECT_TRUE(ZKThread::CURRENT_HAS_ID(thread.getId()));
            EXPECT_EQ(ZKThread::GET_BY_ID(thread.getId()), &thread);
            EXPECT_EQ(ZKThread::GET_BY_TID(thread.getTid()), &thread);
            EXPECT_EQ(ZKThread::GET_BY_NAME("test"), &thread);
            EXPECT_EQ(ZKThread::CURRENT_NAME(), "test");
            EXPECT_EQ(ZKThread::NAME_BY_ID(thread.getId()), "test");
            EXPECT_EQ(thread.start(""), XCODE_FAILURE) << "it runs already";
        });
    for (int i = 1; i <= 3; i++)
    {
        EXPECT_TRUE(thread.start("").isSuccess());
        EXPECT_TRUE(thread.isAlive());
        EXPECT_TRUE(eventually([&] { return runs == i && !thread.isRunning(); }));
        EXPECT_TRUE(thread.isAlive()) << "it wasn't joined yet";
    }
    unsigned long const id = thread.getId();
    EXPECT_EQ(ZKThread::GET_BY_ID(id), nullptr);
    EXPECT_EQ(ZKThread::NAME_BY_ID(id), String::stringOfFormat("%p", reinterpret_cast<void*>(id)));
    thread.join();
    EXPECT_FALSE(thread.isAlive());
}

TEST(Thread, KernelShowsTheNameWithoutBlanks)
{
    char kernelName[17] = "";
    FunctionThread thread([&] { prctl(PR_GET_NAME, kernelName); });
    thread.start("the first name");
    thread.join();
    EXPECT_STREQ(kernelName, "the_first_name");
    EXPECT_EQ(thread.getName(), "the first name");
    FunctionThread nameless([] {}, "");
    nameless.start("");
    EXPECT_EQ(nameless.getName(), String::stringOfFormat("%p", reinterpret_cast<void*>(nameless.getId())));
}

TEST(Thread, TimedJoinLeavesARunningThreadToALaterJoin)
{
    Door end(0);
    FunctionThread thread(
        [&]
        {
            EXPECT_EQ(thread.join(1), ZK::Detail::codeOfErrno(EDEADLK));
            thread.join();
            end.acquire();
        });
    thread.start("");
    unsigned long const id = thread.getId();
    EXPECT_EQ(thread.join(20), ZK::Detail::codeOfErrno(ETIMEDOUT));
    EXPECT_EQ(thread.getId(), id);
    end.release();
    EXPECT_TRUE(thread.join(60000).isSuccess());
    EXPECT_EQ(thread.getId(), 0u);
}

TEST(Thread, DetachedThreadForgetsItsIdAtItsEnd)
{
    for (bool isDetachedFirst : {true, false})
    {
        Door end(0);
        FunctionThread thread([&] { end.acquire(); });
        thread.start("");
        if (isDetachedFirst)
        {
            thread.detach();
            EXPECT_EQ(thread.join(1), ZK::Detail::codeOfErrno(EINVAL));
            thread.join();
            EXPECT_TRUE(thread.isAlive());
            end.release();
        }
        else
        {
            end.release();
            EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
            thread.detach();
        }
        EXPECT_TRUE(eventually([&] { return !thread.isAlive() && !thread.isRunning(); }));
        thread.detach();
        thread.stop();
        end.release();
        EXPECT_TRUE(thread.start("").isSuccess()) << "the object can be used again";
    }
}

TEST(Thread, StoppedThreadIsUnwoundAndLeavesItsObjectBeforeThatGoes)
{
    struct Spinner : ZKRunnable
    {
        XCode runThread() override
        {
            Counted counted{unwound};
            begun.release();
            spinUntilCancelled();
        }

        std::atomic<int> unwound = 0;
        Door begun{0};
    } spinner;

    for (int i = 0; i < 3; i++)
    {
        ZKThread thread("spinner", &spinner);
        thread.start("");
        spinner.begun.acquire();
        if (i == 0)
        {
            thread.stop();
            EXPECT_EQ(ZKThread::GET_BY_NAME("spinner"), nullptr);
            EXPECT_NE(thread.getId(), 0u) << "stop doesn't wait";
            thread.join();
            EXPECT_TRUE(thread.isRunning());
            EXPECT_EQ(thread.start(""), XCODE_FAILURE);
        }
        if (i == 1)
            thread.detach();
    }
    EXPECT_EQ(spinner.unwound, 3);
}

TEST(Thread, MayDestroyItsOwnObject)
{
    struct SelfDestroyer : ZKRunnable
    {
        XCode runThread() override
        {
            thread.reset();
            EXPECT_EQ(ZKThread::CURRENT(), nullptr);
            gone.release();
            return XCODE_SUCCESS;
        }

        std::unique_ptr<ZKThread> thread = std::make_unique<ZKThread>("short", this);
        Door gone{0};
    } runnable;

    runnable.thread->start("");
    runnable.gone.acquire();
    EXPECT_EQ(ZKThread::GET_BY_NAME("short"), nullptr);
}

TEST(Thread, PriorityIsClampedToThePolicy)
{
    Door end(0);
    FunctionThread thread([&] { end.acquire(); });
    thread.start("");
    EXPECT_TRUE(thread.setSchedulingPolicy(SCHED_FIFO, 150).isSuccess());
    EXPECT_EQ(thread.getPriority(), 99);
    EXPECT_TRUE(thread.setSchedulingPolicy(SCHED_OTHER, 50).isSuccess());
    EXPECT_EQ(thread.getPriority(), 0);
    int policy = -1, priority = -1;
    EXPECT_TRUE(thread.getSchedulingPolicy(policy, priority).isSuccess());
    EXPECT_EQ(policy, SCHED_OTHER);
    EXPECT_EQ(priority, 0);
    end.release();
}

TEST(Thread, ForeignThreadIsNamedByItsId)
{
    EXPECT_EQ(ZKThread::CURRENT(), nullptr);
    EXPECT_EQ(ZKThread::CURRENT_NAME(), String::stringOfFormat("%p", reinterpret_cast<void*>(pthread_self())));
    EXPECT_TRUE(ZKThread::CURRENT_PROGRAM_PATH().endsWith(String("/") += ZKThread::CURRENT_PROGRAM_NAME()));
    ZKThread::SLEEP(-1);
}
