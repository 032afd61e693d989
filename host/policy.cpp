// The table of fields and the kinds of their values.
// SPDX-License-Identifier: MIT
#include "policy.h"

#include <strings.h>

#include <algorithm>
#include <string_view>

namespace platen {
namespace {

// What a value must be. A path that is not in its shortest form is refused, never rewritten, as the
// module and the store compare and cut paths by their bytes.
enum class Kind {
  text,           // any bytes but NUL
  template_path,  // of a template file below a pool
  directory,      // a pool or a directory below one
};

struct FieldRule {
  std::string_view name;
  Kind kind;
  size_t limit;  // in bytes
};

constexpr size_t kPathLimit = 254;
constexpr size_t kNameLimit = 255;

// The query fields of pages. Each may be given once: of repeated fields some functions take the
// first and others the last.
constexpr FieldRule kPageFields[] = {
    {"ParserFilename", Kind::template_path, kPathLimit},
    {"TemplateDir", Kind::directory, kPathLimit},
    {"ServiceName", Kind::text, kNameLimit},
    {"InvocationName", Kind::text, kNameLimit},
    {"AttributeName", Kind::text, kNameLimit},
    {"AttributeType", Kind::text, kNameLimit},
};

// The pools of templates. The mailbox spool is none: its job logs hold passwords.
constexpr std::string_view kPools[] = {"/tmp/template/pool", "/tarn/template/pool"};

constexpr std::string_view kSuffix = ".KTP";

bool is_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

bool is_in_pool(std::string_view path, bool or_pool_itself) {
  return std::ranges::any_of(kPools, [&](std::string_view pool) {
    return path.starts_with(pool) &&
           (path.size() == pool.size() ? or_pool_itself : path[pool.size()] == '/');
  });
}

// A path in its shortest form has no empty part, no "." and no "..", and no slash at its end.
bool is_shortest(std::string_view path) {
  const std::string closed = std::string(path) + '/';
  return closed.find("//") == std::string::npos && closed.find("/./") == std::string::npos &&
         closed.find("..") == std::string::npos;
}

bool is_template_name(std::string_view path) {
  const std::string name(path.substr(path.rfind('/') + 1));
  return name.size() > kSuffix.size() && name[0] != '.' &&
         ::strcasecmp(name.c_str() + name.size() - kSuffix.size(), kSuffix.data()) == 0;
}

// What is wrong with a path of either kind, or "".
std::string path_fault(std::string_view path, bool directory) {
  if (std::ranges::any_of(path, is_control)) return "holds a control character";
  if (path.find('|') != std::string_view::npos) return "holds the character \"|\"";
  if (!is_shortest(path)) {
    return "is not in its shortest form; leave out \"..\", \".\" and needless slashes";
  }
  if (!is_in_pool(path, directory)) {
    return "is not below a template pool; it begins with " + std::string(kPools[0]) + "/ or " +
           std::string(kPools[1]) + "/";
  }
  if (!directory && !is_template_name(path)) return "names no template; its name ends in .KTP";
  return "";
}

std::string value_fault(const FieldRule& rule, std::string_view value) {
  if (value.size() > rule.limit) {
    return "is too long; it has at most " + std::to_string(rule.limit) + " bytes";
  }
  if (value.find('\0') != std::string_view::npos) return "holds a NUL byte";
  if (rule.kind == Kind::text) return "";
  return path_fault(value, rule.kind == Kind::directory);
}

std::string named(std::string_view name) { return "The field \"" + std::string(name) + "\" "; }

}  // namespace

std::string refuse_page_fields(const std::vector<Field>& fields) {
  for (const auto& [name, value] : fields) {
    const auto* rule = std::ranges::find(kPageFields, name, &FieldRule::name);
    if (rule == std::end(kPageFields)) {
      return named(name) + "is not known to any page; leave it out.";
    }
    if (std::ranges::count(fields, name, &Field::first) > 1) {
      return named(name) + "is given twice; give it once.";
    }
    if (const std::string fault = value_fault(*rule, value); !fault.empty()) {
      return named(name) + fault + ".";
    }
  }
  return "";
}

}  // namespace platen
