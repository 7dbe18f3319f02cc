#include "zekovar/process/job_shell.h"

#include "zekovar/foundation/tokenizer.h"
#include "zekovar/process/future_shell.h"

namespace ZK
{
CJobShell::CJobShell()
{
    updateDescription();
}

CJobShell::CJobShell(String const& cmdLine)
{
    setCmdLine(cmdLine);
}

CJobShell::CJobShell(String const& cmdLine, ZKStringHashTable<String> const& env) : m_env(env)
{
    setCmdLine(cmdLine);
}

CJobShell::CJobShell(ZKVector<String> const& args) : m_args(args)
{
    updateDescription();
}

CJobShell::CJobShell(ZKVector<String> const& args, ZKStringHashTable<String> const& env) : m_args(args), m_env(env)
{
    updateDescription();
}

void CJobShell::setCmdLine(String const& cmdLine)
{
    StringTokenizer(cmdLine, " \t\r\n", false, false, "\"", "\"").getTokens(m_args);
    updateDescription();
}

void CJobShell::setCmdLineArgs(ZKVector<String> const& args)
{
    m_args = args;
    updateDescription();
}

void CJobShell::setEnvironment(ZKStringHashTable<String> const& env)
{
    m_env = env;
    updateDescription();
}

void CJobShell::addEnv(String const& key, String const& value)
{
    m_env.add(key, value);
    updateDescription();
}

void CJobShell::updateDescription()
{
    m_shortDescription = "Shell Cmd";
    if (!m_args.isEmpty())
        m_shortDescription.concat(": ").concat(m_args[0]);
    m_description = m_shortDescription;
    for (unsigned int i = 1; i < m_args.size(); ++i)
        m_description.concat(" ").concat(m_args[i]);
    char const* separator = " (";
    for (auto const& entry : m_env)
    {
        m_description.concat(separator).concat(entry.key()).concat("=").concat(entry.value());
        separator = ", ";
    }
    if (!m_env.isEmpty())
        m_description.concat(")");
}

String CJobShell::getJobDescription() const
{
    return m_description;
}

String CJobShell::getShortJobDescription() const
{
    return m_shortDescription;
}

ZKPtr<IFuture> CJobShell::createFuture()
{
    return MovePtr<IFuture>(new CFutureShell(this));
}

XCode CJobShell::execute(IFuture*)
{
    return XCODE_FAILURE;
}
}
