// The command line "platend backup": the state of the device in one file.
// SPDX-License-Identifier: MIT
#include "backup_command.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "backup_file.h"
#include "command.h"
#include "device/configuration.h"
#include "device/log.h"
#include "file_bytes.h"
#include "moment.h"
#include "pool_files.h"
#include "state_lock.h"
#include "template_difference.h"
#include "visit.h"

namespace platen {
namespace {

constexpr char kCommand[] = "platend backup";
constexpr char kUsage[] = "usage: platend backup FILE\n";

// The file that becomes the backup when it is whole. There is one at a time in its directory, so that
// what is there already was left by a backup that was killed.
class NewFile {
 public:
  explicit NewFile(const std::string& path)
      : lock_(std::filesystem::absolute(path)), path_(path + ".part") {
    if (!lock_.error().empty()) {
      throw std::runtime_error("the directory of " + path + " cannot be locked");
    }
    remove();
  }
  ~NewFile() { remove(); }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  void remove() const {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
      ::unlink((path_ + suffix).c_str());
    }
  }

  StateLock lock_;
  std::string path_;
};

struct Contents {
  size_t templates = 0;
  std::vector<std::string> broken;  // why, beginning with the file
};

// Nothing for a template that was deleted since it was listed.
std::optional<BackupTemplate> read_template(const ParserModule& module, const PoolEntry& entry) {
  std::optional<std::string> bytes = file_bytes(entry.path);
  if (!bytes && errno == ENOENT) return std::nullopt;
  if (!bytes) throw std::runtime_error(entry.path + " cannot be read: " + std::strerror(errno));
  std::string fault;
  read_attributes(module, entry.path, &fault);
  if (fault.starts_with(entry.path)) fault.replace(0, entry.path.size(), entry.name);
  return BackupTemplate{entry.name, entry.mode, *std::move(bytes), std::move(fault)};
}

Contents add_pools(const BackupPlace& place, BackupWriter* writer) {
  Contents contents;
  const PoolEntries entries = pool_entries(place.data);
  for (const PoolEntry& entry : entries.directories) writer->add_directory(entry.name, entry.mode);
  for (const PoolEntry& entry : entries.templates) {
    const auto found = read_template(place.module, entry);
    if (!found) continue;
    writer->add_template(*found);
    ++contents.templates;
    if (!found->fault.empty()) contents.broken.push_back(found->fault);
  }
  return contents;
}

// Keeps forms away while it reads; that the file gets to the disk is no concern of theirs.
Contents write(const BackupPlace& place, const std::string& path, const std::string& time) {
  const NewFile made(path);
  std::optional<StateLock> lock(place.database_file);
  if (!lock->error().empty()) throw std::runtime_error(lock->error());
  Contents contents;
  {
    Database file(made.path());
    BackupWriter writer(file, place.database_file);
    contents = add_pools(place, &writer);
    lock.reset();
    writer.finish(PLATEN_VERSION, time);
  }
  const std::string fault = put_in_place(made.path(), path);
  if (!fault.empty()) throw std::runtime_error(fault);
  return contents;
}

void run(const BackupPlace& place, const std::string& path, std::FILE* out) {
  Visitors visitors(place.database_file);  // which makes what tables there have to be
  const std::string time = utc_text(std::time(nullptr));
  const Contents contents = write(place, path, time);
  visitors.audit.record({"", "", "backup", path, std::string(kDone)});
  std::fprintf(out, "%s holds %zu templates, accounts and settings of %s.\n", path.c_str(),
               contents.templates, time.c_str());
  for (const std::string& broken : contents.broken) {
    std::fprintf(out, "broken, kept as it is: %s\n", one_line(broken).c_str());
  }
}

}  // namespace

int backup_command(const std::vector<std::string>& words, const BackupPlace& place, std::FILE* out,
                   std::FILE* err) {
  if (words.size() != 1 || words[0].empty() || words[0].starts_with('-')) {
    std::fputs(kUsage, err);
    return 2;
  }
  if (!has_database(place.database_file, kCommand, err)) return 1;
  try {
    std::string fault;
    if (!open_configuration(place.database_file, &fault)) throw std::runtime_error(fault);
    run(place, words[0], out);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(err, "%s: %s\n", kCommand, failure.what());
    return 1;
  }
}

}  // namespace platen
