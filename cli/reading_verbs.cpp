// The verbs that print: show, get, list, check, diff, export, history, explain.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <string_view>

#include "address.h"
#include "compare/attribute_difference.h"
#include "template_file.h"
#include "template_json.h"
#include "verbs.h"

namespace ktp {
namespace {

constexpr char kGeneral[] = "qvn_svc_general";

void print_line(const std::string& text) { std::printf("%s\n", text.c_str()); }

// One line; bytes that are not UTF-8 become U+FFFD.
void print_json(const Json& json) {
  print_line(json.dump(2, ' ', false, Json::error_handler_t::replace));
}

// A text on one line: control characters and backslashes are written as escapes.
std::string one_line(std::string_view text) {
  std::string line;
  for (char byte : text) {
    auto code = static_cast<unsigned char>(byte);
    char escape[8] = {byte};
    if (code < 0x20 || code == 0x7F || byte == '\\') {
      std::snprintf(escape, sizeof escape, byte == '\\' ? "\\\\" : "\\x%02X", code);
    }
    line += escape;
  }
  return line;
}

std::string kind_of(const std::string& type, bool compulsory) {
  return " (" + one_line(type) + (compulsory ? ", compulsory)" : ")");
}

void print_attribute(const Attribute& attribute) {
  std::string head =
      one_line(address_text(attribute.service, attribute.invocation, attribute.name)) +
      kind_of(attribute.type, attribute.compulsory);
  if (attribute.values.empty()) print_line(head);
  for (const Value& value : attribute.values) print_line(head + " = " + one_line(value.text));
}

// The attribute of an address, whose missing invocation is the first one of the service.
const Attribute& find(const std::string& path, const std::vector<Attribute>& attributes,
                      const std::string& text) {
  Address address = read_attribute_address(text);
  const std::string* invocation = address.invocation ? &*address.invocation : nullptr;
  for (const Attribute& attribute : attributes) {
    if (attribute.service != address.service) continue;
    if (!invocation) invocation = &attribute.invocation;
    if (attribute.invocation == *invocation && attribute.name == address.attribute) {
      return attribute;
    }
  }
  throw Failure(kDiffers, path + ": there is no attribute " + text);
}

std::vector<std::string> names_in(const std::string& directory) {
  TemplatePoolObject pool;
  CKwtPool(&pool);
  SetPath(&pool, directory.c_str());
  std::vector<std::string> names;
  bool read = Refresh(&pool) != FALSE;
  const TEMPLATELISTNODE_STRUCT* node = GetTemplateList(&pool);
  for (; node; node = node->next) names.emplace_back(node->szFileName);
  DestructorCKwtPool(&pool);
  if (!read) throw Failure(kDiffers, directory + ": this directory cannot be read");
  return names;
}

std::string in_directory(const std::string& directory, const std::string& name) {
  return directory.ends_with('/') ? directory + name : directory + "/" + name;
}

struct Listed {
  std::string file;
  std::string creator;
  std::string description;
};

// Tells whether the filters let a template through, and what is listed of it.
bool look(const std::string& path, const Options& options, Listed* listed) {
  TemplateFile file(path);
  listed->creator = file.first_value(kGeneral, "JobTemplateCreator");
  listed->description = file.first_value(kGeneral, "JobTemplateDescription");
  bool made_by_it = options.creator.empty() || listed->creator == options.creator;
  return made_by_it && (options.service.empty() || file.has_service(options.service));
}

// Checks one template; returns how it failed, or kDone.
Exit check_one(const std::string& path, bool json, Json* faults) {
  try {
    if (path == "-") {
      read_template(path);
    } else {
      static_cast<void>(TemplateFile(path));
    }
    return kDone;
  } catch (const Failure& failure) {
    if (json) {
      faults->push_back({{"file", path}, {"fault", failure.what()}});
    } else {
      std::fprintf(stderr, "%s\n", failure.what());
    }
    return failure.status();
  }
}

// The files that an operand of check stands for.
std::vector<std::string> files_of(const std::string& operand) {
  if (!is_directory(operand)) return {operand};
  std::vector<std::string> files = names_in(operand);
  for (std::string& file : files) file = in_directory(operand, file);
  return files;
}

std::vector<platen::TemplateAttribute> comparable(const std::vector<Attribute>& attributes) {
  std::vector<platen::TemplateAttribute> list;
  for (const Attribute& attribute : attributes) {
    list.push_back({attribute.service,
                    attribute.invocation,
                    attribute.name,
                    {{}, attribute.type, attribute.compulsory}});
    for (const Value& value : attribute.values) list.back().held.values.push_back(value.text);
  }
  return list;
}

using Side = std::optional<platen::HeldAttribute>;

void print_side(char mark, const platen::AttributeDifference& row, const Side& side) {
  if (!side) return;
  std::string head = mark + one_line(address_text(row.service, row.invocation, row.attribute)) +
                     kind_of(side->type, side->compulsory);
  if (side->values.empty()) print_line(head);
  for (const std::string& value : side->values) print_line(head + " = " + one_line(value));
}

Json side_json(const Side& side) {
  if (!side) return nullptr;
  return {{"values", side->values}, {"type", side->type}, {"compulsory", side->compulsory}};
}

struct UseRow {
  std::string_view service;
  const char* page;
};
// The page on which people edit a service; all others are on the editor's.
constexpr UseRow kPages[] = {{"qvn_dscrpt_metadata", "metadata.html"},
                             {"qvn_svc_file", "destinations.html"}};

std::string page_of(const std::string& service) {
  for (const UseRow& row : kPages) {
    if (service == row.service) return row.page;
  }
  return "edit.html";
}

// What the device asks when it uses the invocation of an attribute: its prompt, or nothing.
std::string prompt_of(const std::vector<Attribute>& attributes, const Attribute& asked) {
  for (const Attribute& attribute : attributes) {
    bool is_prompt = attribute.service == asked.service && attribute.name == "MetaDataPrompt" &&
                     attribute.invocation == asked.invocation && !attribute.values.empty();
    if (is_prompt) return attribute.values.front().text;
  }
  return "";
}

std::string time_text(long long seconds) {
  auto time = static_cast<std::time_t>(seconds);
  std::tm parts = {};
  char text[32];
  ::gmtime_r(&time, &parts);
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace

Exit show(const Options& options) {
  const std::string& path = options.operands[0];
  std::vector<Attribute> attributes = read_template(path);
  if (options.json) {
    Json json = {{"file", path}};
    json.update(to_json(path, attributes));
    print_json(json);
  } else {
    for (const Attribute& attribute : attributes) print_attribute(attribute);
  }
  return kDone;
}

Exit get(const Options& options) {
  const std::string& path = options.operands[0];
  std::vector<Attribute> attributes = read_template(path);
  const Attribute& attribute = find(path, attributes, options.operands[1]);
  if (options.json) {
    print_json(attribute_json(path, attribute));
  } else {
    for (const Value& value : attribute.values) print_line(value.text);
  }
  return kDone;
}

Exit list(const Options& options) {
  const std::string& directory = options.operands[0];
  Json rows = Json::array();
  Exit status = kDone;
  for (const std::string& name : names_in(directory)) {
    Listed listed{in_directory(directory, name), "", ""};
    try {
      if (!look(listed.file, options, &listed)) continue;
    } catch (const Failure& failure) {
      std::fprintf(stderr, "%s\n", failure.what());
      status = failure.status();
      continue;
    }
    rows.push_back(
        {{"file", listed.file}, {"creator", listed.creator}, {"description", listed.description}});
    if (!options.json) print_line(listed.file);
  }
  if (options.json) print_json(rows);
  return status;
}

Exit check(const Options& options) {
  Json faults = Json::array();
  Exit worst = kDone;
  for (const std::string& operand : options.operands) {
    for (const std::string& file : files_of(operand)) {
      worst = std::max(worst, check_one(file, options.json, &faults));
    }
  }
  if (options.json) print_json(faults);
  return worst;
}

Exit diff(const Options& options) {
  auto before = comparable(read_template(options.operands[0]));
  auto after = comparable(read_template(options.operands[1]));
  auto differences = platen::find_differences(before, after);
  Json rows = Json::array();
  for (const platen::AttributeDifference& row : differences) {
    rows.push_back({{"service", row.service},
                    {"invocation", row.invocation},
                    {"attribute", row.attribute},
                    {"before", side_json(row.before)},
                    {"after", side_json(row.after)}});
    if (options.json) continue;
    print_side('-', row, row.before);
    print_side('+', row, row.after);
  }
  if (options.json) print_json(rows);
  return differences.empty() ? kDone : kDiffers;
}

Exit export_json(const Options& options) {
  print_json(to_json(options.operands[0], read_template(options.operands[0])));
  return kDone;
}

Exit show_history(const Options& options) {
  using Versions = std::unique_ptr<JT_VERSION, void (*)(JT_VERSION*)>;
  Versions versions(jt_versions(options.operands[0].c_str()), jt_free_versions);
  Json rows = Json::array();
  for (const JT_VERSION* node = versions.get(); node; node = node->next) {
    rows.push_back({{"version", node->id},
                    {"time", time_text(node->time)},
                    {"who", node->who},
                    {"act", node->act},
                    {"size", node->size},
                    {"file", node->path}});
    if (options.json) continue;
    std::printf("%6s  %s  %-6s  %8lld  %s\n", node->id, time_text(node->time).c_str(), node->act,
                node->size, one_line(node->who).c_str());
  }
  if (options.json) print_json(rows);
  return versions ? kDone : kDiffers;
}

Exit explain(const Options& options) {
  const std::string& path = options.operands[0];
  std::vector<Attribute> attributes = read_template(path);
  const Attribute& attribute = find(path, attributes, options.operands[1]);
  std::string page = page_of(attribute.service);
  std::string prompt = prompt_of(attributes, attribute);
  if (options.json) {
    Json json = attribute_json(path, attribute);
    Json lines = Json::array();
    for (const Value& value : attribute.values) lines.push_back(value.line);
    json["lines"] = lines;
    json["page"] = page;
    json["prompt"] = prompt.empty() ? Json() : Json(prompt);
    print_json(json);
    return kDone;
  }
  std::string place = path + ":" + std::to_string(attribute.line) + ": ";
  print_line(place +
             one_line(address_text(attribute.service, attribute.invocation, attribute.name)));
  print_line("type: " + one_line(attribute.type));
  print_line(std::string("compulsory: ") + (attribute.compulsory ? "yes" : "no"));
  for (const Value& value : attribute.values) {
    print_line("line " + std::to_string(value.line) + ": " + one_line(value.text));
  }
  print_line("page: " + page);
  if (!prompt.empty()) print_line("prompt: " + one_line(prompt));
  return kDone;
}

}  // namespace ktp
