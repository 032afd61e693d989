// The command line "platend restore": what a backup holds, put back.
// SPDX-License-Identifier: MIT
#include "restore_command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "backup_file.h"
#include "command.h"
#include "device/configuration.h"
#include "device/log.h"
#include "file_bytes.h"
#include "platform/configapi.h"
#include "pool_files.h"
#include "staged_file.h"
#include "state_lock.h"
#include "template_difference.h"
#include "template_history.h"
#include "visit.h"

namespace platen {
namespace {

constexpr char kCommand[] = "platend restore";
constexpr char kUsage[] = "usage: platend restore [--check] FILE\n";
constexpr char kReloadKey[] = "services[templatePool].localUpdating";

struct Counts {
  size_t replaced = 0;
  size_t same = 0;
  size_t deleted = 0;
};

// A backup in a copy of its own, which nobody changes between its check and its use.
class Backup {
 public:
  explicit Backup(const std::string& path) : copy_(bytes_of(path)), database_(copy_.path()) {}

  const std::string& file() const { return copy_.path(); }
  BackupReader reader() { return BackupReader(database_); }

 private:
  static std::string bytes_of(const std::string& path) {
    std::optional<std::string> bytes = file_bytes(path);
    if (!bytes) throw std::runtime_error(path + " cannot be read: " + std::strerror(errno));
    return *std::move(bytes);
  }

  StagedFile copy_;
  Database database_;
};

// What the store says of a template that it could read when the backup was made; "" = it still can.
std::string template_fault(const ParserModule& module, const BackupTemplate& one) {
  if (!one.fault.empty()) return "";
  const StagedFile file(one.bytes);
  std::string fault;
  read_attributes(module, file.path(), &fault);
  return fault.starts_with(file.path()) ? one.name + fault.substr(file.path().size()) : fault;
}

// What is wrong with the backup, or "".
std::string check(const ParserModule& module, const std::string& path, Backup* backup) {
  BackupReader reader = backup->reader();
  std::string fault = reader.fault();
  if (!fault.empty()) return path + " " + fault;
  reader.each_template([&](const BackupTemplate& one) {
    fault = template_fault(module, one);
    return fault.empty();
  });
  return fault.empty() ? "" : path + " holds a template that this platend cannot read: " + fault;
}

// Puts templates in their place, and remembers what fails.
class Restoration {
 public:
  explicit Restoration(const ParserModule& module) : module_(module) {}

  void make_directory(const std::string& name, unsigned mode) {
    if (::mkdir(name.c_str(), mode) != 0 && errno != EEXIST) {
      fail(name + " cannot be made: " + std::strerror(errno));
    }
  }

  void put(const BackupTemplate& one) {
    const auto present = file_bytes(one.name);
    if (present == one.bytes) {
      ++counts_.same;
      return;
    }
    const bool done = one.fault.empty() ? copy(one) : put_broken(one, present.has_value());
    if (done) ++counts_.replaced;
  }

  void remove(const std::string& name) {
    if (module_.delete_template(name.c_str()) != 0) {
      ++counts_.deleted;
    } else {
      fail_by_store(name + " cannot be deleted");
    }
  }

  const Counts& counts() const { return counts_; }
  const std::vector<std::string>& failures() const { return failures_; }

 private:
  void fail(const std::string& text) { failures_.push_back(text); }

  // Some failures are told by the store alone, in lines.
  void fail_by_store(const std::string& text) {
    char* lines = module_.failures();
    fail(lines == nullptr ? text : text + ": " + std::string(lines, std::strcspn(lines, "\n")));
    std::free(lines);
  }

  bool copy(const BackupTemplate& one) {
    const StagedFile file(one.bytes);
    ::chmod(file.path().c_str(), one.mode | S_IRUSR);
    if (module_.copy_template(file.path().c_str(), one.name.c_str()) == KWT_SUCCESS) return true;
    fail_by_store(one.name + " cannot be written");
    return false;
  }

