/* Finds every export of TAVO45.dll by its name and calls two of them. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

static const char* const names[] = {
#include "export_names.h"
};

int main(void) {
  HMODULE library = LoadLibraryA("TAVO45.dll");
  uint32_t(__stdcall * version)(void);
  const char*(__stdcall * text)(int32_t);
  FARPROC function;
  int missing = 0;
  size_t i;
  if (library == NULL) return fprintf(stderr, "no TAVO45.dll\n"), 1;
  for (i = 0; i < sizeof names / sizeof *names; ++i) {
    if (GetProcAddress(library, names[i]) != NULL) continue;
    fprintf(stderr, "missing: %s\n", names[i]);
    ++missing;
  }
  if (missing != 0) return 1;
  function = GetProcAddress(library, "T_GetVersion");
  memcpy(&version, &function, sizeof version);
  function = GetProcAddress(library, "T_GetStatusText");
  memcpy(&text, &function, sizeof text);
  if (version() == 0 || strcmp(text(1), "Success") != 0) return 1;
  printf("%u exports found\n", (unsigned)(sizeof names / sizeof *names));
  return 0;
}
