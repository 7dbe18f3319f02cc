#include "zekovar/process/exec_job_manager.h"

#include <memory>

namespace
{
constexpr unsigned int ENDED_NAMES = 32;
}

_ZKExecJobManager::_ZKExecJobManager(ZKEventLoop& loop, EventPrio::Type priority,
                                     _ZKExecJobEvent::CallbackHandler* defaultHandler)
    : m_endedNames(loop, priority, this, &_ZKExecJobManager::onEndedName, ENDED_NAMES),
      m_loop(loop),
      m_priority(priority),
      m_defaultHandler(defaultHandler)
{
}

_ZKExecJobManager::~_ZKExecJobManager()
{
    for (auto const& entry : m_events)
    {
        if (_ZKExecJob* const job = entry.value()->getJob())
            job->stop(); // so that all end at the same time
    }
    for (auto const& entry : m_events)
        entry.value()->destroy();
}

XCode _ZKExecJobManager::executeJob(String const& cmd, std::vector<String> const& args, String& jobName,
                                    String const& outputFile)
{
    return executeJobWithUserProvidedHandler(cmd, args, {}, jobName, outputFile, m_defaultHandler);
}

XCode _ZKExecJobManager::executeJob(String const& cmd, std::vector<String> const& args, std::vector<String> const& env,
                                    String& jobName, String const& outputFile)
{
    return executeJobWithUserProvidedHandler(cmd, args, env, jobName, outputFile, m_defaultHandler);
}

XCode _ZKExecJobManager::executeJob(_ZKExecJob* job, String& jobName, String const& outputFile)
{
    return executeJobWithUserProvidedHandler(job, jobName, outputFile, m_defaultHandler);
}

XCode _ZKExecJobManager::executeJobWithUserProvidedHandler(String const& cmd, std::vector<String> const& args,
                                                           String& jobName, String const& outputFile,
                                                           _ZKExecJobEvent::CallbackHandler* handler)
{
    return executeJobWithUserProvidedHandler(cmd, args, {}, jobName, outputFile, handler);
}

XCode _ZKExecJobManager::executeJobWithUserProvidedHandler(String const& cmd, std::vector<String> const& args,
                                                           std::vector<String> const& env, String& jobName,
                                                           String const& outputFile,
                                                           _ZKExecJobEvent::CallbackHandler* handler)
{
    auto job = std::make_unique<_ZKExecJob>(cmd);
    XCode code = job->setup(nullptr, cmd, args, env, false);
    if (code)
        code = executeJobWithUserProvidedHandler(job.get(), jobName, outputFile, handler);
    if (code)
        (void)job.release(); // the manager's now
    return code;
}

XCode _ZKExecJobManager::executeJobWithUserProvidedHandler(_ZKExecJob* job, String& jobName, String const& outputFile,
                                                           _ZKExecJobEvent::CallbackHandler* handler)
{
    auto* const event = new _ZKExecJobEvent(m_loop, m_priority, this, handler);
    m_events.add(event->getName(), event);
    XCode code = event->execute(job, outputFile);
    if (code)
        jobName = event->getName();
    else
        destroyJobEvent(event->getName());
    return code;
}

XCode _ZKExecJobManager::sendInputToJob(String const& name, String const& text)
{
    _ZKExecJob* const job = findJob(name);
    return job != nullptr ? job->sendInput(text) : XCODE_FAILURE;
}

XCode _ZKExecJobManager::sendSignal(String const& name, int signal)
{
    _ZKExecJob* const job = findJob(name);
    return job != nullptr ? job->signal(signal) : XCODE_FAILURE;
}

XCode _ZKExecJobManager::getTheJobBack(String const& name, _ZKExecJob** job)
{
    XCode code = getJobPtr(name, job);
    if (code)
        find(name)->giveJobBack();
    return code;
}

XCode _ZKExecJobManager::getJobPtr(String const& name, _ZKExecJob** job)
{
    _ZKExecJob* const found = findJob(name);
    if (found == nullptr || job == nullptr)
        return XCODE_FAILURE;
    *job = found;
    return XCODE_SUCCESS;
}

XCode _ZKExecJobManager::cancelAndDestroyJob(String const& name)
{
    return findJob(name) != nullptr ? destroyJobEvent(name) : XCODE_FAILURE;
}

XCode _ZKExecJobManager::destroyJobEvent(String const& name)
{
    String const key = name; // it may be the event's own
    _ZKExecJobEvent* event = nullptr;
    if (!m_events.remove(key, event))
        return XCODE_FAILURE;
    event->destroy();
    return XCODE_SUCCESS;
}

bool _ZKExecJobManager::isJobExecuting(String const& name)
{
    _ZKExecJobEvent const* const event = find(name);
    return event != nullptr && !event->hasEnded();
}

void _ZKExecJobManager::reportEnd(String const& name)
{
    if (m_endedNames.set(name, 0))
        return;
    String ended = name;
    onJobTerminated(ended);
}

void _ZKExecJobManager::onJobTerminated(String& name)
{
    _ZKExecJobEvent const* const event = find(name);
    if (event != nullptr && event->hasEnded())
        destroyJobEvent(name);
}

_ZKExecJobEvent* _ZKExecJobManager::find(String const& name) const
{
    _ZKExecJobEvent* event = nullptr;
    m_events.get(name, event);
    return event;
}

_ZKExecJob* _ZKExecJobManager::findJob(String const& name) const
{
    _ZKExecJobEvent const* const event = find(name);
    return event != nullptr ? event->getJob() : nullptr;
}

void _ZKExecJobManager::onEndedName(String name)
{
    onJobTerminated(name);
}
