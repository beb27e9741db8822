/* Prints what the version resources of the files say, as Windows reads them; fails where there is
 * none. */
#include <stdio.h>
#include <windows.h>

int main(int argc, char** argv) {
  int i;
  for (i = 1; i < argc; ++i) {
    static char block[4096];
    char *version, *product;
    UINT length;
    if (!GetFileVersionInfoA(argv[i], 0, sizeof block, block) ||
        !VerQueryValueA(block, "\\StringFileInfo\\040904B0\\ProductVersion", (void**)&version,
                        &length) ||
        !VerQueryValueA(block, "\\StringFileInfo\\040904B0\\ProductName", (void**)&product,
                        &length)) {
      return fprintf(stderr, "%s has no version\n", argv[i]), 1;
    }
    printf("%s %s\n", product, version);
  }
  return 0;
}
