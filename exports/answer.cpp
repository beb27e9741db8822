#include "exports/answer.h"

#include "base/limits.h"
#include "base/settings.h"
#include "platform/platform.h"

namespace tavo::exports {

namespace {

bool loads_rows(const FailureNote& note) { return note.row >= 0; }

void remember(Status status) {
  const FailureNote& note = settings.note;
  T_ERRORINFO& failure = settings.last_failure;
  failure = {};
  failure.Status = status.code();
  failure.SystemError = note.system_error;
  failure.Offset = loads_rows(note) ? settings.last_load.damage_at : -1;
  failure.Row = note.row;
  failure.Page = note.page;
  failure.NotAllowed = note.is_not_allowed;
  // A limit that something smaller got around is no reason.
  if (status != kLimit) return;
  failure.Limit = note.limit;
  failure.Asked = note.asked;
  failure.Allowed = note.allowed;
}

}  // namespace

int32_t answer(Status status) {
  if (status == kNoMemory && platform::over_limit() != 0) {
    // A limit that has been raised since is no reason, and no success either.
    const Status limit = limits::check(T_LIMIT_MEMORY, platform::over_limit());
    if (!limit.ok()) status = limit;
  }
  if (!status.ok()) remember(status);
  settings.note = {};
  if (platform::over_limit() != 0) platform::forget_over_limit();
  return status.code();
}

int32_t answer_count(int32_t count) { return count < 0 ? answer(Status(count)) : count; }

}  // namespace tavo::exports
