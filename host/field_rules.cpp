// Judges single values.
// SPDX-License-Identifier: MIT
#include "field_rules.h"

#include <strings.h>

#include <algorithm>

#include "ascii.h"
#include "moment.h"
#include "said.h"

namespace platen {
namespace {

// The pools of templates. The mailbox spool is none: its job logs hold passwords.
constexpr std::string_view kPools[] = {"/tmp/template/pool", "/tarn/template/pool"};

constexpr std::string_view kSuffix = ".KTP";

// A path in its shortest form has no empty part, no "." and no "..", and no slash at its end.
bool is_shortest(std::string_view path) {
  const std::string closed = std::string(path) + '/';
  return closed.find("//") == std::string::npos && closed.find("/./") == std::string::npos &&
         closed.find("..") == std::string::npos;
}

// What no path and no file name may hold. The module's open cuts its argument at "|": a copy named
// "a.KTP|b.KTP" would be made, and its name then be written into a.KTP.
std::string byte_fault(std::string_view value) {
  if (std::ranges::any_of(value, is_control)) return said("holds a control character");
  if (value.find('|') != std::string_view::npos) return said("holds the character \"|\"");
  return "";
}

std::string path_fault(std::string_view path, bool is_directory) {
  if (std::string fault = byte_fault(path); !fault.empty()) return fault;
  if (!is_shortest(path)) {
    return said("is not in its shortest form; leave out \"..\", \".\" and needless slashes");
  }
  const std::string_view pool = pool_of(path);
  if (pool.empty() || (path == pool && !is_directory)) {
    return said("is not below a template pool; it begins with {1}/ or {2}/", kPools[0], kPools[1]);
  }
  if (!is_directory && !is_template_name(path))
    return said("names no template; its name ends in .KTP");
  return "";
}

// The handlers put a directory in front and check nothing.
std::string file_name_fault(std::string_view name) {
  if (std::string fault = byte_fault(name); !fault.empty()) return fault;
  if (name.find('/') != std::string_view::npos) return said("holds a slash; give a name only");
  if (name.find("..") != std::string_view::npos) return said("holds \"..\"");
  if (name.starts_with('.')) return said("begins with a dot; such files are hidden");
  if (!is_template_name(name)) return said("is no name of a template; it ends in .KTP");
  return "";
}

// The handlers put these names between the slashes of paths and the marks of addresses.
std::string entry_fault(std::string_view name) {
  if (std::string fault = byte_fault(name); !fault.empty()) return fault;
  if (name.empty()) return said("is empty");
  if (name.find_first_of("/&") != std::string_view::npos) return said("holds a slash or \"&\"");
  if (name.find("..") != std::string_view::npos) return said("holds \"..\"");
  return name.starts_with('.') ? said("begins with a dot; such files are hidden") : "";
}

// The settings keep a folder's PIN in a line of the form key="value" in which nothing is escaped.
std::string folder_fault(std::string_view name) {
  if (std::string fault = entry_fault(name); !fault.empty()) return fault;
  if (name.find_first_of("\"'=\\") != std::string_view::npos) {
    return said("holds a quote, \"=\" or a backslash");
  }
  return name == "_PUBLIC" ? said("is the name of the public folder; choose another") : "";
}

std::string word_fault(std::string_view words, std::string_view value) {
  const std::string list = ' ' + std::string(words) + ' ';
  const bool is_one = value.find(' ') == std::string_view::npos && !value.empty();
  if (is_one && list.find(' ' + std::string(value) + ' ') != std::string::npos) return "";
  return said("is none of the words it may be: {1}", words);
}

std::string moment_fault(std::string_view value) {
  if (parse_moment(value)) return "";
  return said("is no time; write one as in 2026-11-21, or 2026-11-21T10:16");
}

std::string number_fault(std::string_view value) {
  if (std::ranges::all_of(value, is_digit) && value[0] != '0') return "";
  return said("is no whole number from 1 on");
}

}  // namespace

std::string value_fault(const FieldRule& rule, std::string_view value) {
  if (value.size() > rule.limit) {
    return said("is too long; it has at most {1} bytes", rule.limit);
  }
  if (rule.kind != Kind::file && value.find('\0') != std::string_view::npos) {
    return said("holds a NUL byte");
  }
  switch (rule.kind) {
    case Kind::text:
    case Kind::file:
      break;
    case Kind::word:
      return word_fault(rule.words, value);
    case Kind::secret:
      return std::ranges::any_of(value, is_control) ? said("holds a control character") : "";
    case Kind::template_path:
      return path_fault(value, false);
    case Kind::directory:
      return path_fault(value, true);
    case Kind::file_name:
      return file_name_fault(value);
    case Kind::entry:
      return entry_fault(value);
    case Kind::optional_entry:
      return value.empty() ? "" : entry_fault(value);
    case Kind::folder:
      return folder_fault(value);
    case Kind::optional_word:
      return value.empty() ? "" : word_fault(rule.words, value);
    case Kind::optional_moment:
      return value.empty() ? "" : moment_fault(value);
    case Kind::optional_number:
      return value.empty() ? "" : number_fault(value);
  }
  return "";
}

bool is_template_name(std::string_view path) {
  const std::string name(path.substr(path.rfind('/') + 1));
  return name.size() > kSuffix.size() && name[0] != '.' &&
         ::strcasecmp(name.c_str() + name.size() - kSuffix.size(), kSuffix.data()) == 0;
}

std::string_view pool_of(std::string_view path) {
  for (const std::string_view pool : kPools) {
    if (path.starts_with(pool) && (path.size() == pool.size() || path[pool.size()] == '/')) {
      return pool;
    }
  }
  return "";
}

}  // namespace platen
