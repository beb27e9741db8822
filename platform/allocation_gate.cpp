#include "platform/allocation_gate.h"

#include "platform/platform.h"

namespace tavo::platform {

constinit AllocationGate gate;

void limit_memory(uint64_t bytes) { gate.limit(bytes); }
uint64_t over_limit() { return gate.over_limit(); }
void forget_over_limit() { gate.forget_over_limit(); }

void refuse_allocation(int64_t n, bool all_later) { gate.refuse(n, all_later); }
bool allocation_was_refused() { return gate.refused(); }
int64_t blocks_in_use() { return gate.in_use(); }
uint64_t bytes_taken() { return gate.bytes_taken(); }

}  // namespace tavo::platform
