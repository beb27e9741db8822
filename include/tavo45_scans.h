#pragma once
#include "tavo45.h"
#define T_PALETTE_FINE 5
