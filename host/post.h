// A posted form on its way through the checks, and how it ends.
// SPDX-License-Identifier: MIT
#ifndef HOST_POST_H_
#define HOST_POST_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "form_body.h"
#include "http_message.h"
#include "next_page.h"
#include "output_format.h"
#include "policy.h"

namespace platen {

// A form whose fields are decoded.
struct Post {
  const FormRule& form;
  std::vector<FormField> fields;  // as posted
  std::string page;               // the address of the page that it came from
};

// Where a form leads: to the page of this server that it names, else to `otherwise`.
inline std::string next_page(const Post& post, const std::string& otherwise) {
  const std::string wanted = field_value(post.fields, "NextPage");
  return is_local_path(wanted) ? wanted : otherwise;
}

// How a form ends. Done: status 303, and the text is what to tell on the next page. Else the text
// says why not and what to do.
struct Outcome {
  int status = 303;
  std::string text;
  std::string field;               // the field that is at fault; empty when none is
  std::string next_page;           // of a form that is done; empty: where it says, else its page
  Json conflicts = Json::array();  // edits that would overwrite what somebody else stored
  std::vector<Field> headers;      // for the answer
  std::string wrong;  // of a form that is done: what was wrong all the same, for the audit
  std::string file;   // of a form that is done: the path of a file to send instead
  std::optional<Response> response;  // of a form that is done: the answer instead

  bool done() const { return status == 303; }
};

inline Outcome success(std::string text, std::string next_page = "") {
  Outcome outcome;
  outcome.text = std::move(text);
  outcome.next_page = std::move(next_page);
  return outcome;
}

inline Outcome refusal(int status, std::string text, std::string field = "") {
  Outcome outcome;
  outcome.status = status;
  outcome.text = std::move(text);
  outcome.field = std::move(field);
  return outcome;
}

// Status 429, with the seconds until the next try is heard.
Outcome too_many_tries(int64_t seconds);

}  // namespace platen

#endif  // HOST_POST_H_
