// What a TWAIN source can do, and is told to do.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "display/twain_session.h"
#include "process/twain/records.h"
#include "tavo45.h"

namespace tavo::twain {

// The source's own value, `otherwise` where it does not tell.
uint32_t current_value(Session& session, Feature feature, uint32_t otherwise);

// Sets, in an open source, what the options ask for. What it refuses stays as it was: sources know
// themselves best. kNoMemory.
Status set_up(Session& session, const T_TwainOptions& options);

// Chooses how pictures come: kMechanism... by the options' Transfer. kNoMemory.
Status choose_mechanism(Session& session, int32_t transfer, uint32_t& mechanism);

}  // namespace tavo::twain
