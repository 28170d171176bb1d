#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "tools/qx/Commands.h"
#include "tools/qx/Program.h"

int main(int argc, char** argv)
{
    qpr::ReserveStandardStreams();
    qpr::ResetInheritedSignals();
    qx::Program program;
    qx::AddCallCommand(program);
    qx::AddBatchCommand(program);
    qx::AddCheckCommand(program);
    qx::AddServicesCommand(program);
    qx::AddExprCommand(program);
    qx::AddUsageCommand(program);
    qx::AddHostCommand(program);
    qx::AddTopCommand(program);
    qx::AddTableCommand(program);
    return program.Run(qpr::ProgramArguments(argc, argv));
}
