#include "job_commands.h"

#include <climits>
#include <csignal>

using CommandLine::parseNumber;

/// Work that only takes its time.
class JobCommands::PausingJob : public CInherit<PausingJob, CObject, ZK::IJob>
{
public:
    PausingJob(JobCommands& owner, Call const& call, unsigned int number, String const& text, unsigned int milliseconds)
        : m_owner(owner), m_call(call), m_number(number), m_text(text), m_milliseconds(milliseconds)
    {
    }

    String getJobDescription() const override
    {
        return String(String::Formatted(), "job %u, %u ms: %s", m_number, m_milliseconds, m_text.c_str());
    }

    String getShortJobDescription() const override { return String(String::Formatted(), "job %u", m_number); }

    ZKPtr<ZK::IFuture> createFuture() override { return ZK::MovePtr<ZK::IFuture>(new ZK::CFuture(this)); }

    XCode execute(ZK::IFuture* future) override
    {
        m_call.say(String(String::Formatted(), "job %u runs on thread %s: %s", m_number,
                          ZKThread::CURRENT_NAME().c_str(), m_text.c_str()));
        m_owner.m_ending.waitFor(static_cast<int>(m_milliseconds));
        future->done(XCODE_SUCCESS);
        return XCODE_SUCCESS;
    }

private:
    JobCommands& m_owner;
    Call const m_call;
    unsigned int const m_number;
    String const m_text;
    unsigned int const m_milliseconds;
};

JobCommands::JobCommands()
    : m_ending(0, 1, ZK::Time::Source::MONOTONIC),
      m_allTold(0, 1, ZK::Time::Source::MONOTONIC),
      m_mutex(false),
      m_executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("Jobs")))
{
    add("job", "TEXT MS", "runs a job of that length behind those before it", &JobCommands::job);
    add("cancel-job", "N", "cancels job N unless it runs", &JobCommands::cancelJob);
    add("jobs", "", "shows executors, futures and past jobs", &JobCommands::jobs);
}

void JobCommands::end()
{
    std::map<unsigned int, ZKPtr<ZK::IFuture>> futures;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_isEnding = true;
        futures = m_futures;
    }
    // the job in progress refuses
    for (auto const& [number, future] : futures)
    {
        future->cancel(SIGTERM);
    }
    m_ending.signal();
    if (!futures.empty())
    {
        // waitForCompletion returns before the observer has told the end
        m_allTold.wait();
    }
    m_executor = nullptr;
}

void JobCommands::job(Call const& call, String const& arguments)
{
    int const end = arguments.lastIndexOf(' ');
    unsigned int milliseconds = 0;
    if (end < 0 || !parseNumber(arguments.substring(end + 1), 1, CommandLine::MAX_MILLISECONDS, milliseconds))
    {
        refuse(call, "it takes a text and a number of milliseconds from 1 to 86400000");
        return;
    }
    unsigned int const number = ++m_lastNumber;
    ZKPtr<ZK::IJob> const job(
        ZK::MovePtr<ZK::IJob>(new PausingJob(*this, call, number, arguments.substring(0, end), milliseconds)));
    ZKPtr<ZK::IFuture> future;
    if (XCode code = m_executor->invokeJob(job.getObj(), future); code.isErr())
    {
        call.say(String(String::Formatted(), "job %u can't be invoked: %s", number, code.toString().c_str()));
        return;
    }
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_futures[number] = future;
    }
    // called at once if the job has ended meanwhile
    future->setCompletionObserver(
        ZK::bindArgs(ZK::directCall(), &JobCommands::onEnd, this, call, number, std::placeholders::_1));
}

/// On the thread that ends the job.
void JobCommands::onEnd(Call const& call, unsigned int number, XCode const& code)
{
    ZKPtr<ZK::IFuture> const future = futureOf(number);
    call.say(String(String::Formatted(), "job %u is %s, status %8.8x", number,
                    ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(future->getState()), code.getValue()));
    bool isLast = false;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_futures.erase(number);
        isLast = m_isEnding && m_futures.empty();
    }
    if (isLast)
    {
        // the owner may be gone behind this
        m_allTold.signal();
    }
}

void JobCommands::cancelJob(Call const& call, String const& arguments)
{
    unsigned int number = 0;
    if (!parseNumber(arguments, 1, UINT_MAX, number))
    {
        refuse(call, "N is the number of a job");
        return;
    }
    ZKPtr<ZK::IFuture> const future = futureOf(number);
    if (!future)
    {
        call.say(String(String::Formatted(), "no job %u, 'jobs' lists them", number));
    }
    else if (XCode code = future->cancel(SIGTERM); code.isErr())
    {
        call.say(String(String::Formatted(), "job %u: %s", number, code.toString().c_str()));
    }
}

void JobCommands::jobs(Call const& call, String const& arguments)
{
    if (!takesNone(call, arguments))
    {
        return;
    }
    ZK::JobSupervisor& supervisor = ZK::JobSupervisor::INSTANCE();
    ZKVector<ZK::IExecutor::Description> executors;
    ZKVector<ZK::IFuture::Description> futures;
    ZKVector<String> history;
    supervisor.getExecutorDescriptions(executors);
    supervisor.getFutureDescriptions(futures);
    supervisor.getJobHistory(history);

    String text = "executors:          invoked  failed  cancelled  failed  executed  failed\n";
    for (ZK::IExecutor::Description const& each : executors)
    {
        text.concatf("  %-18s %7u %7u %10u %7u %9u %7u%s\n", each.name.c_str(), each.invokedJobs,
                     each.failedInvocations, each.cancelledJobs, each.failedCancels, each.executedJobs,
                     each.failedExecutions, each.suspended ? "  suspended" : "");
    }
    text += "futures:\n";
    for (ZK::IFuture::Description const& each : futures)
    {
        text.concatf("  %-10s %s\n", ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(each.state),
                     each.jobDescription.c_str());
    }
    text += "history:\n";
    for (String const& line : history)
    {
        text.concatf("%s\n", line.c_str());
    }
    call.write(text);
}

ZKPtr<ZK::IFuture> JobCommands::futureOf(unsigned int number) const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    auto const position = m_futures.find(number);
    return position != m_futures.end() ? position->second : ZKPtr<ZK::IFuture>();
}
