// Many files into a folder.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "output_names.h"

namespace tavo::tools {

// Makes the folder and does every job there; `work` answers with an exit status. A bad input does
// not stop the others. The worst of the statuses: kExitFailure goes before kExitPartial.
int run_jobs(const std::vector<Job>& jobs, const std::string& folder,
             const std::function<int(const Job&)>& work);

}  // namespace tavo::tools
