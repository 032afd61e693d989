// Directories of folders and jobs, read and removed.
// SPDX-License-Identifier: MIT
#include "mailbox_spool.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "module_request.h"
#include "policy.h"
#include "template_json.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSpool = "/var/spool/nc/image_store/s2mailbox/";
constexpr std::string_view kSuffix = ".KTP";
constexpr size_t kLongestJob = 62;
constexpr size_t kLongestPath = 254;

bool has_template_suffix(const std::string& name) {
  return name.size() > kSuffix.size() &&
         ::strcasecmp(name.c_str() + name.size() - kSuffix.size(), kSuffix.data()) == 0;
}

// The part before the last dot; empty without one, and when the module would not keep it.
std::string job_part(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || dot > kLongestJob ? "" : name.substr(0, dot);
}

bool is_kind(const std::string& path, mode_t kind) {
  struct stat status {};
  return !path.empty() && ::lstat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

// The entries of a directory that are not hidden, sorted by bytes; none when it cannot be read.
std::vector<fs::directory_entry> entries_of(const std::string& directory) {
  std::vector<fs::directory_entry> entries;
  std::error_code fault;
  for (auto entry = fs::directory_iterator(directory, fault); !fault && entry != fs::end(entry);
       entry.increment(fault)) {
    if (!entry->path().filename().string().starts_with('.')) entries.push_back(*entry);
  }
  std::ranges::sort(entries, {}, [](const fs::directory_entry& entry) { return entry.path(); });
  return entries;
}

std::string name_of(const fs::directory_entry& entry) { return entry.path().filename(); }

// Adds a file to those of a job unless it is a log.
void add_file(const fs::directory_entry& entry, std::vector<JobFile>* files) {
  struct stat status {};
  if (has_template_suffix(name_of(entry)) || ::lstat(entry.path().c_str(), &status) != 0 ||
      !S_ISREG(status.st_mode)) {
    return;
  }
  files->push_back({name_of(entry), static_cast<uintmax_t>(status.st_size), status.st_mtime});
}

Job read_directory_job(const std::string& folder, const fs::directory_entry& entry) {
  const std::string subf = name_of(entry);
  const std::string part = job_part(subf);
  Job job = {part.empty() ? subf : part, directory_job(folder, subf), {}};
  for (const fs::directory_entry& file : entries_of(entry.path())) add_file(file, &job.files);
  return job;
}

// A file without a suffix has no log that the module would find.
void add_flat(const std::string& folder, const fs::directory_entry& entry,
              std::map<std::string, Job>* jobs) {
  const std::string file = name_of(entry);
  const std::string part = job_part(file);
  const std::string name = part.empty() ? file : part;
  const std::string log = part.empty() ? file : part + std::string(kSuffix);
  Job& job = jobs->try_emplace(name, Job{name, {folder, "", log}, {}}).first->second;
  add_file(entry, &job.files);
}

bool holds_password(const Json& log) {
  for (const Json& service : log["services"]) {
    if (service["name"] != "qvn_dscrpt_metadata") continue;
    for (const Json& invocation : service["invocations"]) {
      for (const Json& attribute : invocation["attributes"]) {
        if (attribute["name"] == "MetaDataValue" && !attribute["values"].empty()) return true;
      }
    }
  }
  return false;
}

std::string remove_file(const std::string& path) {
  std::error_code fault;
  fs::remove_all(path, fault);
  return fault ? fault.message() : "";
}

}  // namespace

std::vector<std::string> folder_names() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : entries_of(std::string(kMailboxPool))) {
    const std::string name = name_of(entry);
    if (has_template_suffix(name)) names.push_back(name.substr(0, name.size() - kSuffix.size()));
  }
  return names;
}

bool folder_exists(const std::string& folder) {
  const std::vector<std::string> names = folder_names();
  return folder == kPublicFolder || std::ranges::find(names, folder) != names.end();
}

std::string folder_template(const std::string& folder) {
  return std::string(kMailboxPool) + '/' + folder + std::string(kSuffix);
}

std::string folder_directory(const std::string& folder) { return std::string(kSpool) + folder; }

std::vector<Job> list_jobs(const std::string& folder) {
  std::vector<Job> jobs;
  std::map<std::string, Job> flat;
  for (const fs::directory_entry& entry : entries_of(folder_directory(folder))) {
    if (is_kind(entry.path(), S_IFDIR)) {
      jobs.push_back(read_directory_job(folder, entry));
    } else if (is_kind(entry.path(), S_IFREG)) {
      add_flat(folder, entry, &flat);
    }
  }
  for (auto& [name, job] : flat) jobs.push_back(std::move(job));
  std::ranges::stable_sort(jobs, {}, &Job::name);
  return jobs;
}

JobName directory_job(const std::string& folder, const std::string& subf) {
  const std::string part = job_part(subf);
  return {folder, subf, (part.empty() ? subf : part) + std::string(kSuffix)};
}

std::string job_log(const JobName& job) {
  const std::string& named = job.subf.empty() ? job.file : job.subf;
  const std::string part = job_part(named);
  const bool is_lost = part.empty() && (job.subf.empty() || named.find('.') != std::string::npos);
  const std::string directory = job.subf.empty() ? "" : job.subf + '/';
  const std::string path =
      folder_directory(job.folder) + '/' + directory + part + std::string(kSuffix);
  return is_lost || path.size() > kLongestPath ? "" : path;
}

bool is_free_job(const ParserModule& module, const JobName& job) {
  const std::string path = job_log(job);
  if (!is_kind(path, S_IFREG)) return false;
  ModuleRequest request(module, {}, "");
  if (!request.open(path).empty()) return false;
  const Json log = template_json(module, request.record().parserTemplate);
  return !log.is_null() && !holds_password(log);
}

std::string job_file(const JobName& job) {
  const std::string directory =
      folder_directory(job.folder) + (job.subf.empty() ? "" : '/' + job.subf);
  const std::string path = directory + '/' + job.file;
  const bool may_go_out = !job.file.starts_with('.') && !has_template_suffix(job.file);
  return may_go_out && is_kind(directory, S_IFDIR) && is_kind(path, S_IFREG) ? path : "";
}

std::string remove_job(const JobName& job) {
  const std::string folder = folder_directory(job.folder);
  if (!job.subf.empty()) {
    const std::string directory = folder + '/' + job.subf;
    return is_kind(directory, S_IFDIR) ? remove_file(directory) : "there is no such job";
  }
  const std::string part = job_part(job.file);
  bool found = false;
  for (const fs::directory_entry& entry : entries_of(folder)) {
    const std::string name = name_of(entry);
    const bool is_of_job = part.empty() ? name == job.file : job_part(name) == part;
    if (!is_of_job || !is_kind(entry.path(), S_IFREG)) continue;
    found = true;
    if (std::string fault = remove_file(entry.path()); !fault.empty()) return fault;
  }
  return found ? "" : "there is no such job";
}

}  // namespace platen
