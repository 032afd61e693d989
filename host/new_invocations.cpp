// Lets one form put several attributes into an invocation that it makes.
// SPDX-License-Identifier: MIT
#include "new_invocations.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "said.h"

namespace platen {
namespace {

using Fields = std::vector<FormField>;

constexpr std::string_view kLabel = "NewInvocation";

std::string value_in(const Fields& run, std::string_view name) {
  const auto found = std::ranges::find(run, name, &FormField::name);
  return found == run.end() ? "" : found->value;
}

bool has(const Fields& run, std::string_view name) {
  return std::ranges::find(run, name, &FormField::name) != run.end();
}

// The handler takes the word NULL for no name.
bool names_invocation(const Fields& run) {
  const std::string name = value_in(run, "InvocationName");
  return !name.empty() && name != "NULL";
}

class Namer {
 public:
  explicit Namer(const InvocationMaker& make) : make_(make) {}

  NamedEdits name(const Fields& posted) {
    Fields run;
    for (const FormField& field : posted) {
      run.push_back(field);
      if (field.name != "Action") continue;
      take(std::move(run));
      run.clear();
      if (!result_.fault.empty()) return {{}, result_.fault};
    }
    others_.insert(others_.end(), run.begin(), run.end());
    result_.fields.insert(result_.fields.end(), others_.begin(), others_.end());
    return std::move(result_);
  }

 private:
  void take(Fields run) {
    ++runs_;
    if (!value_in(run, kLabel).empty()) {
      take_new(std::move(run));
      return;
    }
    // The handler makes metadata invocations before all edits, even for runs that delete.
    const bool may_make = has(run, "InvocationName") || value_in(run, "Action") == "update";
    if (may_make && !names_invocation(run)) {
      result_.fault = said(
          "Change {1} of the form makes an entry of its own beside those that \"NewInvocation\" "
          "names; open the form's page again and send it from there.",
          runs_);
    }
    others_.insert(others_.end(), run.begin(), run.end());
  }

  void take_new(Fields run) {
    if (value_in(run, "Action") != "update" || names_invocation(run)) {
      result_.fault = said(
          "Change {1} of the form is for a new entry and for one that is there; open the form's "
          "page again and send it from there.",
          runs_);
      return;
    }
    const std::string service = value_in(run, "ServiceName");
    const auto [made, is_first] = names_.try_emplace({service, value_in(run, kLabel)});
    if (is_first) made->second = make_(service);
    if (made->second.empty()) {
      result_.fault = said(
          "Change {1} of the form is for a new entry that cannot be made; open the form's page "
          "again and send it from there.",
          runs_);
      return;
    }
    std::erase_if(run, [](const FormField& field) {
      return field.name == kLabel || field.name == "InvocationName";
    });
    if (!is_first) result_.fields.push_back({"InvocationName", made->second, "", false});
    result_.fields.insert(result_.fields.end(), run.begin(), run.end());
  }

  const InvocationMaker& make_;
  NamedEdits result_;
  Fields others_;
  std::map<std::pair<std::string, std::string>, std::string> names_;  // by service and label
  size_t runs_ = 0;
};

}  // namespace

NamedEdits name_new_invocations(const Fields& posted, const InvocationMaker& make) {
  return has(posted, kLabel) ? Namer(make).name(posted) : NamedEdits{posted, ""};
}

}  // namespace platen
