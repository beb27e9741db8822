// The command line as data: what it accepts, and what it then does. The program runs it, the
// manual page is written from it.
#pragma once

#include <functional>
#include <string>

#include "cli_app.h"

namespace tavo::tools {

// What the chosen subcommand does once its options are parsed; returns the exit status.
using Action = std::function<int()>;

// Describes the whole program. Parsing puts what is to be done into `action`.
void describe_program(CLI::App& app, Action& action);

// Parts of the help that the manual page has as sections of their own; lines end where they should.
std::string examples_text();
std::string exit_status_text();
std::string files_text();
std::string notes_text();

// One function per subcommand, each in the file of its name.
void add_batch(CLI::App& app, Action& action);
void add_clip(CLI::App& app, Action& action);
void add_convert(CLI::App& app, Action& action);
void add_formats(CLI::App& app, Action& action);
void add_info(CLI::App& app, Action& action);
void add_print(CLI::App& app, Action& action);
void add_scan(CLI::App& app, Action& action);
void add_sheet(CLI::App& app, Action& action);
void add_stamp(CLI::App& app, Action& action);
void add_thumb(CLI::App& app, Action& action);

}  // namespace tavo::tools
