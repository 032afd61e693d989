// Turns the store's statuses into failures, and its walk into a list.
// SPDX-License-Identifier: MIT
#include "template_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace ktp {
namespace {

constexpr char kDefaultTemplate[] = "/tmp/template/pool/system/default.ktp";
constexpr char kStandardInput[] = "-";

struct StatusRow {
  KWTSTATUS status;
  Exit exit;
  const char* text;
};
// What the failure of a copy, which comes as a number alone, and that of an open mean.
constexpr StatusRow kStatuses[] = {
    {KWTERR_FILE_OPEN, kDiffers, "it cannot be opened"},
    {KWTERR_FILE_ACCES, kNotPermitted, "it is no regular file, or there is no permission"},
    {KWTERR_FILE_SIZE, kBroken, "a template has at most 4 MiB"},
    {KWTERR_INVALID_DATA, kBroken, "it is no template"},
    {KWTERR_LOCK_CREATE, kSaveFailed, "its directory is missing or cannot be locked"},
    {KWTERR_FILE_CREATE, kSaveFailed, "no file can be made in its directory"},
    {KWTERR_FILE_WRITE, kSaveFailed, "it cannot be written"},
};

const StatusRow& row_of(KWTSTATUS status) {
  static constexpr StatusRow kOther = {KWTERR_INVALID, kSaveFailed, "it failed"};
  for (const StatusRow& row : kStatuses) {
    if (row.status == status) return row;
  }
  return kOther;
}

int collect(void* context, const char* service, const char* invocation, const char* attribute,
            const char* type, bool_t compulsory, int line, const char* value) {
  auto& list = *static_cast<std::vector<Attribute>*>(context);
  bool goes_on = !list.empty() && list.back().name == attribute &&
                 list.back().invocation == invocation && list.back().service == service;
  if (!goes_on) {
    list.push_back({service, invocation, attribute, type, compulsory != FALSE, line, {}});
  }
  if (value) list.back().values.push_back({value, line});
  return 0;
}

using OwnedFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::string read_stream(std::FILE* stream, const std::string& name) {
  std::string bytes;
  char buffer[65536];
  while (std::size_t count = std::fread(buffer, 1, sizeof buffer, stream)) {
    bytes.append(buffer, count);
  }
  if (std::ferror(stream)) throw Failure(kDiffers, name + ": it cannot be read");
  return bytes;
}

// What the store remembers of this process's failures, without the last line's end.
std::string remembered_failures() {
  std::unique_ptr<char, void (*)(void*)> lines(jt_failures(), std::free);
  std::string text = lines ? lines.get() : "";
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

}  // namespace

TemporaryFile::TemporaryFile(std::string_view bytes, mode_t mode) {
  path_ = std::filesystem::temp_directory_path() / "ktp.XXXXXX";
  int file = ::mkstemp(path_.data());
  OwnedFile stream(file < 0 ? nullptr : ::fdopen(file, "w"), std::fclose);
  bool written = stream && std::fwrite(bytes.data(), 1, bytes.size(), stream.get()) == bytes.size();
  if (!written || std::fflush(stream.get()) != 0 || ::fchmod(file, mode) != 0) {
    ::unlink(path_.c_str());
    throw Failure(kSaveFailed, path_ + ": it cannot be written: " + std::strerror(errno));
  }
}

TemporaryFile::~TemporaryFile() { ::unlink(path_.c_str()); }

TemplateFile::TemplateFile(const std::string& path) : path_(path) {
  CKwtTemplate(&object_);
  if (Open(&object_, path.c_str(), O_RDWR)) return;
  Failure failure(row_of(GetLastTemplateError(&object_)).exit, jt_error(&object_));
  DestructorCKwtTemplate(&object_);
  throw failure;
}

TemplateFile::~TemplateFile() { DestructorCKwtTemplate(&object_); }

std::vector<Attribute> TemplateFile::attributes() {
  std::vector<Attribute> list;
  jt_walk(&object_, collect, &list);
  return list;
}

std::string TemplateFile::first_value(const char* service, const char* attribute) {
  char* value =
      ReadAttributeStringWInvocUseFirstAsString(&object_, service, nullptr, attribute, TRUE);
  std::string text = value ? value : "";
  jt_destroy_value_string(&object_, value);
  return text;
}

std::vector<std::string> TemplateFile::invocations(const std::string& service) {
  std::vector<std::string> names;
  const INVOCATION_STRUCT* node = ListInvocations(&object_, service.c_str());
  for (; node; node = node->next) names.emplace_back(node->szInvocationName);
  return names;
}

bool TemplateFile::has_service(const std::string& service) {
  return ListInvocations(&object_, service.c_str()) != nullptr;
}

void TemplateFile::save() {
  if (!Close(&object_, 1)) throw Failure(kSaveFailed, jt_error(&object_));
}

std::vector<Attribute> read_template(const std::string& path) {
  if (path != kStandardInput) return TemplateFile(path).attributes();
  TemporaryFile copy(read_bytes(path), S_IRUSR | S_IWUSR);
  try {
    return TemplateFile(copy.path()).attributes();
  } catch (const Failure& failure) {
    std::string text = failure.what();
    throw Failure(failure.status(), kStandardInput + text.substr(copy.path().size()));
  }
}

std::string plain_path(const std::string& path) {
  std::error_code fault;
  std::filesystem::path plain = std::filesystem::weakly_canonical(path, fault);
  return fault ? path : plain.string();
}

bool is_directory(const std::string& path) {
  std::error_code fault;
  return std::filesystem::is_directory(path, fault);
}

void guard(const std::string& path, bool force) {
  if (force || plain_path(path) != kDefaultTemplate) return;
  throw Failure(kNotPermitted, path +
                                   ": all new scan jobs start from this template; "
                                   "--force changes it all the same");
}

void copy_template(const std::string& from, const std::string& to) {
  static_cast<void>(TemplateFile(from));  // tells line and column of what is wrong with it
  KWTSTATUS status = CopyCKwtTemplate(from.c_str(), to.c_str());
  if (status == KWT_SUCCESS) return;
  std::string remembered = remembered_failures();
  const StatusRow& row = row_of(status);
  Exit exit = row.exit == kNotPermitted ? kNotPermitted : kSaveFailed;
  throw Failure(exit, remembered.empty() ? to + ": " + row.text : remembered);
}

std::string read_bytes(const std::string& path) {
  if (path == kStandardInput) return read_stream(stdin, path);
  OwnedFile file(std::fopen(path.c_str(), "re"), std::fclose);
  if (!file) throw Failure(kDiffers, path + ": it cannot be opened: " + std::strerror(errno));
  return read_stream(file.get(), path);
}

}  // namespace ktp
