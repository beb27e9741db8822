#include "jobs.h"

#include "failure.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {

int run_jobs(const std::vector<Job>& jobs, const std::string& folder,
             const std::function<int(const Job&)>& work) {
  if (!make_folder(folder))
    throw Failure{folder, "The folder cannot be made: " + last_error_text(), T_ERR_CREATE};
  int worst = kExitOk;
  for (const Job& job : jobs) {
    try {
      if (work(job) == kExitPartial && worst == kExitOk) worst = kExitPartial;
    } catch (const Failure& failure) {
      check_signals();
      report(failure);
      worst = kExitFailure;
    }
  }
  return worst;
}

}  // namespace tavo::tools
