// Writes what bash, zsh and fish complete, from the same descriptions that --help prints.
#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "descriptions.h"
#include "format_table.h"
#include "help.h"
#include "option_checks.h"

namespace tavo::tools {
namespace {

std::vector<CLI::Option*> options_of(CLI::App& command) {
  std::vector<CLI::Option*> options;
  for (CLI::Option* option : command.get_options({}))
    if (!option->get_positional() && !option->get_group().empty()) options.push_back(option);
  return options;
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

std::vector<std::string> dashed_names(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

// The words that a value may be, as far as they are known beforehand.
std::vector<std::string> choices(CLI::Option& option) {
  if (!option.check_lname("to")) return words_of(option);
  std::vector<std::string> names = {"group3", "group4", "packbits", "lzw", "deflate"};
  for (const T_Format& format : all_formats()) {
    const std::vector<std::string> extensions = extensions_of(format);
    if (write_depths(format).empty() || extensions.empty()) continue;
    if (std::ranges::count(names, extensions.front()) == 0) names.push_back(extensions.front());
  }
  return names;
}

// `text` in single quotes of a shell; what stands in `marked` gets a backslash besides.
std::string in_quotes(const std::string& text, const std::string& marked = {}) {
  std::string result = "'";
  for (const char c : text) {
    if (marked.find(c) != std::string::npos) result += '\\';
    result += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return result + "'";
}

std::string command_names(CLI::App& app) {
  std::vector<std::string> names;
  for (CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return joined(names, " ");
}

// ---- bash ----

void write_bash_values(std::ostream& out, CLI::App& command) {
  for (CLI::Option* option : options_of(command)) {
    const std::vector<std::string> words = choices(*option);
    if (words.empty()) continue;
    std::vector<std::string> patterns;
    for (const std::string& name : dashed_names(*option))
      patterns.push_back(command.get_name() + ":" + name);
    out << "    " << joined(patterns, "|") << ") words=" << in_quotes(joined(words, " "))
        << " ;;\n";
  }
}

void write_bash(std::ostream& out, CLI::App& app) {
  out << "# bash completion for tavo\n_tavo() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} words=\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n    COMPREPLY=($(compgen -W "
      << in_quotes(command_names(app) + " --help --version")
      << " -- \"$word\"))\n    return\n  fi\n"
         "  case ${COMP_WORDS[1]}:${COMP_WORDS[COMP_CWORD - 1]} in\n";
  for (CLI::App* command : app.get_subcommands({})) write_bash_values(out, *command);
  out << "  esac\n  if [ -z \"$words\" ] && [ \"${word:0:1}\" = - ]; then\n"
         "    case ${COMP_WORDS[1]} in\n";
  for (CLI::App* command : app.get_subcommands({})) {
    std::vector<std::string> names;
    for (CLI::Option* option : options_of(*command)) {
      const std::vector<std::string> own = dashed_names(*option);
      names.insert(names.end(), own.begin(), own.end());
    }
    out << "      " << command->get_name() << ") words=" << in_quotes(joined(names, " "))
        << " ;;\n";
  }
  out << "    esac\n  fi\n"
         "  [ -z \"$words\" ] || COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n}\n"
         "complete -o default -F _tavo tavo\n";
}

// ---- zsh ----

void write_zsh_option(std::ostream& out, CLI::Option& option) {
  const std::vector<std::string> names = dashed_names(option);
  const std::vector<std::string> words = choices(option);
  std::string action;
  if (option.get_type_size() != 0) {
    action = ":" + value_name(option) + ":";
    action += words.empty() ? "_files" : "(" + joined(words, " ") + ")";
  }
  for (const std::string& name : names) {
    std::string text = in_quotes("[" + option.get_description() + "]", "[]:");
    text.replace(1, 2, "[");                 // the outer brackets are the syntax's own
    text.replace(text.size() - 3, 3, "]'");  // the backslash before the last one goes, too
    out << "        '(" << joined(names, " ") << ")'" << name << text;
    if (!action.empty()) out << in_quotes(action);
    out << " \\\n";
  }
}

void write_zsh(std::ostream& out, CLI::App& app) {
  out << "#compdef tavo\n_tavo() {\n  local -a commands=(\n";
  for (CLI::App* command : app.get_subcommands({}))
    out << "    " << in_quotes(command->get_name() + ":" + command->get_description()) << "\n";
  out << "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    return\n  fi\n"
         "  (( CURRENT-- ))\n  shift words\n  case $words[1] in\n";
  for (CLI::App* command : app.get_subcommands({})) {
    out << "    " << command->get_name() << ")\n      _arguments \\\n";
    for (CLI::Option* option : options_of(*command)) write_zsh_option(out, *option);
    out << "        '*:file:_files' ;;\n";
  }
  out << "  esac\n}\n_tavo \"$@\"\n";
}

// ---- fish ----

void write_fish_option(std::ostream& out, CLI::App& command, CLI::Option& option) {
  out << "complete -c tavo -n '__fish_seen_subcommand_from " << command.get_name() << "'";
  for (const std::string& name : option.get_snames()) out << " -s " << name;
  for (const std::string& name : option.get_lnames()) out << " -l " << name;
  const std::vector<std::string> words = choices(option);
  if (!words.empty()) {
    out << " -x -a " << in_quotes(joined(words, " "));
  } else if (option.get_type_size() != 0) {
    out << " -r";
  }
  out << " -d " << in_quotes(option.get_description()) << "\n";
}

void write_fish(std::ostream& out, CLI::App& app) {
  out << "# fish completion for tavo\n";
  for (CLI::App* command : app.get_subcommands({})) {
    out << "complete -c tavo -f -n __fish_use_subcommand -a " << command->get_name() << " -d "
        << in_quotes(command->get_description()) << "\n";
    for (CLI::Option* option : options_of(*command)) write_fish_option(out, *command, *option);
  }
}

}  // namespace

bool write_completions(const std::string& folder, CLI::App& app) {
  const auto write = [&](const char* name, void (*writer)(std::ostream&, CLI::App&)) {
    std::ofstream out(folder + "/" + name, std::ios::binary);
    writer(out, app);
    return static_cast<bool>(out.flush());
  };
  return write("tavo.bash", write_bash) && write("_tavo", write_zsh) &&
         write("tavo.fish", write_fish);
}

}  // namespace tavo::tools
