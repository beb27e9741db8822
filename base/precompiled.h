// What most files of the library include, for compilers to parse once. No file may lean on it: each
// includes what it uses, and the fuzz preset compiles without.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>
#include <utility>

#ifndef __EMSCRIPTEN__
#include <immintrin.h>
#endif
