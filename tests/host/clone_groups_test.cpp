// Tests of reading the list of clone groups.
// SPDX-License-Identifier: MIT
#include "clone_groups.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

Json group(int token, const std::string& name, const std::vector<std::string>& subs = {}) {
  return {{"token", token}, {"name", name}, {"subs", subs}};
}

// Each row is a list as the module prints it, so without its last character.
TEST(CloneGroups, AreReadFromTheTextThatTheModulePrints) {
  const std::vector<std::pair<std::string, std::vector<Json>>> rows = {
      {"", {}},
      {"10,Net", {group(10, "Net")}},
      {"10,Net,20,Fax", {group(10, "Net"), group(20, "Fax")}},
      {"10,Net,A?B?", {group(10, "Net", {"A", "B"})}},
      {"10,Net,A?B?,20,Fax,", {group(10, "Net", {"A", "B"}), group(20, "Fax")}},
      {"10,Net,20,Fax,A?,30,Mail,,40,Web,B?",
       {group(10, "Net"), group(20, "Fax", {"A"}), group(30, "Mail"), group(40, "Web", {"B"})}},
      {"10,Net,A?,20,Fax,,30,Mail,",
       {group(10, "Net", {"A"}), group(20, "Fax"), group(30, "Mail")}},
      {"10,", {group(10, "")}},
      {"10,,20,Fax", {group(10, ""), group(20, "Fax")}},
      {"10,Net,?", {group(10, "Net", {""})}},
      {"0,7,-5,\xC3\x84 \"b\" </script>,&?",
       {group(0, "7"), group(-5, "\xC3\x84 \"b\" </script>", {"&"})}},
  };
  for (const auto& [text, groups] : rows) EXPECT_EQ(clone_groups(text), Json(groups)) << text;
}

TEST(CloneGroups, EndWithTheLastWholeGroupOfAListThatWasCut) {
  const Json whole = {group(10, "Net", {"A"})};
  for (const char* text : {"10,Net,A?,", "10,Net,A?,20", "10,Net,A?,2x,Fax", "10,Net,A?,B"}) {
    EXPECT_EQ(clone_groups(text), whole) << text;
  }
  EXPECT_EQ(clone_groups("10,Net,A?,20,Fax,B?C"),
            Json({group(10, "Net", {"A"}), group(20, "Fax")}));
}

}  // namespace
}  // namespace platen
