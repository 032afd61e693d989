// Calls the module's clone function and reads its log.
// SPDX-License-Identifier: MIT
#include "clone_menu.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "device/log.h"
#include "module_request.h"
#include "platform/log.h"
#include "platform/server.h"
#include "said.h"

namespace platen {
namespace {

constexpr const char* kFunction = "HTTP_Parser_Clone_fn";
constexpr size_t kMostTokens = 50;

constexpr std::string_view kNoFile = "Can't open clone web file";
constexpr std::string_view kNoValue = "Value for ";
constexpr std::string_view kNotSatisfied = "OptionCondition is not satisfied";
constexpr std::string_view kNoName = "Unable to translate the token ";

using Tokens = std::vector<int>;

Tokens group_tokens(const ParserModule& module) {
  std::array<int, kMostTokens> tokens{};
  const int count = module.clone_groups(tokens.data());
  return {tokens.begin(), tokens.begin() + count};
}

Tokens sub_group_tokens(const ParserModule& module, int group) {
  std::array<int, kMostTokens> tokens{};
  const int count = module.clone_sub_groups(group, tokens.data());
  return {tokens.begin(), tokens.begin() + count};
}

std::optional<std::string> name_in(const std::string& language, int token) {
  const std::string phrase = std::to_string(token) + "?";
  const char* text = Server_Translate_Phrase(phrase.c_str(), language.c_str());
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

// Keeps the errors that are logged while it lives.
class Errors {
 public:
  Errors() { set_log_observer(&Errors::observe, this); }
  ~Errors() { set_log_observer(nullptr, nullptr); }
  Errors(const Errors&) = delete;
  Errors& operator=(const Errors&) = delete;

  std::vector<std::string> take() { return std::move(lines_); }

 private:
  static void observe(void* context, const LogLine& line) {
    if (line.level == LOG_LEVEL_ERROR)
      static_cast<Errors*>(context)->lines_.emplace_back(line.text);
  }

  std::vector<std::string> lines_;
};

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

// What the function prints, as JSON, and the errors that it logs.
Json call_clone(const ParserModule& module, const std::string& language,
                std::vector<std::string>* lines) {
  ModuleRequest request(module, {}, language);
  const std::unique_ptr<FILE, CloseFile> nowhere(std::fopen("/dev/null", "we"));
  if (nowhere == nullptr) throw std::bad_alloc();
  TagOutput output(*find_parser_function(kFunction), Format::json);
  std::string no_argument;
  Errors errors;
  RequestRecord& record = request.record();
  record.outfs = nowhere.get();
  record.tag = &output;
  module.output_function(kFunction)(&record, no_argument.data());
  record.tag = nullptr;
  record.outfs = nullptr;
  *lines = errors.take();
  return Json::parse(output.finish());
}

CloneGroup group_of(const ParserModule& module, const Json& printed, const std::string& language) {
  CloneGroup group{printed["token"], printed["name"], {}};
  for (const int token : sub_group_tokens(module, group.token)) {
    if (auto name = name_in(language, token)) group.subs.push_back({token, *std::move(name)});
  }
  return group;
}

// The setting that a group depends on, and the value that it must have.
struct Condition {
  std::array<char, 1065> key{};
  std::array<char, 21> value{};
};

Condition condition_of(const ParserModule& module, int token) {
  Condition condition;
  module.clone_condition(token, condition.key.data(), condition.value.data());
  return condition;
}

// Explains the lines of the log. Each group that was left out has one line, in the order of the
// groups; a sub-group's line names its token.
class Explanation {
 public:
  Explanation(const ParserModule& module, const std::string& language, Tokens left_out)
      : module_(module), language_(language), left_out_(std::move(left_out)) {}

  // The sentence for one line; "" for a line of another kind.
  std::string sentence(std::string_view line) {
    if (line == kNoFile) {
      return said("The device's list of groups cannot be read. Look for the file {1}.",
                  "clone/data/clone_file_webui");
    }
    if (line == kNotSatisfied || line.starts_with(kNoValue)) return unmet(line == kNotSatisfied);
    return line.starts_with(kNoName) ? unnamed(line.substr(kNoName.size())) : "";
  }

 private:
  std::string unmet(bool has_value) {
    if (next_ == left_out_.size()) return "";
    const int token = left_out_[next_++];
    const Condition condition = condition_of(module_, token);
    const std::string name = name_in(language_, token).value_or(std::to_string(token));
    const std::string key = valid_utf8(condition.key.data());
    if (!has_value) {
      return said("\"{1}\" is left out: it depends on the setting {2}, which has no value.", name,
                  key);
    }
    return said("\"{1}\" is left out: it is for devices whose setting {2} is {3}.", name, key,
                valid_utf8(condition.value.data()));
  }

  std::string unnamed(std::string_view digits) {
    int token = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), token);
    if (next_ < left_out_.size() && left_out_[next_] == token) {
      ++next_;
      return said("The group {1} is left out: it has no name in this language.", token);
    }
    return said("The sub-group {1} is not shown: it has no name in this language.", token);
  }

  const ParserModule& module_;
  const std::string& language_;
  Tokens left_out_;
  size_t next_ = 0;
};

}  // namespace

std::set<int> CloneMenu::tokens() const {
  std::set<int> all;
  for (const CloneGroup& group : groups) {
    all.insert(group.token);
    for (const CloneSubGroup& sub : group.subs) all.insert(sub.token);
  }
  return all;
}

std::string CloneMenu::name_of(int token) const {
  for (const CloneGroup& group : groups) {
    if (group.token == token) return group.name;
    const auto sub = std::ranges::find(group.subs, token, &CloneSubGroup::token);
    if (sub != group.subs.end()) return group.name + ": " + sub->name;
  }
  return "";
}

CloneMenu read_clone_menu(const ParserModule& module, const std::string& language) {
  CloneMenu menu;
  std::vector<std::string> lines;
  for (const Json& printed : call_clone(module, language, &lines)) {
    menu.groups.push_back(group_of(module, printed, language));
  }
  Tokens left_out;
  if (!lines.empty() && lines.front() != kNoFile) left_out = group_tokens(module);
  std::erase_if(left_out, [&](int token) {
    return std::ranges::find(menu.groups, token, &CloneGroup::token) != menu.groups.end();
  });
  Explanation explanation(module, language, std::move(left_out));
  for (const std::string& line : lines) {
    std::string sentence = explanation.sentence(line);
    if (!sentence.empty()) menu.left_out.push_back(std::move(sentence));
  }
  return menu;
}

}  // namespace platen
