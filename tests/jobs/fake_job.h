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
