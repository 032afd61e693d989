// Reads pages and what they include.
// SPDX-License-Identifier: MIT
#include "page.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <tuple>

#include "host_tags.h"
#include "page_check.h"

namespace platen {
namespace {

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

// The absolute path without symbolic links, or "" with errno set.
std::string real_path(const std::string& path) {
  const std::unique_ptr<char, FreeDeleter> real(::realpath(path.c_str(), nullptr));
  return real == nullptr ? "" : real.get();
}

bool is_plain_name(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) return false;
  for (;;) {
    const size_t slash = name.find('/');
    const std::string_view part = name.substr(0, slash);
    if (part.empty() || part[0] == '.') return false;
    if (slash == std::string_view::npos) return true;
    name.remove_prefix(slash + 1);
  }
}

// Reads one page with its includes, each where its tag stands.
class PageReader {
 public:
  explicit PageReader(const std::string& root) : root_(root) {}

  Page read(const std::string& name) {
    if (const std::string error = read_file(name); !error.empty()) {
      page_.faults.push_back({{name}, error});
    }
    return std::move(page_);
  }

 private:
  // Returns why the file cannot be read, or "".
  std::string read_file(const std::string& name) {
    const PageFile file = find_page_file(root_, name);
    if (file.path.empty()) return file.error;
    remember(file.path);
    std::ifstream stream(file.path, std::ios::binary);
    if (!stream) return std::string("cannot be read: ") + std::strerror(errno);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    open_files_.push_back(name);
    add(parse_page_source(name, text));
    open_files_.pop_back();
    return "";
  }

  // Notes the file's state; before it is read, so that a change meanwhile shows.
  void remember(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return;
    page_.sources.push_back({path, status.st_dev, status.st_ino, status.st_mtim, status.st_size});
  }

  void add(PageSource source) {
    for (SourcePiece& piece : source.pieces) {
      if (piece.tag) {
        add_tag(*piece.tag, piece.at);
      } else {
        page_.items.emplace_back(PageText{piece.at, std::move(piece.text)});
      }
    }
    if (source.fault) page_.faults.push_back(*source.fault);
  }

  void add_tag(const SourceTag& source, const Position& at) {
    PageTag tag;
    if (!resolve_tag(source, at, &tag, &page_.faults)) return;
    if (tag.kind == TagKind::include) {
      include(tag);
    } else {
      page_.items.emplace_back(std::move(tag));
    }
  }

  void include(const PageTag& tag) {
    if (std::ranges::find(open_files_, tag.argument) != open_files_.end()) {
      page_.faults.push_back({tag.at, "the include of " + tag.argument + " is a loop"});
      return;
    }
    if (const std::string error = read_file(tag.argument); !error.empty()) {
      page_.faults.push_back({tag.at, tag.argument + " " + error});
    }
  }

  const std::string& root_;
  std::vector<std::string> open_files_;  // from the page to the file being read
  Page page_;
};

auto fault_order(const Fault& fault) {
  return std::tie(fault.at.file, fault.at.line, fault.at.column);
}

bool same_text(const Fault& a, const Fault& b) { return fault_text(a) == fault_text(b); }

}  // namespace

PageFile find_page_file(const std::string& root, std::string_view name) {
  if (!is_plain_name(name)) return {"", "is no path below the pages directory"};
  const std::string real_root = real_path(root);
  const std::string path = real_path(root + '/' + std::string(name));
  if (path.empty()) return {"", std::string("cannot be read: ") + std::strerror(errno)};
  if (!path.starts_with(real_root + '/')) return {"", "leads out of the pages directory"};
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return {"", "is no regular file"};
  }
  return {path, ""};
}

bool is_html_page(std::string_view name) { return name.ends_with(".html"); }

bool is_script_page(std::string_view name) { return name.ends_with(".js"); }

bool is_php_page(std::string_view name) { return name.ends_with(".php"); }

Page load_page(const std::string& root, const std::string& name) {
  Page page = PageReader(root).read(name);
  if (page.faults.empty()) check_page(name, &page);
  std::ranges::stable_sort(page.faults, {}, fault_order);
  page.faults.erase(std::unique(page.faults.begin(), page.faults.end(), same_text),
                    page.faults.end());
  return page;
}

bool is_fresh(const Page& page) {
  if (!page.faults.empty()) return false;
  return std::ranges::all_of(page.sources, [](const SourceFile& file) {
    struct stat now {};
    return ::stat(file.path.c_str(), &now) == 0 && now.st_dev == file.device &&
           now.st_ino == file.inode && now.st_size == file.size &&
           now.st_mtim.tv_sec == file.modified.tv_sec &&
           now.st_mtim.tv_nsec == file.modified.tv_nsec;
  });
}

}  // namespace platen
