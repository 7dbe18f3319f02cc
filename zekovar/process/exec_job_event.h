#pragma once

#include "zekovar/events/event_dataqueue.h"
#include "zekovar/files/file.h"
#include "zekovar/foundation/marshaller.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/process/exec_job.h"

#include <memory>

class _ZKExecJobManager;
class ZKEventLoop;

/// Carries the reports of a job from its thread to an event loop, where a handler and a file get them.
///
/// Made with `new` and dropped with `destroy()`. All operations are for the loop's thread, or for one that is
/// synchronised to the loop; the job's thread never touches the handler.
///
/// Nothing is lost while the loop is slow: once `PLACES` reports are under way the job's thread waits, and the program
/// with it as soon as its terminal is full. Only behind a `stop` of the job is output dropped that finds no place, so
/// that the loop's thread may wait for the job's; the end is reported even then.
class _ZKExecJobEvent final : private _ZKExecJob::CallbackHandler
{
public:
    /// Hears of a job on the loop's thread. It may destroy the event, the job and the manager.
    class CallbackHandler
    {
    public:
        /// Output of the program; text behind a zero byte is lost, and as many blanks stand in front.
        virtual void statusUpdate(_ZKExecJobEvent* event, String const& text) = 0;

        /// The program has ended: the last report. `text` is a line end, `code` that of the job.
        virtual void terminated(_ZKExecJobEvent* event, String const& text, XCode code) = 0;

    protected:
        ~CallbackHandler() = default;
    };

    enum EventType
    {
        STATUS = 0,
        TERMINATED = 1
    };

    static constexpr unsigned int PLACES = 32;

    /// `manager`, which is told of the end, and `handler` may be null.
    _ZKExecJobEvent(ZKEventLoop& loop, EventPrio::Type priority, _ZKExecJobManager* manager, CallbackHandler* handler);

    _ZKExecJobEvent(_ZKExecJobEvent const&) = delete;
    _ZKExecJobEvent& operator=(_ZKExecJobEvent const&) = delete;

    /// Starts a job, for one run, with this object as its handler. `outputFile`, unless it is empty, is made or emptied
    /// and gets all texts. Owns the job from here on. `XCODE_FAILURE` for null and for a job that runs, else the code of
    /// what failed; the job is the caller's then.
    XCode execute(_ZKExecJob* job, String const& outputFile);

    /// Hands out the job, which is the caller's from here on; null if that was done before. A job that is running goes
    /// on reporting to this object until its end.
    _ZKExecJob* giveJobBack();

    /// Ends the reports: the handler isn't called any more, from within its own calls neither. Destroys the job if it is
    /// still owned, which blocks for up to two seconds for a program that doesn't end on SIGINT.
    void destroy();

    /// One packed report: type and text, and the code of an end.
    void handleEvent(ZKMarshaller& event);

    /// "job_%p" of this object.
    String const& getName() const { return m_name; }

    /// Null once the job was given back.
    _ZKExecJob* getJob() const { return m_job.get(); }

    /// From the call of `terminated` on.
    bool hasEnded() const { return m_ended; }

private:
    class Link;

    ~_ZKExecJobEvent() = default;

    void statusUpdate(_ZKExecJob* job, String const& text, int length) override;
    void terminated(_ZKExecJob* job, String const& text, XCode code) override;
    void post(ZKMarshaller const& event);
    void onEvent(ZKMarshaller event);
    void onTerminated(String const& text, XCode const& code);
    void writeOutput(String const& text);

    ZKEventDataqueue<_ZKExecJobEvent, ZKMarshaller> m_queue;
    CallbackHandler* m_handler;
    ZKFile m_output;
    std::unique_ptr<_ZKExecJob> m_job;
    _ZKExecJobManager* m_manager;
    std::shared_ptr<Link> m_link;
    String m_name;
    bool m_ended;
    bool m_handling; // a call of the handler is under way
    bool m_doomed;   // to be deleted at its end
};
