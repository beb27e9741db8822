// What most tests include, for compilers to parse once. No file may lean on it: each includes what
// it uses, and the build with sanitizers goes without.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>
