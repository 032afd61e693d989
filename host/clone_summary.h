// What a clone file that was read in would change on this device.
// SPDX-License-Identifier: MIT
#ifndef HOST_CLONE_SUMMARY_H_
#define HOST_CLONE_SUMMARY_H_

#include <string>
#include <vector>

#include "clone_contents.h"
#include "clone_file.h"
#include "clone_menu.h"
#include "output_format.h"
#include "parser_module.h"

namespace platen {

// What a clone file is laid over.
struct CloneTarget {
  const ParserModule& module;
  const CloneContents& contents;
  const CloneMenu& menu;
};

// One template or setting of the file.
struct CloneItem {
  enum class Kind { file, setting };
  enum class State {
    same,     // the device has it as it is in the file
    added,    // the device lacks it
    changed,  // the device has another one
    blocked,  // it stays as it is on this device
  };

  Kind kind;
  std::string name;  // its path or key
  int group;
  State state = State::same;
  std::string note = "";     // what to know about it, or why it is blocked; "" = nothing
  std::string value = "";    // what to store: the bytes of the template with the secrets that the
                             // device has for it, or the value of the setting
  Json detail = nullptr;     // the difference of a template, or the present value of a setting
  std::string present = "";  // what the device holds now, to notice changes

  bool is_applicable() const { return state == State::added || state == State::changed; }
};

// Judges a whole document: what its names, sizes and texts are, whether everything belongs to a
// group of this device, and that no secret is in it. Returns why it is refused, as a sentence that
// names what is at fault, or "".
std::string check_clone(const CloneTarget& target, const CloneDocument& document);

// The items of a document that was checked, in its order, templates first.
std::vector<CloneItem> compare_clone(const CloneTarget& target, const CloneDocument& document);

// A text that is another one as soon as the device holds something else for one of the items.
std::string clone_digest(const std::vector<CloneItem>& items);

// The items as pages get them.
Json clone_items_json(const CloneMenu& menu, const CloneDocument& document,
                      const std::vector<CloneItem>& items);

}  // namespace platen

#endif  // HOST_CLONE_SUMMARY_H_
