// Writes and reads clone files.
// SPDX-License-Identifier: MIT
#include "clone_file.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include "moment.h"
#include "output_format.h"
#include "said.h"

namespace platen {
namespace {

constexpr const char* kFormat = "platen-clone";
constexpr int kVersion = 1;
constexpr int kDeepest = 4;  // of objects and lists in each other
constexpr const char* kChecksum = "checksum";
constexpr const char* kBase64 = "Base64";

std::string base64(std::string_view text) {
  std::string encoded(sodium_base64_encoded_len(text.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(encoded.data(), encoded.size(),
                    reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                    sodium_base64_VARIANT_ORIGINAL);
  encoded.pop_back();  // the terminator
  return encoded;
}

std::optional<std::string> from_base64(const std::string& encoded) {
  std::string text(encoded.size(), '\0');
  size_t length = 0;
  if (sodium_base642bin(reinterpret_cast<unsigned char*>(text.data()), text.size(), encoded.data(),
                        encoded.size(), nullptr, &length, nullptr,
                        sodium_base64_VARIANT_ORIGINAL) != 0) {
    return std::nullopt;
  }
  text.resize(length);
  return text;
}

// Adds bytes under a name, as they are where they are text.
void add_bytes(Json* object, const std::string& name, const std::string& bytes) {
  if (valid_utf8(bytes) == bytes) {
    (*object)[name] = bytes;
  } else {
    (*object)[name + kBase64] = base64(bytes);
  }
}

std::string checksum(const Json& document) { return "sha256:" + sha256(document.dump()); }

// What is wrong with a file, as a sentence. It ends the reading.
struct NoClone : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void refuse(const std::string& sentence) { throw NoClone(sentence); }

// Watches the parser: names that stand twice would hide one another.
class Watch {
 public:
  bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
    const bool begins =
        event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
    if (begins && depth >= kDeepest) {
      refuse(said("This is no clone file: lists and objects are nested too deep in it."));
    }
    const auto level = static_cast<size_t>(depth);
    if (event == Json::parse_event_t::object_start) names_.at(level).clear();
    if (event == Json::parse_event_t::key &&
        !names_.at(level - 1).insert(parsed.get<std::string>()).second) {
      refuse(said("The clone file holds the name \"{1}\" twice in one object.",
                  parsed.get<std::string>()));
    }
    return true;
  }

 private:
  std::array<std::set<std::string>, kDeepest> names_;
};

Json parse(std::string_view text) {
  try {
    return Json::parse(text, Watch());
  } catch (const Json::parse_error& fault) {
    refuse(said("This is no clone file, or it is damaged at byte {1}. Make or copy it again.",
                fault.byte));
  }
}

// The members of one object, each of which must be taken.
class Members {
 public:
  Members(const Json& object, std::string what) : object_(object), what_(std::move(what)) {
    if (!object.is_object()) refuse(said("The clone file has no usable {1}.", what_));
  }

  std::string text(const char* name) {
    const Json& member = take(name);
    if (!member.is_string()) wrong(name);
    return member.get<std::string>();
  }

  // A whole number from 1 on: 0 is the token of what belongs to no group.
  int number(const char* name) {
    const Json& member = take(name);
    const uint64_t number = member.is_number_unsigned() ? member.get<uint64_t>() : 0;
    if (number < 1 || number > kLargest) wrong(name);
    return static_cast<int>(number);
  }

  const Json& list(const char* name) {
    const Json& member = take(name);
    if (!member.is_array()) wrong(name);
    return member;
  }

  // A moment in UTC.
  std::string time(const char* name) {
    std::string moment = text(name);
    if (!parse_moment(moment)) wrong(name);
    return moment;
  }

  // Bytes that stand as text or in base 64.
  std::string bytes(const std::string& name) {
    if (object_.contains(name)) return text(name.c_str());
    const std::string encoded_name = name + kBase64;
    const auto decoded = from_base64(text(encoded_name.c_str()));
    if (!decoded) wrong(encoded_name);
    return *decoded;
  }

  // Refuses members that nobody has taken.
  void finish() const {
    for (const auto& [name, value] : object_.items()) {
      if (taken_.contains(name)) continue;
      refuse(said("The clone file holds something unknown: \"{1}\" in {2}.", name, what_));
    }
  }

 private:
  static constexpr uint64_t kLargest = 2147483647;

  const Json& take(const std::string& name) {
    const auto member = object_.find(name);
    if (member == object_.end()) wrong(name);
    taken_.insert(name);
    return *member;
  }

  [[noreturn]] void wrong(const std::string& name) const {
    refuse(said("The clone file has no usable \"{1}\" in {2}.", name, what_));
  }

  const Json& object_;
  std::string what_;
  std::set<std::string> taken_;
};

// Reads a list of objects, each by `read`.
template <typename Entry>
std::vector<Entry> read_list(Members* members, const char* name, Entry (*read)(Members&)) {
  std::vector<Entry> entries;
  for (const Json& object : members->list(name)) {
    Members entry(object, std::string(name) + "[" + std::to_string(entries.size()) + "]");
    entries.push_back(read(entry));
    entry.finish();
  }
  return entries;
}

ClonedTemplate read_template(Members& entry) {
  ClonedTemplate read{entry.text("path"), entry.number("group"), entry.bytes("text"), {}};
  for (const Json& name : entry.list("withheld")) {
    if (!name.is_string()) refuse(said("The clone file has no usable {1}.", "withheld"));
    read.withheld.push_back(name.get<std::string>());
  }
  return read;
}

void check_head(Members* members) {
  if (members->text("format") != kFormat) refuse(said("This is no clone file of Platen."));
  const int version = members->number("version");
  if (version != kVersion) {
    refuse(said("The clone file has the version {1}, and this device reads version {2}.", version,
                kVersion));
  }
}

void check_sum(const Json& parsed, const std::string& found) {
  Json rest = parsed;
  rest.erase(kChecksum);
  if (found == checksum(rest)) return;
  refuse(said("The clone file was damaged or changed after it was made: its checksum is wrong."));
}

CloneDocument read_document(const Json& parsed) {
  if (!parsed.is_object()) refuse(said("This is no clone file of Platen."));
  Members members(parsed, said("the document"));
  check_head(&members);
  check_sum(parsed, members.text(kChecksum));
  CloneDocument document;
  document.made = members.time("made");
  document.device = members.text("device");
  document.groups = read_list<CloneGroupName>(&members, "groups", [](Members& entry) {
    return CloneGroupName{entry.number("token"), entry.text("name")};
  });
  document.templates = read_list<ClonedTemplate>(&members, "templates", read_template);
  document.settings = read_list<ClonedSetting>(&members, "settings", [](Members& entry) {
    return ClonedSetting{entry.text("key"), entry.number("group"), entry.bytes("value")};
  });
  document.left_out = read_list<LeftOutTemplate>(&members, "leftOut", [](Members& entry) {
    return LeftOutTemplate{entry.text("path"), entry.text("reason")};
  });
  members.finish();
  return document;
}

}  // namespace

std::string clone_text(const CloneDocument& document) {
  Json json = {{"format", kFormat},         {"version", kVersion},     {"made", document.made},
               {"device", document.device}, {"groups", Json::array()}, {"templates", Json::array()},
               {"settings", Json::array()}, {"leftOut", Json::array()}};
  for (const CloneGroupName& group : document.groups) {
    json["groups"].push_back({{"token", group.token}, {"name", group.name}});
  }
  for (const ClonedTemplate& file : document.templates) {
    Json entry = {{"path", file.path}, {"group", file.group}};
    add_bytes(&entry, "text", file.text);
    entry["withheld"] = Json::array();
    for (const std::string& name : file.withheld) entry["withheld"].push_back(valid_utf8(name));
    json["templates"].push_back(std::move(entry));
  }
  for (const ClonedSetting& setting : document.settings) {
    Json entry = {{"key", setting.key}, {"group", setting.group}};
    add_bytes(&entry, "value", setting.value);
    json["settings"].push_back(std::move(entry));
  }
  for (const LeftOutTemplate& file : document.left_out) {
    json["leftOut"].push_back(
        {{"path", valid_utf8(file.path)}, {"reason", valid_utf8(file.reason)}});
  }
  json[kChecksum] = checksum(json);
  return json.dump(2) + "\n";
}

std::string read_clone_text(std::string_view text, CloneDocument* document) {
  if (text.size() > kLongestClone) {
    return said("The clone file is too long; it has at most {1} bytes.", kLongestClone);
  }
  try {
    *document = read_document(parse(text));
    return "";
  } catch (const NoClone& fault) {
    return fault.what();
  }
}

std::string sha256(std::string_view text) {
  std::array<unsigned char, crypto_hash_sha256_BYTES> hash{};
  crypto_hash_sha256(hash.data(), reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::string digits(2 * hash.size() + 1, '\0');
  sodium_bin2hex(digits.data(), digits.size(), hash.data(), hash.size());
  digits.pop_back();
  return digits;
}

}  // namespace platen
