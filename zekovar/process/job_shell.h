#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/jobs/job.h"

namespace ZK
{
/// A job that describes a command for the shell server; the work is done by the `ZK::CFutureShell` that it makes.
///
/// Set it up before it is invoked: it has no lock, and its futures read it. A job may be invoked again and again.
///
/// A derived class that overrides `execute` and returns success has done the work itself, or had it begun, and ends the
/// future by `done`; no command is sent then.
///
///     ZKPtr<ZK::CJobShell> job(ZK::MovePtr<ZK::CJobShell>(new ZK::CJobShell("ping -c 1 \"gateway one\"")));
///     job->addEnv("PATH", "/bin:/usr/bin"); // the whole environment
class CJobShell : public CInherit<CJobShell, CObject, IJob>
{
public:
    /// No command yet.
    CJobShell();
    explicit CJobShell(String const& cmdLine);
    CJobShell(String const& cmdLine, ZKStringHashTable<String> const& env);
    explicit CJobShell(ZKVector<String> const& args);
    CJobShell(ZKVector<String> const& args, ZKStringHashTable<String> const& env);

    /// Splits `cmdLine` at blanks, tabs and line ends. A word that begins with a double quote reaches to the next one;
    /// nothing else has a meaning: there is no shell.
    void setCmdLine(String const& cmdLine);

    /// The program, looked for in the server's PATH, and its arguments.
    void setCmdLineArgs(ZKVector<String> const& args);

    /// What the program gets as its whole environment. Without any it gets the server's.
    void setEnvironment(ZKStringHashTable<String> const& env);

    /// Adds a variable behind the others.
    void addEnv(String const& key, String const& value);

    ZKVector<String> const& getCmdLineArgs() const { return m_args; }

    ZKStringHashTable<String> const& getEnvironment() const { return m_env; }

    /// "Shell Cmd: %s" with all arguments, and the environment in brackets.
    String getJobDescription() const override;

    /// "Shell Cmd: %s" with the program.
    String getShortJobDescription() const override;

    /// A `ZK::CFutureShell`.
    ZKPtr<IFuture> createFuture() override;

    /// Always `XCODE_FAILURE`, which has the future send the command.
    XCode execute(IFuture* future) override;

private:
    void updateDescription();

    ZKVector<String> m_args;
    ZKStringHashTable<String> m_env;
    String m_description;
    String m_shortDescription;
};
}
