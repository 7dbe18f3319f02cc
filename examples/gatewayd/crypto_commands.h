#pragma once

#include "command_group.h"
#include "task_thread.h"

/// Checksums of files, stored passwords and the login by a signed challenge.
class CryptoCommands : public CommandGroup
{
public:
    CryptoCommands();

    void end() override;

private:
    void hash(Call const& call, String const& arguments);
    void password(Call const& call, String const& arguments);
    void login(Call const& call, String const& arguments);

    TaskThreads m_hashers; // a large file takes its time
    String m_challenge;    // which the next signature answers
};