  // The store copies no template that it cannot read; it only keeps what was there.
  bool put_broken(const BackupTemplate& one, bool is_there) {
    if (is_there && module_.delete_template(one.name.c_str()) == 0) {
      fail_by_store(one.name + " cannot be replaced");
      return false;
    }
    const std::string made = one.name + ".part";
    std::ofstream file(made, std::ios::binary | std::ios::trunc);
    file.write(one.bytes.data(), static_cast<std::streamsize>(one.bytes.size()));
    file.close();
    ::chmod(made.c_str(), one.mode);
    const std::string fault =
        file ? put_in_place(made, one.name) : made + " cannot be written: " + std::strerror(errno);
    if (!fault.empty()) fail(fault);
    return fault.empty();
  }

  const ParserModule& module_;
  Counts counts_;
  std::vector<std::string> failures_;
};

void restore_templates(BackupReader reader, Restoration* restoration) {
  reader.each_directory([&](const std::string& name, unsigned mode) {
    restoration->make_directory(name, mode);
    return true;
  });
  reader.each_template([&](const BackupTemplate& one) {
    restoration->put(one);
    return true;
  });
  for (const PoolEntry& entry : pool_entries("").templates) {
    if (!reader.has_template(entry.name)) restoration->remove(entry.name);
  }
}

void tell_broken(BackupReader reader, std::FILE* out) {
  reader.each_template([&](const BackupTemplate& one) {
    if (!one.fault.empty()) {
      std::fprintf(out, "broken when the backup was made, put back as it was: %s\n",
                   one_line(one.fault).c_str());
    }
    return true;
  });
}

// The device and the workers learn of it as of any change: by the database and by files.
void restore_state(const BackupPlace& place, const std::string& path, const Backup& backup) {
  Visitors visitors(place.database_file);  // which makes what tables there have to be
  restore_rows(visitors.database, backup.file());
  Cfg_SetAttrValue(kReloadKey, "TRUE");
  visitors.audit.record({"", "", "restore", path, std::string(kDone)});
}

int restore(const BackupPlace& place, const std::string& path, Backup* backup, std::FILE* out,
            std::FILE* err) {
  const StateLock lock(place.database_file);
  if (!lock.error().empty()) throw std::runtime_error(lock.error());
  place.module.set_history(place.history.c_str(), kKeptVersions, kCommand);
  Restoration restoration(place.module);
  restore_templates(backup->reader(), &restoration);
  const Counts& counts = restoration.counts();
  std::fprintf(out, "templates: %zu put back, %zu were the same, %zu deleted\n", counts.replaced,
               counts.same, counts.deleted);
  for (const std::string& failure : restoration.failures()) {
    std::fprintf(err, "%s: %s\n", kCommand, one_line(failure).c_str());
  }
  if (!restoration.failures().empty()) {
    std::fprintf(err, "%s: accounts and settings are as they were; run it again to complete it\n",
                 kCommand);
    return 1;
  }
  restore_state(place, path, *backup);
  tell_broken(backup->reader(), out);
  std::fprintf(out, "accounts and settings are those of %s; all sessions have ended\n",
               backup->reader().time().c_str());
  return 0;
}

int run(const std::vector<std::string>& words, const BackupPlace& place, std::FILE* out,
        std::FILE* err) {
  const std::string path = restored_file(words);
  Backup backup(path);
  std::string fault = check(place.module, path, &backup);
  if (!fault.empty()) throw std::runtime_error(fault + "; nothing was changed");
  if (words.size() == 2) {
    std::fprintf(out, "%s is a whole backup of %s\n", path.c_str(), backup.reader().time().c_str());
    return 0;
  }
  if (!open_configuration(place.database_file, &fault)) throw std::runtime_error(fault);
  return restore(place, path, &backup, out, err);
}

}  // namespace

std::string restored_file(const std::vector<std::string>& words) {
  const bool is_understood = words.size() == 1 || (words.size() == 2 && words[0] == "--check");
  return is_understood && !words.back().starts_with('-') ? words.back() : "";
}

int restore_command(const std::vector<std::string>& words, const BackupPlace& place, std::FILE* out,
                    std::FILE* err) {
  if (restored_file(words).empty()) {
    std::fputs(kUsage, err);
    return 2;
  }
  try {
    return run(words, place, out, err);
  } catch (const std::exception& failure) {
    std::fprintf(err, "%s: %s\n", kCommand, failure.what());
    return 1;
  }
}

}  // namespace platen
