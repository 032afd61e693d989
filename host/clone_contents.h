// What belongs to each group of the clone page: template files and settings.
// SPDX-License-Identifier: MIT
//
// The device tells it by a text file, "clone/data/clone_contents" below its directory nc_dlms_data.
// A line is what belongs to a group, a tab, and the token of the group, or of the sub-group where
// those are to be chosen one by one; empty lines and lines that begin with "#" are skipped. What
// begins with "/" names templates by their full path, anything else settings by their key. One "*"
// stands for any characters but "/": anywhere in the name of a template, at the end of a key. What
// two lines match belongs to the first.
//
//   /tmp/template/pool/web/*.KTP<TAB>9101
//   network.time.*<TAB>9122
#ifndef HOST_CLONE_CONTENTS_H_
#define HOST_CLONE_CONTENTS_H_

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace platen {

// What one line names.
struct CloneRule {
  std::string before;  // what stands before the "*"
  std::string after;   // and behind it
  bool has_star;
  int token;

  bool matches(std::string_view text) const;
};

class CloneContents {
 public:
  // Reads `file` in place of what was read before. Returns false and sets `error` to "FILE: reason"
  // or "FILE:LINE: reason" when it cannot be read or a line is not as described, names templates
  // outside the pools or as shipped, or a setting that is secret.
  bool load(const std::string& file, std::string* error);

  // The token of the group or sub-group that a template or a setting belongs to; 0 = none. Secret
  // settings belong to none, whatever the lines say.
  int token_of_template(std::string_view path) const;
  int token_of_setting(std::string_view key) const;

  // All tokens that hold something.
  std::set<int> tokens() const;

  // The directories in which templates of these tokens may lie, sorted.
  std::vector<std::string> directories(const std::set<int>& tokens) const;

  // The template files of the device that belong to these tokens, sorted by their paths.
  std::vector<std::string> templates(const std::set<int>& tokens) const;

 private:
  std::vector<CloneRule> templates_;
  std::vector<CloneRule> settings_;
};

// The file of the device; "" when its paths name no such directory.
std::string clone_contents_file();

}  // namespace platen

#endif  // HOST_CLONE_CONTENTS_H_
