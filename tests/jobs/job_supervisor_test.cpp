#include "zekovar/jobs/job_supervisor.h"

#include "tests/jobs/fake_job.h"
#include "zekovar/jobs/executor_immediate.h"

#include <gtest/gtest.h>

TEST(JobSupervisor, ListsExecutorsOnceInOrderAndKeepsSixteenLinesOfHistory)
{
    ZK::JobSupervisor& supervisor = ZK::JobSupervisor::INSTANCE();
    ZK::CExecutorImmediate const first;
    ZK::CExecutorImmediate second;
    supervisor.addExecutor(&second);
    ZKVector<ZK::IExecutor::Description> executors;
    unsigned int const count = supervisor.getExecutorDescriptions(executors).size();
    EXPECT_EQ(executors[count - 2].executor, &first);
    EXPECT_EQ(executors[count - 1].executor, &second);

    supervisor.addFuture(nullptr);
    supervisor.removeFuture(nullptr);
    FakeJob job;
    for (int i = 0; i < 20; i++)
        ZK::CFuture const gone(&job);
    ZK::CFuture never(&job);
    supervisor.removeFuture(&never);
    supervisor.removeFuture(&never); // writes its line again
    ZKVector<String> lines;
    supervisor.getJobHistory(lines);
    ASSERT_EQ(lines.size(), 16u);
    unsigned long const number = std::strtoul(lines[0].c_str(), nullptr, 10);
    EXPECT_GE(number, 7u);
    EXPECT_EQ(lines[15], String::stringOfFormat("%8lu fake job", number + 15));
}
