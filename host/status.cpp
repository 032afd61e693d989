// Gathers what the status page shows.
// SPDX-License-Identifier: MIT
#include "status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>

#include "device/messages.h"
#include "field_rules.h"
#include "moment.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;
constexpr size_t kMostTemplates = 10'000;
constexpr size_t kMostBroken = 100;
constexpr int64_t kMsPerSecond = 1000;

constexpr const char* kPoolRoots[] = {"/tmp/template/pool", "/tarn/template/pool"};
constexpr const char* kPoolParts[] = {"", "/web", "/mailbox", "/system", "/factory"};

// The templates of a directory in the order of their names; none of one that is not there.
std::vector<std::string> templates_in(const std::string& directory) {
  std::vector<std::string> files;
  std::error_code fault;
  for (fs::directory_iterator entry(directory, fault); !fault && entry != fs::end(entry);
       entry.increment(fault)) {
    std::error_code unknown;
    const std::string file = entry->path();
    if (is_template_name(file) && entry->is_regular_file(unknown)) files.push_back(file);
  }
  std::ranges::sort(files);
  return files;
}

Json worker_json(const WorkerState& worker, int64_t now) {
  const int64_t busy_since = worker.busy_since;
  return {{"process", worker.process.load()},
          {"request", busy_since == 0 ? Json() : Json(valid_utf8(worker.request.get()))},
          {"served", worker.served.load()},
          {"age", (now - worker.started) / kMsPerSecond}};
}

Json end_json(const WorkerEnd& end) {
  return {{"time", utc_text(end.time)},
          {"process", end.process.load()},
          {"cause", valid_utf8(end.cause.get())},
          {"request", valid_utf8(end.request.get())},
          {"line", valid_utf8(end.last_line.get())}};
}

Json ends_json(const ServerState& server) {
  Json ends = Json::array();
  const size_t count = server.end_count;
  for (size_t i = 0; i < std::min(count, server.ends.size()); ++i) {
    ends.push_back(end_json(server.ends[(count - 1 - i) % server.ends.size()]));
  }
  return ends;
}

}  // namespace

bool is_low(uint64_t free_bytes, uint64_t all_bytes) {
  return free_bytes < 20 * kMebibyte ||
         (free_bytes < 1024 * kMebibyte && free_bytes < all_bytes / 20);
}

Json disks_json(const std::vector<StoragePlace>& places) {
  Json disks = Json::array();
  std::map<dev_t, size_t> known;
  for (const StoragePlace& place : places) {
    struct stat status {};
    struct statvfs space {};
    if (::stat(place.directory.c_str(), &status) != 0 ||
        ::statvfs(place.directory.c_str(), &space) != 0) {
      continue;
    }
    const auto [disk, is_new] = known.try_emplace(status.st_dev, disks.size());
    if (is_new) {
      const uint64_t free_bytes = uint64_t{space.f_bavail} * space.f_frsize;
      const uint64_t all_bytes = uint64_t{space.f_blocks} * space.f_frsize;
      disks.push_back({{"names", Json::array()},
                       {"free", free_bytes},
                       {"size", all_bytes},
                       {"isLow", is_low(free_bytes, all_bytes)}});
    }
    disks[disk->second]["names"].push_back(place.name);
  }
  return disks;
}

std::string open_fault(const ParserModule& module, const std::string& file) {
  TemplateObject object = {};
  module.construct_template(&object);
  const bool is_open = module.open_template(&object, file.c_str(), O_RDONLY) != 0;
  std::string fault = is_open ? "" : module.error(&object);
  module.destruct_template(&object);
  return fault;
}

std::vector<std::string> pool_directories(const std::vector<std::string>& roots) {
  std::vector<std::string> directories;
  for (const std::string& root : roots) {
    for (const char* part : kPoolParts) directories.push_back(root + part);
  }
  return directories;
}

Json templates_json(const ParserModule& module, const std::vector<std::string>& directories) {
  size_t checked = 0;
  bool is_complete = true;
  Json broken = Json::array();
  for (const std::string& directory : directories) {
    for (const std::string& file : templates_in(directory)) {
      is_complete = checked < kMostTemplates && broken.size() < kMostBroken;
      if (!is_complete) break;
      ++checked;
      const std::string fault = open_fault(module, file);
      if (fault.empty()) continue;
      broken.push_back({{"file", valid_utf8(file)}, {"reason", valid_utf8(fault)}});
    }
    if (!is_complete) break;
  }
  return {{"checked", checked}, {"isComplete", is_complete}, {"broken", std::move(broken)}};
}

Json processes_json(const ServerState& server) {
  const int64_t now = monotonic_ms();
  Json workers = Json::array();
  for (const WorkerState& worker : server.workers) {
    if (worker.process != 0) workers.push_back(worker_json(worker, now));
  }
  const auto answered = [&](Answer answer) {
    return server.answers[static_cast<size_t>(answer)].load();
  };
  const int64_t refusals = answered(Answer::refused);
  const int64_t failures = answered(Answer::failed);
  Json restarts = Json::object();
  for (size_t i = 0; i < kEndCauses; ++i)
    restarts[kEndCauseNames[i]] = server.ends_by_cause[i].load();
  return {{"started", utc_text(server.started)},
          {"uptime", (now - server.started_ms) / kMsPerSecond},
          {"requests", answered(Answer::done) + refusals + failures},
          {"refusals", refusals},
          {"failures", failures},
          {"workers", std::move(workers)},
          {"restarts", std::move(restarts)},
          {"ends", ends_json(server)}};
}

Json status_json(const StatusSources& sources) {
  return {{"version", PLATEN_VERSION},
          {"processes", sources.server == nullptr ? Json() : processes_json(*sources.server)},
          {"poolGeneration", pool_generation()},
          {"disks", disks_json({{kPoolRoots[0], "templates"},
                                {"/var/spool/nc", "mailbox"},
                                {sources.state, "settings"}})},
          {"templates", templates_json(sources.module, pool_directories({std::begin(kPoolRoots),
                                                                         std::end(kPoolRoots)}))}};
}

}  // namespace platen
