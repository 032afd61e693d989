// Changed options and pages checked and taken over.
// SPDX-License-Identifier: MIT
#include "reload.h"

#include <string>
#include <vector>

#include "device/log.h"
#include "log_file.h"
#include "platend_conf.h"
#include "platform/log.h"
#include "served_files.h"

namespace platen {
namespace {

constexpr const char* kSource = "reload.cpp";

bool log_faults(const std::vector<std::string>& faults) {
  for (const std::string& fault : faults) {
    Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "Not reloaded: %s", fault.c_str());
  }
  return !faults.empty();
}

}  // namespace

bool reload(Options* options, Service* service, Front* front) {
  Options fresh;
  std::string fault;
  parse_options(options->arguments, &fresh, &fault);
  if (log_faults(complete_options(&fresh)) || log_faults(served_file_faults(fresh))) return false;
  if ((front != nullptr && !front->certificate_is_sound(&fault)) ||
      (!fresh.log_file.empty() && !redirect_log(fresh.log_file, &fault)) ||
      !load_served_files(fresh, &fault) ||
      (front != nullptr && !front->choose_pages(fresh.pages, &fault))) {
    return !log_faults({fault});
  }
  for (const std::string& name : take_over(fresh, options)) {
    Log_Entry(LOG_LEVEL_WARNING, kSource, __LINE__,
              "The setting %s has changed and counts from the next start on.", name.c_str());
  }
  service->choose_pages(options->pages);
  if (front != nullptr) front->renew_certificate();
  set_log_level(options->log_level);
  return true;
}

}  // namespace platen
