// Lists of attributes to nested objects, and nested objects to lines of a template file.
// SPDX-License-Identifier: MIT
#include "template_json.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <string_view>

namespace ktp {
namespace {

std::string place_of(const std::string& path, int line) {
  return path + ":" + std::to_string(line) + ":1: ";
}

// Checks a text by having it printed.
void require_utf8(const std::string& path, const std::string& text, int line) {
  try {
    static_cast<void>(Json(text).dump());
  } catch (const Json::type_error&) {
    throw Failure(kBroken, place_of(path, line) + "JSON holds UTF-8 only, and this is none");
  }
}

void require_utf8(const std::string& path, const Attribute& attribute) {
  for (const std::string* text :
       {&attribute.service, &attribute.invocation, &attribute.name, &attribute.type}) {
    require_utf8(path, *text, attribute.line);
  }
  for (const Value& value : attribute.values) require_utf8(path, value.text, value.line);
}

Json values_json(const Attribute& attribute) {
  Json values = Json::array();
  for (const Value& value : attribute.values) values.push_back(value.text);
  return values;
}

// The last element of a list if it has that name, else a new one with an empty list of its own.
Json& last_named(Json& list, const std::string& name, const char* members) {
  if (list.empty() || list.back()["name"] != name) {
    list.push_back({{"name", name}, {members, Json::array()}});
  }
  return list.back()[members];
}

// Appends a text of which the special bytes, and blanks at the edges, are written as escapes.
void append_text(std::string* out, std::string_view text, std::string_view special) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    char byte = text[i];
    auto code = static_cast<unsigned char>(byte);
    bool edge_blank = byte == ' ' && (i == 0 || i + 1 == text.size());
    bool plain = code >= 0x20 && code != 0x7F && byte != '\\' && !edge_blank &&
                 special.find(byte) == std::string_view::npos;
    char escape[8] = {byte};
    if (!plain) std::snprintf(escape, sizeof escape, "\\x%02X", code);
    *out += byte == '\\' ? "\\\\" : escape;
  }
}

// Reads JSON members strictly; every fault names the member by its place.
class Reader {
 public:
  Reader(const std::string& path, std::string* out) : path_(path), out_(*out) {}

  void read_template(const Json& root) {
    for (const Json& service : list(root, "services", {"services", "file"}, "the document")) {
      std::string name = header(service, "service", {"name", "invocations"});
      for (const Json& invocation : list(service, "invocations", {}, "service " + name)) {
        read_invocation(invocation);
      }
    }
  }

 private:
  [[noreturn]] void refuse(const std::string& fault) {
    throw Failure(kBroken, path_ + ": " + fault);
  }

  [[noreturn]] void refuse_member(const std::string& where, const std::string& name) {
    refuse(where + ": the member \"" + name + "\" is unknown");
  }

  void read_invocation(const Json& invocation) {
    std::string name = header(invocation, "invocation", {"name", "attributes"});
    for (const Json& attribute : list(invocation, "attributes", {}, "invocation " + name)) {
      read_attribute(attribute);
    }
  }

  void read_attribute(const Json& attribute) {
    const std::string where = "attribute " + text(attribute, "name", "an attribute");
    list(attribute, "values", {"name", "type", "compulsory", "values"}, where);
    out_ += "    ";
    append_text(&out_, text(attribute, "name", where), "(#[=");
    out_ += " (";
    append_text(&out_, text(attribute, "type", where), ",)");
    if (!attribute.contains("compulsory") || !attribute["compulsory"].is_boolean()) {
      refuse(where + ": \"compulsory\" has to be true or false");
    }
    out_ += attribute["compulsory"].get<bool>() ? ", compulsory)" : ")";
    const Json& values = attribute["values"];
    for (const Json& value : values) {
      if (!value.is_string()) refuse(where + ": each of \"values\" has to be a text");
      out_ += values.size() == 1 ? " = " : "\n      = ";
      append_text(&out_, checked(value.get<std::string>(), where), "");
    }
    out_ += '\n';
  }

  // Writes the line of a service or invocation; returns its name.
  std::string header(const Json& object, const char* kind,
                     std::initializer_list<std::string_view> members) {
    require_members(object, members, std::string("a ") + kind);
    std::string name = text(object, "name", std::string("a ") + kind);
    out_ += kind[0] == 's' ? (out_.empty() ? "[" : "\n[") : "  [";
    out_ += kind;
    out_ += ' ';
    append_text(&out_, name, "]");
    out_ += "]\n";
    return name;
  }

  void require_members(const Json& object, std::initializer_list<std::string_view> members,
                       const std::string& where) {
    if (!object.is_object()) refuse(where + " has to be an object");
    for (const auto& [name, member] : object.items()) {
      bool known =
          members.size() == 0 || std::find(members.begin(), members.end(), name) != members.end();
      if (!known) refuse_member(where, name);
    }
  }

  const Json& list(const Json& object, const char* member,
                   std::initializer_list<std::string_view> members, const std::string& where) {
    require_members(object, members, where);
    if (!object.contains(member) || !object[member].is_array()) {
      refuse(where + ": \"" + member + "\" has to be a list");
    }
    return object[member];
  }

  std::string text(const Json& object, const char* member, const std::string& where) {
    bool is_text = object.is_object() && object.contains(member) && object[member].is_string();
    if (!is_text || object[member].get_ref<const std::string&>().empty()) {
      refuse(where + ": \"" + member + "\" has to be a text that is not empty");
    }
    return checked(object[member].get<std::string>(), where);
  }

  std::string checked(std::string text, const std::string& where) {
    if (text.find('\0') != std::string::npos) refuse(where + ": a template holds no NUL");
    return text;
  }

  const std::string& path_;
  std::string& out_;
};

}  // namespace

Json to_json(const std::string& path, const std::vector<Attribute>& attributes) {
  Json services = Json::array();
  for (const Attribute& attribute : attributes) {
    require_utf8(path, attribute);
    Json& invocations = last_named(services, attribute.service, "invocations");
    Json& list = last_named(invocations, attribute.invocation, "attributes");
    list.push_back({{"name", attribute.name},
                    {"type", attribute.type},
                    {"compulsory", attribute.compulsory},
                    {"values", values_json(attribute)}});
  }
  return {{"services", services}};
}

Json attribute_json(const std::string& path, const Attribute& attribute) {
  require_utf8(path, attribute);
  return {{"file", path},
          {"service", attribute.service},
          {"invocation", attribute.invocation},
          {"attribute", attribute.name},
          {"type", attribute.type},
          {"compulsory", attribute.compulsory},
          {"line", attribute.line},
          {"values", values_json(attribute)}};
}

std::string from_json(const std::string& path, const std::string& text) {
  std::string out;
  try {
    Reader(path, &out).read_template(Json::parse(text));
  } catch (const Json::parse_error& fault) {
    std::size_t end = std::min(fault.byte, text.size());
    std::size_t line = 1;
    std::size_t column = 1;
    for (std::size_t i = 0; i + 1 < end; ++i) {
      column = text[i] == '\n' ? 1 : column + 1;
      line += text[i] == '\n' ? 1 : 0;
    }
    throw Failure(kBroken, path + ":" + std::to_string(line) + ":" + std::to_string(column) +
                               ": it is no JSON");
  }
  return out;
}

}  // namespace ktp
