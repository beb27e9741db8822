// Pictures from a TWAIN source that is ready to transfer them.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "display/twain_session.h"
#include "process/twain/picture.h"
#include "tavo45.h"

namespace tavo::twain {

// What goes into the files of a file transfer; page 1, 2, ... is told by the number in the name.
struct FileTarget {
  const char* name = nullptr;
  int32_t format = 0;
};

// Takes one picture from the source, which is in kTransferring afterwards, or in kReady when it
// could not even be begun. The record, which has no storage, gets it (with files its geometry
// alone) and is to be freed by its owner whatever comes. kSource, kCancelled, kNoMemory, kLimit.
Status take_picture(Session& session, uint32_t mechanism, const FileTarget& file, int32_t page,
                    BitmapHandle& record);

}  // namespace tavo::twain
