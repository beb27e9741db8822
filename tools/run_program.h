// From the words of the command line to the exit status.
#pragma once

namespace tavo::tools {

// `argv` as main has it, in UTF-8 on Windows, too.
int run_program(int argc, char** argv);

}  // namespace tavo::tools
