// The command line of TAVO45.
#ifdef _WIN32
#include <string>
#include <vector>

#include "wide_win32.h"
#endif

#include "run_program.h"

#ifdef _WIN32
// Has the C library expand wildcards, as shells of that system leave them to the programs.
extern "C" int _dowildcard;
int _dowildcard = -1;

int wmain(int argc, wchar_t** argv) {
  const tavo::tools::Utf8Console console;
  std::vector<std::string> words;
  for (int i = 0; i < argc; ++i) words.push_back(tavo::tools::narrow(argv[i]));
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return tavo::tools::run_program(argc, pointers.data());
}
#else
int main(int argc, char** argv) { return tavo::tools::run_program(argc, argv); }
#endif
