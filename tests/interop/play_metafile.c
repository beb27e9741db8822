/* Plays Windows metafiles into bitmaps by the system's own PlayMetaFile, for comparison.
 * usage: play_metafile [-n REPEATS] {WIDTH HEIGHT IN.wmf OUT.bmp}...
 * With repeats the milliseconds of the fastest are told. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

static unsigned char* read_file(const char* name, long* size) {
  FILE* file = fopen(name, "rb");
  unsigned char* bytes;
  if (!file) return NULL;
  fseek(file, 0, SEEK_END);
  *size = ftell(file);
  rewind(file);
  bytes = malloc(*size);
  if (fread(bytes, 1, *size, file) != (size_t)*size) bytes = NULL;
  fclose(file);
  return bytes;
}

/* The metafile's records, with or without a placeable header; 0 when it is none. */
static HMETAFILE open_metafile(const unsigned char* bytes, long size, int* is_placeable) {
  *is_placeable = *(const DWORD*)bytes == 0x9AC6CDD7u;
  return SetMetaFileBitsEx(size - (*is_placeable ? 22 : 0), bytes + (*is_placeable ? 22 : 0));
}

static DWORD play(HDC dc, HMETAFILE meta, int width, int height, const short* box) {
  DWORD start;
  PatBlt(dc, 0, 0, width, height, WHITENESS);
  SaveDC(dc);
  SetMapMode(dc, MM_ANISOTROPIC);
  if (box) {
    SetWindowOrgEx(dc, box[0], box[1], NULL);
    SetWindowExtEx(dc, box[2] - box[0], box[3] - box[1], NULL);
  }
  SetViewportExtEx(dc, width, height, NULL);
  start = GetTickCount();
  PlayMetaFile(dc, meta);
  GdiFlush();
  start = GetTickCount() - start;
  RestoreDC(dc, -1);
  return start;
}

static int write_bitmap(const char* name, const BITMAPINFO* info, const void* pixels) {
  const DWORD bytes = (DWORD)(info->bmiHeader.biWidth * info->bmiHeader.biHeight * 4);
  BITMAPFILEHEADER head = {0};
  FILE* file = fopen(name, "wb");
  if (!file) return 0;
  head.bfType = 0x4D42;
  head.bfOffBits = sizeof head + sizeof info->bmiHeader;
  head.bfSize = head.bfOffBits + bytes;
  fwrite(&head, sizeof head, 1, file);
  fwrite(&info->bmiHeader, sizeof info->bmiHeader, 1, file);
  fwrite(pixels, 1, bytes, file);
  return fclose(file) == 0;
}

static int play_file(int width, int height, const char* from, const char* to, int repeats) {
  long size = 0;
  unsigned char* bytes = read_file(from, &size);
  int is_placeable = 0, i;
  HMETAFILE meta = bytes && size > 40 ? open_metafile(bytes, size, &is_placeable) : NULL;
  BITMAPINFO info = {{sizeof info.bmiHeader, width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}};
  void* pixels = NULL;
  HDC dc = CreateCompatibleDC(NULL);
  DWORD fastest = 0xFFFFFFFFu;
  if (!meta) return 0;
  SelectObject(dc, CreateDIBSection(dc, &info, DIB_RGB_COLORS, &pixels, NULL, 0));
  for (i = 0; i < repeats; ++i) {
    const DWORD took = play(dc, meta, width, height, is_placeable ? (short*)(bytes + 6) : NULL);
    if (took < fastest) fastest = took;
  }
  if (repeats > 1) printf("%s %lu ms\n", from, (unsigned long)fastest);
  return write_bitmap(to, &info, pixels);
}

int main(int argc, char** argv) {
  int repeats = 1, at = 1, failed = 0;
  if (argc > 2 && strcmp(argv[1], "-n") == 0) {
    repeats = atoi(argv[2]);
    at = 3;
  }
  for (; at + 3 < argc; at += 4) {
    failed |= !play_file(atoi(argv[at]), atoi(argv[at + 1]), argv[at + 2], argv[at + 3], repeats);
  }
  return failed;
}
