// What templates held before they were changed: kept as files of their own below one directory.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_HISTORY_H_
#define STORE_TEMPLATE_HISTORY_H_

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "template_file.h"
#include "template_status.h"

#pragma GCC visibility push(hidden)

namespace store {

inline constexpr std::size_t kMaxWho = 64;

// What replaced the kept bytes.
enum class Act : std::uint8_t { kSave, kCopy, kDelete };

std::string_view text_of(Act act);

// What the name of a version's file tells.
struct VersionName {
  std::uint64_t number = 0;  // higher ones are newer
  long long time = 0;        // seconds since 1970
  Act act = Act::kSave;
  std::string who;

  [[nodiscard]] std::string file_name() const;
  // Reads what file_name() makes; false for any other name.
  static bool read(std::string_view name, VersionName* out);
};

struct Version {
  VersionName name;
  std::string path;
  long long size = 0;
};

// Sets the history of the process; a null or empty directory is none. Needs no memory.
void set_history(const char* directory, int keep, const char* who);

// Fills `versions` with what is kept of the template, the newest first; nothing without a history.
Status list_versions(const char* path, std::vector<Version>* versions);

// The old bytes of one file, kept from before its change on. The history of the template is locked
// as long as this object lives.
class Keeping {
 public:
  // Keeps `bytes`, which the file `path` with `info` holds; does nothing without a history. On
  // failure (kHistory) nothing is kept, and the file must not be changed.
  Status keep(std::string_view path, std::string_view bytes, const struct stat& info, Act act);
  // Does the same with what the file of the locked directory, which exists, holds; nothing when
  // that equals `coming` or is too large for a template.
  Status keep_present(const LockedDirectory& file, std::string_view path, std::string_view coming,
                      Act act);
  // Ends the keeping with the outcome of the change: after a failure forgets what was kept, else
  // drops the versions that are too many. Returns the outcome.
  Status settle(const Status& change);

 private:
  Status enter(const std::string& root, const std::string& path);
  Status store(std::string_view bytes, const struct stat& info, VersionName name);
  bool newest_is(std::string_view bytes) const;

  LockedDirectory directory_;          // of the template's versions
  std::vector<VersionName> versions_;  // that were there before, the oldest first
  std::size_t surplus_ = 0;            // how many of them have to go, from the front
  bool repeats_ = false;               // the newest of them holds the same bytes and has to go
  std::string kept_;                   // name of the new version, empty = none
};

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_HISTORY_H_
