// Version files: their names, their directories, keeping and dropping them.
// SPDX-License-Identifier: MIT
#include "template_history.h"

#include <fcntl.h>
#include <limits.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

namespace store {
namespace {

constexpr std::string_view kActs[] = {"save", "copy", "delete"};
constexpr std::size_t kNumberDigits = 10;

// The setting of the process, in place: setting it cannot fail for want of memory.
struct Setting {
  std::mutex guard;
  char directory[PATH_MAX + 1];  // a longer path is cut to this length, at which no call takes it
  std::size_t keep;
  char who[kMaxWho + 1];
};

Setting& setting() {
  static Setting one = {};
  return one;
}

struct History {
  std::string root;  // empty = there is none
  std::size_t keep = 0;
  std::string who;
};

History current_history() {
  std::lock_guard<std::mutex> hold(setting().guard);
  return {setting().directory, setting().keep, setting().who};
}

// Any failure in the history is one of keeping, with the cause it had.
Status failed_to_keep(const Status& cause) {
  return cause.ok() ? cause : Status{Code::kHistory, cause.error_number, cause.reason, 0, 0};
}

// Bytes that stand for themselves in a file's name: all but the separator of paths, the mark of an
// escape, and control characters.
bool is_plain(char byte) {
  auto code = static_cast<unsigned char>(byte);
  return code >= 0x20 && code != 0x7F && byte != '/' && byte != '%';
}

std::string escaped(std::string_view text) {
  std::string result;
  for (char byte : text) {
    char hex[4] = {byte, 0, 0, 0};
    if (!is_plain(byte)) std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(byte));
    result += hex;
  }
  return result;
}

std::string unescaped(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned code = static_cast<unsigned char>(text[i]);
    if (text[i] == '%' && i + 2 < text.size()) {
      std::from_chars(text.data() + i + 1, text.data() + i + 3, code, 16);
      i += 2;
    }
    result += static_cast<char>(code);
  }
  return result;
}

std::string stamp_of(long long seconds) {
  std::chrono::sys_seconds time{std::chrono::seconds(seconds)};
  auto day = std::chrono::floor<std::chrono::days>(time);
  std::chrono::year_month_day date(day);
  std::chrono::hh_mm_ss<std::chrono::seconds> clock(time - day);
  char text[64];
  std::snprintf(text, sizeof text, "%04d%02u%02uT%02d%02d%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

// Takes a number of `size` characters, and what follows it, from the front of a text; what is no
// number comes out as 0.
std::uint64_t take_number(std::string_view* text, std::size_t size, std::size_t skip) {
  std::string_view digits = text->substr(0, size);
  std::uint64_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  text->remove_prefix(std::min(text->size(), size + skip));
  return number;
}

long long take_stamp(std::string_view* text) {
  auto year = static_cast<int>(take_number(text, 4, 0));
  auto month = static_cast<unsigned>(take_number(text, 2, 0));
  auto day = static_cast<unsigned>(take_number(text, 2, 1));
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(day)};
  auto hour = static_cast<long long>(take_number(text, 2, 0));
  auto minute = static_cast<long long>(take_number(text, 2, 0));
  auto second = static_cast<long long>(take_number(text, 2, 2));
  return std::chrono::sys_seconds(std::chrono::sys_days(date)).time_since_epoch().count() +
         hour * 3600 + minute * 60 + second;
}

Status list_names(const std::string& directory, std::vector<VersionName>* versions) {
  std::vector<std::string> files;
  Status status = list_directory(directory.c_str(), &files);
  for (const std::string& file : files) {
    VersionName name;
    if (VersionName::read(file, &name)) versions->push_back(std::move(name));
  }
  std::sort(
      versions->begin(), versions->end(),
      [](const VersionName& left, const VersionName& right) { return left.number < right.number; });
  return status;
}

Status read_all(InputFile* file, std::string* bytes) {
  bytes->resize(file->size() + 1);
  Status status = file->read(bytes->data());
  bytes->resize(file->size());
  return status;
}

}  // namespace

std::string_view text_of(Act act) { return kActs[static_cast<std::size_t>(act)]; }

std::string VersionName::file_name() const {
  std::string digits = std::to_string(number);
  if (digits.size() < kNumberDigits) digits.insert(0, kNumberDigits - digits.size(), '0');
  return digits + "-" + stamp_of(time) + "-" + std::string(text_of(act)) + "-" + escaped(who);
}

