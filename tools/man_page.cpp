// Writes the manual page from the same descriptions that --help prints.
#include <fstream>
#include <string>

#include <CLI/CLI.hpp>

#include "descriptions.h"
#include "help.h"
#include "program.h"

namespace tavo::tools {
namespace {

// Text for roff: no line of ours may start a request, hyphens are literal, backslashes escaped.
std::string roff(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\' || c == '-') result += '\\';
    if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n')) result += "\\&";
    result += c == '\\' ? 'e' : c;
  }
  return result;
}

void write_option(std::ostream& out, const CLI::Option& option) {
  out << ".TP\n.B " << roff(option_names(option));
  if (const std::string value = value_name(option); !value.empty())
    out << (value.starts_with('[') ? "" : " ") << "\\fI" << roff(value) << "\\fP";
  out << "\n" << roff(option_text(option)) << "\n";
}

void write_options(std::ostream& out, const CLI::App& app) {
  for (const std::string& group : app.get_groups()) {
    if (group.empty()) continue;  // not for people
    if (group != "Options") out << ".PP\n" << roff(group) << ":\n";
    for (const CLI::Option* option : app.get_options({}))
      if (option->get_group() == group) write_option(out, *option);
  }
}

// What is laid out by hand stays as it is.
void write_lines(std::ostream& out, const std::string& text) {
  out << ".nf\n" << roff(text) << "\n.fi\n";
}

void write_footer(std::ostream& out, const CLI::App& app) {
  if (app.get_footer().empty()) return;
  out << ".PP\n";
  write_lines(out, app.get_footer());
}

void write_section(std::ostream& out, const char* title, const std::string& text) {
  out << ".SH " << title << "\n";
  write_lines(out, text);
}

// "tavo convert IN OUT [options]"
std::string usage(const CLI::App& command) {
  std::string text = "\\fBtavo " + roff(command.get_name()) + "\\fP";
  for (const CLI::Option* option : command.get_options({})) {
    if (!option->get_positional()) continue;
    text += " \\fI" + roff(option_names(*option)) + "\\fP";
    if (option->get_items_expected_max() > 1) text += "...";
  }
  return text + " [\\fIoptions\\fP]";
}

}  // namespace

bool write_man_page(const std::string& place, const CLI::App& app) {
  std::ofstream out(place);
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  out << ".TH TAVO 1 \"\" \"" << app.version() << "\" \"User Commands\"\n"
      << ".SH NAME\ntavo \\- reads, converts and writes raster images\n.SH SYNOPSIS\n";
  for (const CLI::App* command : commands) out << usage(*command) << "\n.br\n";
  out << ".SH DESCRIPTION\n" << roff(app.get_description()) << "\n";
  write_options(out, app);
  out << ".SH COMMANDS\n";
  for (const CLI::App* command : commands) {
    out << ".SS " << usage(*command) << "\n" << roff(command->get_description()) << ".\n";
    write_options(out, *command);
    write_footer(out, *command);
  }
  write_section(out, "EXIT STATUS", exit_status_text());
  write_section(out, "EXAMPLES", examples_text());
  write_section(out, "FILES", files_text());
  write_section(out, "NOTES", notes_text());
  return static_cast<bool>(out.flush());
}

}  // namespace tavo::tools
