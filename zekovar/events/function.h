#pragma once

#include "zekovar/events/binding.h"
#include "zekovar/events/function_impl.h"
#include "zekovar/foundation/ptr.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace ZK
{
template <class S>
class Function;

/// A counted callable that carries the answer to the question on which thread its target runs.
///
/// The caller just calls. How, was settled when the function was made, by its `ZK::FunctionContext`:
///
/// - direct: runs the target at once on the caller's thread.
/// - sync: stops the loop between two events, runs the target on the caller's thread and lets the loop go on; on the
///   loop's own thread, or one that is synchronised to it, it runs at once. It blocks while the loop isn't running.
/// - async: copies the arguments, posts, and returns. The loop's thread serves the calls in their order, at normal
///   priority, never nested in another handler.
///
/// Copies share the target. Calling is safe from all threads as far as the target is; changing one `Function` object
/// while another thread uses it is not. A direct target may not drop the last copy of its own function; a sync or async
/// one may.
///
/// Dropping the last copy of an async function loses the calls that aren't served yet, waits until the loop isn't in
/// the target and so must not be done with a lock held that the target needs. The loop must outlive it.
///
///     ZK::Function<void(String)> log =
///         ZK::bindArgs(IO::INSTANCE().getAsyncContext(), &Log::write, &theLog, std::placeholders::_1);
///     if (log)
///         log("link is up");
template <class... Args>
class Function<void(Args...)>
{
    /// What the truth test converts to: good in a condition, but no number, and not to be deleted.
    class _BoolTester
    {
        void operator delete(void*) = delete;
    };

    using Impl = Detail::FunctionImpl<void(Args...)>;

public:
    /// Direct, with an empty target; calls do nothing.
    Function() : m_impl(emptyImpl()) {}

    /// Without anything to call.
    Function(std::nullptr_t) noexcept {}

    template <class Bound>
    Function(Detail::Binding<Bound> binding)
    {
        assign(binding.context, std::move(binding.bound));
    }

    /// Makes a function of `callable`, which is copied or moved, in place of what this one held; other copies of that
    /// stay as they are. A context of type sync or async without a loop counts as direct.
    template <class B>
    void assign(FunctionContext const& context, B&& callable)
    {
        m_impl = makeImpl(context, typename Impl::Target(std::forward<B>(callable)));
    }

    /// As above, with an empty target.
    void assign(FunctionContext const& context) { m_impl = makeImpl(context, typename Impl::Target()); }

    /// Does nothing if there is no target. Never throws by itself.
    void operator()(Args... args) const
    {
        if (m_impl)
            m_impl->execute(std::forward<Args>(args)...);
    }

    /// True if there is a target to call.
    operator _BoolTester const*() const
    {
        static constexpr _BoolTester TESTER{};
        return m_impl && m_impl->hasTarget() ? &TESTER : nullptr;
    }

    /// In mode "async": with true, each call from here on keeps the function alive until it is served, so dropping the
    /// last copy loses none of them. For who posts a call and drops the function at once.
    void setDontCancelOnDestruction(bool dontCancel) const
    {
        if (m_impl)
            m_impl->setDontCancelOnDestruction(dontCancel);
    }

    /// That of `directCall()` if there is nothing to call.
    FunctionContext const& getContext() const { return m_impl ? m_impl->getContext() : directCall(); }

private:
    static MovePtr<Impl> makeImpl(FunctionContext const& context, typename Impl::Target target)
    {
        if (context.loop != nullptr && context.type == FunctionContext::Type::SYNC)
            return MovePtr<Impl>(new Detail::FunctionImplSync<void(Args...)>(context, std::move(target)));
        if (context.loop != nullptr && context.type == FunctionContext::Type::ASYNC)
            return MovePtr<Impl>(new Detail::FunctionImplAsync<void(Args...)>(context, std::move(target)));
        return MovePtr<Impl>(new Detail::FunctionImplDirect<void(Args...)>(context, std::move(target)));
    }

    /// One for all functions of the signature that were never assigned; it lives as long as the process.
    static Impl* emptyImpl()
    {
        static Impl* const s_empty =
            new Detail::FunctionImplDirect<void(Args...)>(directCall(), typename Impl::Target());
        return s_empty;
    }

    ZKLWPtr<Impl> m_impl;
};
}
