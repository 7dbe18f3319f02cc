#include "zekovar/process/fork_and_exec.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/string.h"

#include <gtest/gtest.h>

#include <cerrno>

using ZK::Shell::ForkAndExec;

TEST(ForkAndExec, WithoutAProgramThereIsNothingToDo)
{
    ForkAndExec program;
    ZKVector<String> const none;
    XCode const code = program.forkAndExec(none, none);
    EXPECT_EQ(code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(code.toString(), "NO PROGRAM SPECIFIED");
    EXPECT_TRUE(program.kill(9));
    EXPECT_EQ(program.waitForTermination().getValue(), XCODE_ERRNO + ECHILD);
    EXPECT_TRUE(program.checkProgramAccessibility("/bin/sh"));
    EXPECT_EQ(program.checkProgramAccessibility("/no/such").toString(), "CANNOT ACCESS PROGRAM: /no/such");
}
