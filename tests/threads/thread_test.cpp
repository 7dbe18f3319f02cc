#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/thread_attribute.h"

#include <memory>
#include <sys/prctl.h>

namespace
{
/// Counts the objects that unwinding destroys.
struct Counted
{
    ~Counted() { count++; }

    std::atomic<int>& count;
};

struct CountedAttribute : ZKThreadAttribute
{
    CountedAttribute(ZKThreadAttributeType const& type, std::atomic<int>& count)
        : ZKThreadAttribute(type), counted{count}
    {
    }

    Counted counted;
};
}

TEST(Thread, WithoutAThreadNothingHappens)
{
    EXPECT_EQ(ZKThread::CURRENT(), nullptr);
    ZKThread thread("idle");
    thread.stop();
    thread.detach();
    thread.join();
    EXPECT_TRUE(thread.join(0));
    int policy = 7, priority = 8;
    EXPECT_EQ(thread.getSchedulingPolicy(policy, priority), XCODE_FAILURE);
    EXPECT_EQ(thread.setSchedulingPolicy(SCHED_OTHER, 0), XCODE_FAILURE);
    EXPECT_EQ(policy + priority, 15);
}

TEST(Thread, KnowsItselfWhileItRunsAndCanBeStartedAgain)
{
    std::atomic<int> runs = 0;
    auto const function = [&]
    {
        ZKThread* const self = ZKThread::CURRENT();
        ASSERT_TRUE(self != nullptr && self->isRunning() && ZKThread::CURRENT_HAS_ID(self->getId()));
        EXPECT_EQ(ZKThread::GET_BY_ID(self->getId()), self);
        EXPECT_EQ(ZKThread::GET_BY_TID(self->getTid()), self);
        EXPECT_EQ(ZKThread::GET_BY_NAME("test"), self);
        EXPECT_TRUE(ZKThread::CURRENT_NAME() == "test" && ZKThread::NAME_BY_ID(self->getId()) == "test");
        EXPECT_EQ(self->start(""), XCODE_FAILURE) << "it runs already";
        runs++;
    };
    FunctionThread thread(function);
    for (int i = 1; i <= 3; i++)
    {
        EXPECT_TRUE(eventually([&] { return runs == i && !thread.isRunning(); }));
        EXPECT_TRUE(thread.isAlive()) << "it wasn't joined yet";
        EXPECT_TRUE(i == 3 || thread.start(""));
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
    FunctionThread thread([&] { prctl(PR_GET_NAME, kernelName); }, "");
    EXPECT_EQ(thread.getName(), String::stringOfFormat("%p", reinterpret_cast<void*>(thread.getId())));
    thread.join();
    EXPECT_TRUE(thread.start("the first name"));
    thread.join();
    EXPECT_STREQ(kernelName, "the_first_name");
    EXPECT_EQ(thread.getName(), "the first name");
}

TEST(Thread, TimedJoinLeavesARunningThreadToALaterJoin)
{
    Door end;
    auto const joinItself = [&]
    {
        EXPECT_EQ(ZKThread::CURRENT()->join(1), ZK::Detail::codeOfErrno(EDEADLK));
        ZKThread::CURRENT()->join();
        end.acquire();
    };
    FunctionThread thread(joinItself);
    EXPECT_EQ(thread.join(20), ZK::Detail::codeOfErrno(ETIMEDOUT));
    EXPECT_NE(thread.getId(), 0u);
    end.release();
    EXPECT_TRUE(thread.join(60000) && thread.getId() == 0);
}

TEST(Thread, DetachedThreadForgetsItsIdAtItsEnd)
{
    for (bool isDetachedFirst : {true, false})
    {
        Door end;
        FunctionThread thread([&] { end.acquire(); });
        if (isDetachedFirst)
        {
            thread.detach();
            EXPECT_EQ(thread.join(1), ZK::Detail::codeOfErrno(EINVAL));
            thread.join();
            EXPECT_TRUE(thread.isAlive());
        }
        end.release();
        if (!isDetachedFirst)
        {
            EXPECT_TRUE(eventually([&] { return !thread.isRunning(); }));
            thread.detach();
        }
        EXPECT_TRUE(eventually([&] { return !thread.isAlive() && !thread.isRunning(); }));
        thread.detach();
        thread.stop();
        end.release();
        EXPECT_TRUE(thread.start("")) << "the object can be used again";
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
        Door begun;
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
            EXPECT_TRUE(thread.isRunning() && thread.start("") == XCODE_FAILURE);
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
        Door gone;
    } runnable;

    runnable.thread->start("");
    runnable.gone.acquire();
    EXPECT_EQ(ZKThread::GET_BY_NAME("short"), nullptr);
}

TEST(Thread, PriorityIsClampedToThePolicy)
{
    Door end;
    FunctionThread thread([&] { end.acquire(); });
    EXPECT_TRUE(thread.setSchedulingPolicy(SCHED_FIFO, 150) && thread.getPriority() == 99);
    EXPECT_TRUE(thread.setSchedulingPolicy(SCHED_OTHER, 50) && thread.getPriority() == 0);
    int policy = -1, priority = -1;
    EXPECT_TRUE(thread.getSchedulingPolicy(policy, priority) && policy == SCHED_OTHER && priority == 0);
    end.release();
}

TEST(ThreadAttributeType, ClearDeletesAndModeSaysWhetherTheEndOfTheThreadDoes)
{
    ZKThreadAttributeType deleting(ZKThreadAttributeType::DELETE_ATTRIBUTE);
    ZKThreadAttributeType keeping(ZKThreadAttributeType::KEEP_ATTRIBUTE);
    std::atomic<int> deleted = 0, kept = 0;
    CountedAttribute attribute(keeping, kept);
    auto const set = [&]
    {
        auto* const owned = new CountedAttribute(deleting, deleted);
        EXPECT_TRUE(deleting.set(owned) && keeping.set(&attribute));
        EXPECT_EQ(deleting.get(), owned);
    };
    FunctionThread(set).join();
    EXPECT_EQ(deleting.get(), nullptr) << "each thread has its own";
    EXPECT_TRUE(deleted == 1 && kept == 0);

    keeping.clear();
    keeping.set(new CountedAttribute(keeping, kept));
    keeping.clear();
    EXPECT_TRUE(kept == 1 && keeping.get() == nullptr);
}
