#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "support/ChildMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    qpr::ReserveStandardStreams();
    if (const auto exitCode = test::RunAsChild(qpr::ProgramArguments(argc, argv)))
        return *exitCode;
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
