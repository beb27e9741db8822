// The command line of TAVO45.
#include <cstdio>
#include <exception>
#include <new>

#include "failure.h"
#include "program.h"
#include "signals.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

int report_usage(const CLI::App& app, const std::string& what) {
  const auto chosen = app.get_subcommands();
  const std::string command = chosen.empty() ? "" : chosen.front()->get_name() + " ";
  std::fprintf(stderr, "tavo: %s\nTry \"tavo %s--help\".\n", what.c_str(), command.c_str());
  return kExitUsage;
}

// The library leaves some habits of other programs to a setting; people expect them.
void follow_other_programs() {
  T_SetGIFDepth(1);    // an image's own color table decides when it has one
  T_SetRASVariant(1);  // run counts, polarity and the length field as everybody writes them
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
  try {
    app.parse(argc, argv);
    return run(action);
  } catch (const CLI::Success& request) {  // --help, --version
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    return report_usage(app, error.what());
  } catch (const UsageError& error) {
    return report_usage(app, error.what);
  }
}

}  // namespace
}  // namespace tavo::tools

int main(int argc, char** argv) { return tavo::tools::parse_and_run(argc, argv); }
