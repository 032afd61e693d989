// An open template: the content of its file, the log of its edits, and the save that replays them.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_OPEN_H_
#define STORE_TEMPLATE_OPEN_H_

#include <memory>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "template_document.h"
#include "template_file.h"
#include "template_status.h"

#pragma GCC visibility push(hidden)

namespace store {

// The bytes of one template file and the document that borrows them, in one block of memory.
class Content {
 public:
  // Makes room for a file of that size, its entries, and `extra` bytes more.
  Content(std::size_t file_size, std::size_t extra);
  Content(const Content&) = delete;
  Content& operator=(const Content&) = delete;

  // Reads and parses the opened file; called once.
  Status read(InputFile* file);
  [[nodiscard]] std::string_view bytes() const { return bytes_; }
  [[nodiscard]] Document& document() { return document_; }
  [[nodiscard]] std::pmr::memory_resource* memory() { return &memory_; }
  // Returns a copy that lives as long as this object; a view without data stays one.
  std::string_view keep(std::string_view text);

 private:
  std::pmr::monotonic_buffer_resource memory_;
  std::string_view bytes_;
  Document document_;
};

// One template opened by a path. Edits change its document only, until a save.
class OpenTemplate {
 public:
  // Opens `path` into `out`, which stays empty on failure.
  static Status open(const char* path, std::unique_ptr<OpenTemplate>* out);

  [[nodiscard]] std::string_view path() const { return path_; }
  [[nodiscard]] std::string_view bytes() const { return content_.bytes(); }
  [[nodiscard]] Document& document() { return content_.document(); }

  // Applies an edit, of which it keeps a copy for the save; a refused one changes nothing.
  Status apply(const Edit& edit);

  // Applies the edits to what the file holds by now and writes it; a file that would not change is
  // left alone. On failure the file is as it was, except after kSyncDirectory: then it is saved but
  // may not survive a power cut.
  Status save();

 private:
  OpenTemplate(std::size_t file_size, std::string_view path);

  Content content_;
  std::string_view path_;
  std::pmr::vector<Edit> log_;
};

// Copies a file that parses as a template over `to`, or to a new file there.
Status copy_template(const char* from, const char* to);

// Deletes a template file.
Status delete_template(const char* path);

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_OPEN_H_
