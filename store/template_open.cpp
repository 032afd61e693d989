// Opens, edits, saves, copies and deletes one template.
// SPDX-License-Identifier: MIT
#include "template_open.h"

#include <fcntl.h>

#include <cerrno>
#include <string>

#include "template_history.h"
#include "template_syntax.h"

namespace store {
namespace {

// Generous for files that people write, so that reading one takes a single allocation.
std::size_t expected_entries(std::size_t file_size) { return file_size / 16 + 16; }

char* allocate_bytes(std::pmr::memory_resource* memory, std::size_t size) {
  return static_cast<char*>(memory->allocate(size, 1));
}

}  // namespace

Content::Content(std::size_t file_size, std::size_t extra)
    : memory_(file_size + 1 + extra + expected_entries(file_size) * sizeof(Entry) + alignof(Entry)),
      document_(&memory_) {}

Status Content::read(InputFile* file) {
  char* buffer = allocate_bytes(&memory_, file->size() + 1);
  Status status = file->read(buffer);
  if (!status.ok()) return status;
  bytes_ = {buffer, file->size()};
  document_.entries().reserve(expected_entries(bytes_.size()));
  return parse(bytes_, document_.entries());
}

std::string_view Content::keep(std::string_view text) {
  if (text.data() == nullptr) return text;
  char* copy = allocate_bytes(&memory_, text.size() + 1);
  text.copy(copy, text.size());
  return {copy, text.size()};
}

OpenTemplate::OpenTemplate(std::size_t file_size, std::string_view path)
    : content_(file_size, path.size() + 1), path_(content_.keep(path)), log_(content_.memory()) {}

Status OpenTemplate::open(const char* path, std::unique_ptr<OpenTemplate>* out) {
  InputFile file;
  Status status = file.open(AT_FDCWD, path);
  if (!status.ok()) return status;
  std::unique_ptr<OpenTemplate> opened(new OpenTemplate(file.size(), path));
  status = opened->content_.read(&file);
  if (status.ok()) *out = std::move(opened);
  return status;
}

Status OpenTemplate::apply(const Edit& edit) {
  log_.push_back({edit.operation, content_.keep(edit.service), content_.keep(edit.invocation),
                  content_.keep(edit.attribute), content_.keep(edit.type),
                  content_.keep(edit.value), edit.mark});
  Status status;
  try {
    status = document().apply(log_.back(), Absent::kRefuse);
  } catch (...) {
    log_.pop_back();
    throw;
  }
  if (!status.ok()) log_.pop_back();
  return status;
}

Status OpenTemplate::save() {
  if (log_.empty()) return {};
  LockedDirectory directory;
  Status status = directory.lock(path_);
  if (!status.ok()) return status;
  InputFile file;
  status = file.open(directory.descriptor(), directory.name());
  if (!status.ok()) return status;
  Content present(file.size(), 0);
  status = present.read(&file);
  if (!status.ok()) return status;
  Entries before = present.document().entries();
  present.document().replay(log_);
  present.document().adopt(before);
  std::string bytes = render(present.bytes(), before, present.document().entries());
  if (bytes == present.bytes()) return {};
  if (bytes.size() > kMaxFileSize) return {Code::kTooLarge, 0, nullptr, 0, 0};
  Keeping keeping;
  status = keeping.keep(path_, present.bytes(), file.info(), Act::kSave);
  if (!status.ok()) return status;
  return keeping.settle(directory.replace(bytes, file.info(), Owner::kKeep));
}

Status copy_template(const char* from, const char* to) {
  InputFile source;
  Status status = source.open(AT_FDCWD, from);
  if (!status.ok()) return status;
  Content content(source.size(), 0);
  status = content.read(&source);
  if (!status.ok()) return status;
  LockedDirectory directory;
  status = directory.lock(to);
  if (!status.ok()) return status;
  struct stat info = {};
  bool exists = false;
  status = directory.inspect(&info, &exists);
  if (!status.ok()) return status;
  bool same_file =
      exists && info.st_dev == source.info().st_dev && info.st_ino == source.info().st_ino;
  if (same_file) return {};
  if (!exists) return directory.replace(content.bytes(), source.info(), Owner::kNew);
  Keeping keeping;
  status = keeping.keep_present(directory, to, content.bytes(), Act::kCopy);
  if (!status.ok()) return status;
  return keeping.settle(directory.replace(content.bytes(), info, Owner::kKeep));
}

Status delete_template(const char* path) {
  LockedDirectory directory;
  Status status = directory.lock(path);
  if (!status.ok()) return status;
  struct stat info = {};
  bool exists = false;
  status = directory.inspect(&info, &exists);
  if (!status.ok()) return status;
  if (!exists) return {Code::kDelete, ENOENT, nullptr, 0, 0};
  Keeping keeping;
  status = keeping.keep_present(directory, path, {}, Act::kDelete);
  return status.ok() ? keeping.settle(directory.remove()) : status;
}

}  // namespace store
