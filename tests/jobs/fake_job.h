#pragma once

#include "zekovar/jobs/future_result.h"

#include <functional>

/// A job whose work is a function. Its futures have a text for result.
class FakeJob : public CInherit<FakeJob, CObject, ZK::IJob>
{
public:
    String getJobDescription() const override { return "fake job"; }

    String getShortJobDescription() const override { return "fake"; }

    ZKPtr<ZK::IFuture> createFuture() override { return ZK::MovePtr<ZK::IFuture>(new ZK::CFutureResult<String>(this)); }

    XCode execute(ZK::IFuture* future) override
    {
        work(future);
        return XCODE_SUCCESS;
    }

    std::function<void(ZK::IFuture*)> work = [](ZK::IFuture*) {};
};

/// An executor that runs nothing by itself and answers each cancel with `cancelCode`.
class FakeExecutor : public CInherit<FakeExecutor, CObject, ZK::IExecutor>
{
public:
    void getExecutorDescription(Description&) const override {}

    XCode suspend() override { return XCODE_FAILURE; }

    XCode resume() override { return XCODE_FAILURE; }

    XCode invokeJob(ZK::IJob* job, ZKPtr<ZK::IFuture>& future) override
    {
        future = job->createFuture();
        future->invoked(this, &cancelCode);
        return XCODE_SUCCESS;
    }

    XCode cancel(ZK::IFuture*, int) override { return cancelCode; }

    XCode cancelCode;
};
