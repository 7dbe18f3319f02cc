#include "tests/threads/function_thread.h"
#include "zekovar/threads/thread_pool.h"

namespace
{
std::atomic<int> s_executed;
std::atomic<int> s_destroyed;

/// Waits for its door, if it has one.
struct Task : _ZKTask
{
    ~Task() override { s_destroyed++; }

    void execute() override
    {
        if (door != nullptr)
            door->acquire();
        s_executed++;
        _ZKTask::execute();
    }

    Door* door = nullptr;
};

/// All workers are gone at the end of a test.
struct ThreadPool : testing::Test
{
    ThreadPool() { s_executed = s_destroyed = 0; }

    ~ThreadPool() override { EXPECT_TRUE(eventuallyWorkers(0)); }

    static bool eventuallyWorkers(int expected)
    {
        auto const areThere = [expected]
        {
            int count = 0;
            for (auto const& report : threadStatus())
                count += report.name == "WorkerThread" ? 1 : 0;
            return count == expected;
        };
        return eventually(areThere);
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
    Task task;
    EXPECT_EQ(pool.setTasksAndWait({&task, nullptr}), XCODE_FAILURE);
    EXPECT_EQ(pool.setTasksAndWait({&task, &task}), XCODE_FAILURE);
    EXPECT_EQ(s_executed, 0);
    EXPECT_EQ(task.setBarrier(nullptr), XCODE_SUCCESS) << "a refused batch must take its barrier back";
}

TEST_F(ThreadPool, HasAWorkerForEachTaskAndShrinksToItsLimit)
{
    Door door;
    Task first, second;
    first.door = second.door = &door;
    {
        _ZKThreadPool pool(1);
        EXPECT_TRUE(pool.setTask(&first));
        EXPECT_TRUE(pool.setTask(&second));
        EXPECT_TRUE(eventuallyWorkers(2));
        door.release();
        EXPECT_TRUE(eventuallyWorkers(1));
        EXPECT_TRUE(pool.setup(2));
    }
    EXPECT_TRUE(eventuallyWorkers(1)) << "a task goes on when its pool has gone";
    door.release();
    EXPECT_TRUE(eventuallyWorkers(0));
    EXPECT_EQ(s_executed, 2);
}

TEST_F(ThreadPool, RunsBatchesOfTenThousandTasksAndNoneForWhichThreadsAreMissing)
{
    _ZKThreadPool pool(25);
    std::vector<Task> tasks(50);
    std::vector<_ZKTask*> batch;
    for (Task& task : tasks)
        batch.push_back(&task);
    for (int i = 0; i < 200; i++)
        (void)pool.setTasksAndWait(batch); // which thread is told that it was the last is open
    EXPECT_EQ(s_executed, 10000);
    pthread_attr_t before, impossible;
    pthread_getattr_default_np(&before);
    pthread_attr_init(&impossible);
    pthread_attr_setstacksize(&impossible, SIZE_MAX / 8 * 7);
    ASSERT_EQ(pthread_setattr_default_np(&impossible), 0);
    EXPECT_EQ(pool.setTasksAndWait(batch), XCODE_FAILURE);
    EXPECT_TRUE(pool.setup(1).isErr());
    pthread_setattr_default_np(&before);
    EXPECT_EQ(s_executed, 10000);
    EXPECT_TRUE(eventuallyWorkers(25));
    (void)pool.setTasksAndWait(batch);
    EXPECT_EQ(s_executed, 10050);
}

TEST_F(ThreadPool, FreeWorkerOwnsItsTasks)
{
    {
        _ZKWorkerThread worker;
        for (int i = 0; i < 5; i++)
            worker.whip(i == 3 ? nullptr : new Task);
        EXPECT_TRUE(worker.start("sweeper"));
    }
    EXPECT_EQ(s_executed, 3);
    EXPECT_EQ(s_destroyed, 4) << "what came behind the end is deleted too";
}
