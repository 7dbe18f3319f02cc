#include "zekovar/process/exec_job_event.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/process/exec_job_manager.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"

#include <fcntl.h>
#include <syslog.h>

/// What the job's thread holds on to, so that the event object may go while the job runs.
class _ZKExecJobEvent::Link final : public _ZKExecJob::Relay
{
public:
    explicit Link(_ZKExecJobEvent* event)
        : m_mutex(false), m_changed(m_mutex, ZK::Time::Source::MONOTONIC), m_event(event), m_underWay(0), m_waits(true)
    {
    }

    void statusUpdate(_ZKExecJob* job, String const& text, int length) override
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        while (m_event != nullptr && m_waits && m_underWay >= PLACES)
            m_changed.wait();
        if (m_event != nullptr && m_underWay < PLACES)
            m_event->statusUpdate(job, text, length);
    }

    void terminated(_ZKExecJob* job, String const& text, XCode code) override
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (m_event != nullptr) // one place more is there for the end
            m_event->terminated(job, text, code);
    }

    void stopWaiting() override
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_waits = false;
        m_changed.broadcast();
    }

    /// Nothing reaches the event object from here on.
    void close()
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_event = nullptr;
        m_changed.broadcast();
    }

    /// With the mutex held, by the event object.
    void takePlace() { m_underWay++; }

    void givePlace()
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        m_underWay--;
        m_changed.broadcast();
    }

private:
    ZKMutex m_mutex; // guards the rest
    ZKThreadCondition m_changed;
    _ZKExecJobEvent* m_event; // null once it is closed
    unsigned int m_underWay;  // reports that the loop hasn't begun with
    bool m_waits;
};

_ZKExecJobEvent::_ZKExecJobEvent(ZKEventLoop& loop, EventPrio::Type priority, _ZKExecJobManager* manager,
                                 CallbackHandler* handler)
    : m_queue(loop, priority, this, &_ZKExecJobEvent::onEvent, PLACES + 1), // one for the end
      m_handler(handler),
      m_manager(manager),
      m_link(std::make_shared<Link>(this)),
      m_name(String::Formatted(), "job_%p", static_cast<void*>(this)),
      m_ended(false),
      m_handling(false),
      m_doomed(false)
{
}

XCode _ZKExecJobEvent::execute(_ZKExecJob* job, String const& outputFile)
{
    if (job == nullptr || m_job != nullptr)
        return XCODE_FAILURE;
    if (!outputFile.isEmpty())
    {
        m_output = ZKFile(outputFile, true, false);
        if (XCode code = m_output.open(O_WRONLY | O_CREAT | O_TRUNC, 0644, ZKFile::XO_NONE); code.isErr())
            return code;
    }
    if (XCode code = job->attach(m_link); code.isErr())
        return code;
    XCode code = job->start("");
    if (code)
        m_job.reset(job);
    return code;
}

_ZKExecJob* _ZKExecJobEvent::giveJobBack()
{
    return m_job.release();
}

void _ZKExecJobEvent::destroy()
{
    m_link->close();
    m_handler = nullptr;
    m_job.reset();
    if (m_handling)
        m_doomed = true;
    else
        delete this;
}

void _ZKExecJobEvent::statusUpdate(_ZKExecJob*, String const& text, int length)
{
    ZKMarshaller event;
    event.marshal(static_cast<int>(STATUS));
    event.marshal(String::stringOfFormat("%*s", length, text.c_str()));
    post(event);
}

void _ZKExecJobEvent::terminated(_ZKExecJob*, String const& text, XCode code)
{
    ZKMarshaller event;
    event.marshal(static_cast<int>(TERMINATED));
    event.marshal(text);
    event.marshal(code);
    post(event);
}

void _ZKExecJobEvent::post(ZKMarshaller const& event)
{
    if (m_queue.set(event, 0))
        m_link->takePlace();
}

void _ZKExecJobEvent::onEvent(ZKMarshaller event)
{
    m_link->givePlace();
    handleEvent(event);
}

void _ZKExecJobEvent::handleEvent(ZKMarshaller& event)
{
    int type = STATUS;
    String text;
    XCode code;
    if (!event.unmarshal(type) || !event.unmarshal(text) || (type == TERMINATED && !event.unmarshal(code)))
        return;
    m_handling = true;
    if (type == TERMINATED)
    {
        onTerminated(text, code);
    }
    else
    {
        if (m_handler != nullptr)
            m_handler->statusUpdate(this, text);
        writeOutput(text);
    }
    m_handling = false;
    if (m_doomed)
        delete this;
}

void _ZKExecJobEvent::onTerminated(String const& text, XCode const& code)
{
    m_ended = true;
    if (m_handler != nullptr)
        m_handler->terminated(this, text, code);
    writeOutput(text);
    m_output.destruct();
    if (m_manager != nullptr && !m_doomed) // a doomed one may have no manager any more
        m_manager->reportEnd(m_name);
}

void _ZKExecJobEvent::writeOutput(String const& text)
{
    if (!m_output.isOpen())
        return;
    XCode const code = m_output.write(text, true);
    if (code)
        return;
    ZK::Detail::logToSystemMonitor(LOG_ERR, "CANNOT WRITE OUTPUT OF JOB TO %s: %s", m_output.getPath().c_str(),
                                   code.toString().c_str());
    m_output.close();
}
