#pragma once

#include "zekovar/events/function_context.h"
#include "zekovar/events/function_event.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

#include <atomic>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ZK::Detail
{
/// How an argument travels from a function to its target: numbers and pointers by value, all else by reference, so that
/// the parameter which the caller filled is moved once.
template <class T>
using Passed = std::conditional_t<std::is_scalar_v<T>, T, T&&>;

template <class S>
class FunctionImpl;

/// The target of a `ZK::Function` and the way to call it.
template <class... Args>
class FunctionImpl<void(Args...)> : public RefCounted
{
public:
    using Target = std::function<void(Args...)>;

    FunctionImpl(FunctionContext const& context, Target target)
        : RefCounted(nullptr), m_context(context), m_target(std::move(target))
    {
    }

    /// Without effect but in mode "async".
    virtual void setDontCancelOnDestruction(bool) {}

    virtual void execute(Passed<Args>... args) = 0;

    FunctionContext const& getContext() const { return m_context; }

    bool hasTarget() const { return static_cast<bool>(m_target); }

protected:
    void callTarget(Passed<Args>... args) const
    {
        if (m_target)
            m_target(std::forward<Args>(args)...);
    }

private:
    FunctionContext m_context;
    Target m_target;
};

template <class S>
class FunctionImplDirect;

template <class... Args>
class FunctionImplDirect<void(Args...)> final : public FunctionImpl<void(Args...)>
{
public:
    using FunctionImpl<void(Args...)>::FunctionImpl;

    void execute(Passed<Args>... args) override { this->callTarget(std::forward<Args>(args)...); }
};

template <class S>
class FunctionImplSync;

template <class... Args>
class FunctionImplSync<void(Args...)> final : public FunctionImpl<void(Args...)>, public FunctionEventSync
{
public:
    /// `context` has a loop.
    FunctionImplSync(FunctionContext const& context, typename FunctionImpl<void(Args...)>::Target target)
        : FunctionImpl<void(Args...)>(context, std::move(target)), FunctionEventSync(*context.loop)
    {
    }

    void execute(Passed<Args>... args) override
    {
        // the target may drop the function that it is called through
        ZKLWPtr<FunctionImplSync> const self(this);
        ZKAutoLock<FunctionEventSync> const stoppedLoop(*this);
        this->callTarget(std::forward<Args>(args)...);
    }
};

template <class S>
class FunctionImplAsync;

/// Queues the arguments of each call and posts an event for it.
///
/// The last release, which may come from any thread, stops the event before anything is destroyed.
template <class... Args>
class FunctionImplAsync<void(Args...)> final : public FunctionImpl<void(Args...)>, public FunctionEventAsync
{
public:
    /// `context` has a loop.
    FunctionImplAsync(FunctionContext const& context, typename FunctionImpl<void(Args...)>::Target target)
        : FunctionImpl<void(Args...)>(context, std::move(target)), FunctionEventAsync(*context.loop), m_mutex(true)
    {
    }

    ~FunctionImplAsync() override
    {
        ZKAutoLock<ZKMutex> const guard(m_mutex);
        for (Call* call = nullptr; m_calls.pop(call);)
            delete call;
    }

    /// With true each call from here on keeps the object alive until it is served.
    void setDontCancelOnDestruction(bool dontCancel) override
    {
        m_dontCancelOnDestruction.store(dontCancel, std::memory_order_relaxed);
    }

    void execute(Passed<Args>... args) override
    {
        bool const holdsReference = m_dontCancelOnDestruction.load(std::memory_order_relaxed);
        std::unique_ptr<Call> call(new Call{{std::forward<Args>(args)...}, holdsReference});
        {
            ZKAutoLock<ZKMutex> const guard(m_mutex);
            m_calls.add(call.get());
            call.release();
            if (holdsReference)
                this->addRef();
        }
        // a call whose post failed stays queued, and only the destructor takes it off
        if (set().isErr() && holdsReference)
            this->release();
    }

    void handle() override
    {
        std::unique_ptr<Call> call = takeFirstCall();
        if (!call)
            return;
        bool const holdsReference = call->holdsReference;
        m_isServing = true;
        std::apply([this](auto&... arguments) { this->callTarget(std::forward<Args>(arguments)...); }, call->arguments);
        call.reset();
        m_isServing = false;
        if (holdsReference)
            this->release();
        else if (m_isReleased)
            RefCounted::callDtor();
    }

    void onPostDropped() override
    {
        std::unique_ptr<Call> const call = takeFirstCall();
        if (call && call->holdsReference)
            this->release();
    }

    /// A target that drops its own function keeps it until it returns.
    void callDtor() override
    {
        stop();
        if (m_isServing)
            m_isReleased = true;
        else
            RefCounted::callDtor();
    }

private:
    struct Call
    {
        std::tuple<std::decay_t<Args>...> arguments;
        bool holdsReference; // stays as it was when the call was made, whatever the flag is when it is served
    };

    std::unique_ptr<Call> takeFirstCall()
    {
        Call* call = nullptr;
        ZKAutoLock<ZKMutex> const guard(m_mutex);
        m_calls.pop(call);
        return std::unique_ptr<Call>(call);
    }

    ZKMutex m_mutex; // guards m_calls
    ZKList<Call*> m_calls;
    std::atomic<bool> m_dontCancelOnDestruction{false};
    bool m_isServing = false;  // by the loop's thread, or by one that has stopped it
    bool m_isReleased = false; // as above
};
}
