// An output file that appears complete or not at all.
#pragma once

#include <string>

#include "system.h"
#include "temporary.h"

namespace tavo::tools {

// How this process writes its outputs. Who writes many of them, of which nobody else knows, sets it
// once.
struct OutputHabits {
  bool is_synced = true;       // a file is on the disk before it gets its name
  bool syncs_folder = false;   // and the name, too, before the work goes on
  bool takes_turns = true;     // with other runs that may write the same file
  bool makes_folders = false;  // that of the output, if need be
};
OutputHabits& output_habits();

// Stands for the file `target`, "-" being standard output, while it is written under another name
// beside it. Without commit the target is as it was, and nothing is left.
class OutputFile {
 public:
  // With `keep_content` the work starts from a copy of the target when there is one, and no other
  // run of this program, nor who uses the library, changes the target until this one is done; one
  // that is at it is waited for.
  OutputFile(std::string target, bool keep_content);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Where to write; absolute.
  const std::string& path() const { return work_.path(); }

  // Whether the work starts from something.
  bool has_content() const { return has_content_; }

  // Puts the finished file in the target's place, whose permissions stay.
  void commit();

 private:
  void check_target(FileKind kind) const;
  void take_turn();
  void make_work_file();
  void copy_target();
  bool put_in_place();

  std::string target_;      // as the user calls it
  std::string final_path_;  // where it ends up, links followed
  TemporaryFile work_;
  LockFile turn_;
  ReadLock content_lock_;
  bool is_special_ = false;  // a pipe or a device: it cannot be replaced, only written to
  bool has_content_ = false;
};

}  // namespace tavo::tools
