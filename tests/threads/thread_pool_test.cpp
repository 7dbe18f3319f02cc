#include "tests/threads/function_thread.h"
#include "zekovar/threads/thread_pool.h"

namespace
{
std::atomic<int> s_executed;
std::atomic<int> s_destroyed;

class CountedTask : public _ZKTask
{
public:
    ~CountedTask() override { s_destroyed++; }

    void execute() override
    {
        s_executed++;
        _ZKTask::execute();
    }
};

/// Waits in `execute` until the test lets it go on.
class HeldTask : public CountedTask
{
public:
    void execute() override
    {
        door.acquire();
        CountedTask::execute();
    }

    Door door;
};

class ThreadPool : public testing::Test
{
protected:
    ThreadPool() { s_executed = s_destroyed = 0; }

    ~ThreadPool() override { EXPECT_TRUE(eventuallyWorkers(0)); }

    static int workers()
    {
        int count = 0;
        for (auto const& report : threadStatus())
            count += report.name == "WorkerThread" ? 1 : 0;
        return count;
    }

    static bool eventuallyWorkers(int count)
    {
        return eventually([count] { return workers() == count; });
    }
};
}

TEST_F(ThreadPool, RefusesWhatCanNotRunAndLeavesTheTasksAlone)
{
    _ZKThreadPool pool(0);
    EXPECT_EQ(pool.setup(0), XCODE_FAILURE);
    EXPECT_EQ(pool.setTask(nullptr), XCODE_FAILURE);
    EXPECT_EQ(pool.notifyEndOfTask(nullptr), XCODE_FAILURE);
    EXPECT_EQ(pool.setTasksAndWait({}), XCODE_FAILURE) << "the caller is the last to arrive";

    CountedTask first, second;
    EXPECT_EQ(pool.setTasksAndWait({&first, nullptr}), XCODE_FAILURE);
    EXPECT_EQ(pool.setTasksAndWait({&first, &second, &first}), XCODE_FAILURE);
    EXPECT_EQ(s_executed, 0);
    pthread_barrier_t barrier;
    pthread_barrier_init(&barrier, nullptr, 1);
    EXPECT_EQ(first.setBarrier(&barrier), XCODE_SUCCESS);
    EXPECT_EQ(first.setBarrier(&barrier), XCODE_FAILURE);
    EXPECT_EQ(pool.setTasksAndWait({&second, &first}), XCODE_FAILURE);
    EXPECT_EQ(second.setBarrier(&barrier), XCODE_SUCCESS) << "a refused batch must take its barrier back";
    first.execute();
    EXPECT_EQ(first.setBarrier(nullptr), XCODE_SUCCESS) << "the barrier is used up";
    pthread_barrier_destroy(&barrier);
}

TEST_F(ThreadPool, StartsAWorkerForEachTaskAtOnceAndShrinksToItsLimit)
{
    _ZKThreadPool pool(1);
    HeldTask first, second;
    EXPECT_TRUE(pool.setTask(&first));
    EXPECT_TRUE(pool.setTask(&second));
    EXPECT_TRUE(eventuallyWorkers(2));
    first.door.release();
    EXPECT_TRUE(eventuallyWorkers(1));
    second.door.release();
    CountedTask third;
    EXPECT_TRUE(pool.setTask(&third));
    EXPECT_TRUE(eventually([] { return s_executed == 3; }));
    EXPECT_TRUE(eventuallyWorkers(1));
}

TEST_F(ThreadPool, EndsItsWorkersWhenItGoesButNotTheirTasks)
{
    HeldTask held;
    {
        _ZKThreadPool pool(3);
        EXPECT_TRUE(pool.setup(3));
        EXPECT_TRUE(pool.setTask(&held));
        EXPECT_TRUE(eventuallyWorkers(3));
    }
    EXPECT_TRUE(eventuallyWorkers(1)) << "the idle ones go";
    held.door.release();
    EXPECT_TRUE(eventuallyWorkers(0));
    EXPECT_EQ(s_executed, 1);
    EXPECT_EQ(s_destroyed, 0);
}

TEST_F(ThreadPool, RunsTenThousandTasksInBatches)
{
    constexpr int SIZE = 50;
    constexpr int LIMIT = 25;
    _ZKThreadPool pool(LIMIT);
    std::vector<CountedTask> tasks(SIZE);
    std::vector<_ZKTask*> batch;
    for (CountedTask& task : tasks)
        batch.push_back(&task);
    for (int i = 1; i <= 200; i++)
    {
        (void)pool.setTasksAndWait(batch); // which thread is told that it was the last is open
        ASSERT_EQ(s_executed, i * SIZE);
    }
    EXPECT_TRUE(eventuallyWorkers(LIMIT));
}

TEST_F(ThreadPool, BatchForWhichNoThreadsAreLeftFailsAsAWhole)
{
    _ZKThreadPool pool(2);
    ASSERT_TRUE(pool.setup(2));
    CountedTask first, second, third;
    pthread_attr_t before, impossible;
    ASSERT_EQ(pthread_getattr_default_np(&before), 0);
    pthread_attr_init(&impossible);
    pthread_attr_setstacksize(&impossible, SIZE_MAX / 8 * 7);
    ASSERT_EQ(pthread_setattr_default_np(&impossible), 0);
    EXPECT_EQ(pool.setTasksAndWait({&first, &second, &third}), XCODE_FAILURE);
    EXPECT_TRUE(pool.setup(1).isErr());
    ASSERT_EQ(pthread_setattr_default_np(&before), 0);
    EXPECT_EQ(s_executed, 0);
    EXPECT_TRUE(eventuallyWorkers(2));
    (void)pool.setTasksAndWait({&first, &second, &third});
    EXPECT_EQ(s_executed, 3);
}

TEST_F(ThreadPool, FreeWorkerOwnsItsTasks)
{
    {
        _ZKWorkerThread worker;
        EXPECT_TRUE(worker.getName().isEmpty());
        for (int i = 0; i < 5; i++)
            worker.whip(i == 3 ? nullptr : new CountedTask);
        EXPECT_TRUE(worker.start("sweeper"));
    }
    EXPECT_EQ(s_executed, 3);
    EXPECT_EQ(s_destroyed, 4) << "what came behind the end is deleted too";
}
