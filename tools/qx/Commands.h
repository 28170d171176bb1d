#pragma once

namespace qx
{

class Program;

// A command is one source file, <Name>Command.cpp, with its function here and its line in main. The function adds the
// command and its options; the command's work starts when the command line has been understood.
void AddCallCommand(Program& program);
void AddBatchCommand(Program& program);
void AddCheckCommand(Program& program);
void AddServicesCommand(Program& program);
void AddExprCommand(Program& program);
void AddUsageCommand(Program& program);
void AddHostCommand(Program& program);
void AddTopCommand(Program& program);
void AddTableCommand(Program& program);

} // namespace qx
