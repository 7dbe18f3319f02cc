#pragma once

#include "command_group.h"
#include "task_thread.h"

/// Checksums of files, stored passwords and the login by a signed challenge.
class CryptoCommands : public CommandGroup
{
public:
    explicit CryptoCommands(Console& console);

    void end() override;

private:
    void hash(Command const& command, String const& arguments);
    void password(Command const& command, String const& arguments);
    void login(Command const& command, String const& arguments);

    TaskThread m_hasher; // a large file takes its time
    String m_challenge;  // which the next signature answers
};
