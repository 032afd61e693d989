// The folders of the mailbox and the jobs in them, as they lie on the disk.
// SPDX-License-Identifier: MIT
//
// A folder is a template of the mailbox pool; its jobs lie in the spool directory of its name. A
// job is a directory, or the files of one name that lie flat in the folder. Each has a log, a file
// in template format that may hold the job's password; the module finds it by rules of its own,
// which job_log() follows.
#ifndef HOST_MAILBOX_SPOOL_H_
#define HOST_MAILBOX_SPOOL_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "parser_module.h"

namespace platen {

// The folder that everybody may scan to; it has no PIN.
inline constexpr std::string_view kPublicFolder = "_PUBLIC";

// What a job is called in addresses and forms. Requires values that policy has let through.
struct JobName {
  std::string folder;
  std::string subf;  // its directory; empty: it lies flat in the folder
  std::string file;  // one of its files, or its log for the job as a whole
};

struct JobFile {
  std::string name;
  uintmax_t size;
  int64_t modified;  // seconds since 1970
};

struct Job {
  std::string name;  // without suffix, as the module calls it; else that of its directory
  JobName address;   // with its log as the file
  std::vector<JobFile> files;
};

// The names of all folders, sorted by bytes.
std::vector<std::string> folder_names();

bool folder_exists(const std::string& folder);

// The template and the spool directory of a folder.
std::string folder_template(const std::string& folder);
std::string folder_directory(const std::string& folder);

// The jobs of a folder, sorted by bytes; hidden files and logs are no files of a job.
std::vector<Job> list_jobs(const std::string& folder);

// The job in a directory of that name, as a whole.
JobName directory_job(const std::string& folder, const std::string& subf);

// The path of the job's log; empty when it has none that can be named.
std::string job_log(const JobName& job);

// Whether everybody who may see the folder may see the job: its log was found and read, and holds
// no password.
bool is_free_job(const ParserModule& module, const JobName& job);

// The path of the job's file; empty when it is no regular file of the job, hidden, or a log.
std::string job_file(const JobName& job);

// Removes the job with all its files. Returns why not, or "".
std::string remove_job(const JobName& job);

}  // namespace platen

#endif  // HOST_MAILBOX_SPOOL_H_
