#include "run_program.h"

#include <cstdio>
#include <exception>
#include <new>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "processing.h"
#include "program.h"
#include "signals.h"
#include "suggest.h"
#include "tavo45.h"
#include "worker_process.h"

namespace tavo::tools {
namespace {

std::vector<std::string> names_of(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  return names;
}

// What the parser could not place, or else what it says.
std::string usage_text(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  if (unknown.empty()) return error.what();
  const auto chosen = app.get_subcommands();
  const CLI::App& command = chosen.empty() ? app : *chosen.front();
  const std::string word = unknown.front().substr(0, unknown.front().find('='));
  const bool is_option = word.starts_with('-');
  std::vector<std::string> known;
  if (is_option) {
    for (const CLI::Option* option : command.get_options({}))
      for (const std::string& name : names_of(*option)) known.push_back(name);
  } else {
    for (const CLI::App* other : app.get_subcommands({})) known.push_back(other->get_name());
  }
  return std::string("there is no ") + (is_option ? "option" : "command") + " \"" + word + "\"" +
         suggestion(word, known);
}

int report_usage(const CLI::App& app, const std::string& what) {
  const auto chosen = app.get_subcommands();
  const std::string command = chosen.empty() ? "" : chosen.front()->get_name() + " ";
  std::fprintf(stderr, "tavo: %s\nTry \"tavo %s--help\".\n", what.c_str(), command.c_str());
  return kExitUsage;
}

// The library leaves some habits of other programs to a setting; people expect them.
void follow_other_programs() {
  T_SetNameEncoding(1);
  T_SetGIFDepth(1);    // an image's own color table decides when it has one
  T_SetRASVariant(1);  // run counts, polarity and the length field as everybody writes them
  T_SetUnknownResolution(1);
}

int run(const Action& action) {
  try {
    watch_signals();
    follow_other_programs();
    const int status = action();
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
      throw Failure{"standard output", T_GetStatusText(T_ERR_WRITE), T_ERR_WRITE};
    return status;
  } catch (const Failure& failure) {
    // Of a signal that was noted, what failed may be the consequence.
    if (noted_signal() != 0) end_by_signal(noted_signal());
    report(failure);
  } catch (const Interrupted& interrupted) {
    end_by_signal(interrupted.signal);  // everything is cleaned up
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "tavo: out of memory (status %d)\n", T_ERR_NO_MEMORY);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavo: %s\n", error.what());
  }
  return kExitFailure;
}

int parse_and_run(int argc, char** argv) {
  CLI::App app;
  Action action;
  describe_program(app, action);
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) words.push_back(as_parsed(argv[i]));  // last one first
  try {
    app.parse(std::move(words));
    return run(action);
  } catch (const CLI::Success& request) {  // --help, --version
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    return report_usage(app, usage_text(app, error));
  } catch (const UsageError& error) {
    return report_usage(app, one_line(error.what));
  }
}

}  // namespace

int run_program(int argc, char** argv) {
  remember_arguments(argc, argv);
  return parse_and_run(argc, argv);
}

}  // namespace tavo::tools