// Takes the name apart without looking closely: only one that is made of the same parts is right.
bool VersionName::read(std::string_view name, VersionName* out) {
  std::string_view rest = name;
  out->number = take_number(&rest, kNumberDigits, 1);
  out->time = take_stamp(&rest);
  std::size_t dash = std::min(rest.find('-'), rest.size());
  const auto* act = std::find(std::begin(kActs), std::end(kActs), rest.substr(0, dash));
  if (act == std::end(kActs) || dash == rest.size()) return false;
  out->act = static_cast<Act>(act - std::begin(kActs));
  out->who = unescaped(rest.substr(dash + 1));
  return out->file_name() == name;
}

void set_history(const char* directory, int keep, const char* who) {
  std::lock_guard<std::mutex> hold(setting().guard);
  std::snprintf(setting().directory, sizeof setting().directory, "%s", directory ? directory : "");
  std::snprintf(setting().who, sizeof setting().who, "%s", who ? who : "");
  setting().keep = static_cast<std::size_t>(std::max(keep, 1));
}

Status list_versions(const char* path, std::vector<Version>* versions) {
  History history = current_history();
  if (history.root.empty()) return {};
  std::string real;
  Status status = real_path(path, &real);
  if (!status.ok()) return status;
  std::string directory = history.root + real;
  std::vector<VersionName> names;
  status = list_names(directory, &names);
  if (!status.ok()) return status;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    std::string file_path = directory + "/" + name->file_name();
    InputFile file;
    if (!file.open(AT_FDCWD, file_path.c_str()).ok()) continue;  // dropped meanwhile
    versions->push_back(
        {std::move(*name), std::move(file_path), static_cast<long long>(file.size())});
  }
  return status;
}

// Directories that were just made, or whose maker may have been killed, are brought to the disk
// before the first version is.
Status Keeping::enter(const std::string& root, const std::string& path) {
  std::string directory = root + path;
  Status status = directory_.lock_directory(directory);
  bool missing = !status.ok() && status.error_number == ENOENT;
  if (missing) {
    status = make_directories(root, path);
    if (status.ok()) status = directory_.lock_directory(directory);
  }
  if (status.ok()) status = list_names(directory, &versions_);
  if (status.ok() && versions_.empty() && !missing) status = make_directories(root, path);
  return status;
}

// A saver that was killed before it replaced the file, but after it kept the old bytes, left a
// version behind that equals the file.
bool Keeping::newest_is(std::string_view bytes) const {
  if (versions_.empty()) return false;
  InputFile file;
  std::string held;
  return file.open(directory_.descriptor(), versions_.back().file_name().c_str()).ok() &&
         file.size() == bytes.size() && read_all(&file, &held).ok() && held == bytes;
}

Status Keeping::store(std::string_view bytes, const struct stat& info, VersionName name) {
  name.number = versions_.empty() ? 1 : versions_.back().number + 1;
  name.time = current_time();
  std::string file = name.file_name();
  directory_.choose(file);
  Status status = directory_.replace(bytes, info, Owner::kKeepOrHide);
  if (status.ok()) {
    kept_ = std::move(file);
  } else {
    directory_.drop(file);
  }
  return status;
}

Status Keeping::keep(std::string_view path, std::string_view bytes, const struct stat& info,
                     Act act) {
  History history = current_history();
  if (history.root.empty()) return {};
  std::string real;
  Status status = real_path(path, &real);
  if (status.ok()) status = enter(history.root, real);
  if (!status.ok()) return failed_to_keep(status);
  repeats_ = newest_is(bytes);
  std::size_t room = history.keep - 1 + (repeats_ ? 1 : 0);
  surplus_ = versions_.size() - std::min(versions_.size(), room);
  return failed_to_keep(store(bytes, info, {0, 0, act, std::move(history.who)}));
}

Status Keeping::keep_present(const LockedDirectory& file, std::string_view path,
                             std::string_view coming, Act act) {
  if (current_history().root.empty()) return {};
  InputFile present;
  Status status = present.open(file.descriptor(), file.name());
  if (status.code == Code::kTooLarge) return {};
  std::string bytes;
  if (status.ok()) status = read_all(&present, &bytes);
  if (!status.ok()) return failed_to_keep(status);
  if (coming.data() && bytes == coming) return {};
  return keep(path, bytes, present.info(), act);
}

Status Keeping::settle(const Status& change) {
  if (kept_.empty()) return change;
  bool changed = change.ok() || change.code == Code::kSyncDirectory;
  if (!changed) {
    directory_.drop(kept_);
    return change;
  }
  if (repeats_) {
    directory_.drop(versions_.back().file_name());
    versions_.pop_back();
  }
  for (std::size_t i = 0; i < std::min(surplus_, versions_.size()); ++i) {
    directory_.drop(versions_[i].file_name());
  }
  return change;
}

}  // namespace store
