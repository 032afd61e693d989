// What is never cloned: passwords, PINs, session ids and the like.
// SPDX-License-Identifier: MIT
//
// A setting or an attribute is secret by its name. A field of metadata that is masked when it is
// typed, or whose own name is that of a secret, has a secret value and a secret default.
#ifndef HOST_CLONE_SECRETS_H_
#define HOST_CLONE_SECRETS_H_

#include <string>
#include <string_view>
#include <vector>

#include "parser_module.h"
#include "template_difference.h"

namespace platen {

// Whether the last part of a name, behind its last dot, is the word for a secret or ends in one, as
// "password", "LoginPassword", "S2M_JOB_PASSWORD", "PIN" and "JobPin" do. What only begins with one
// is none: "publicPasswordEnabled".
bool is_secret_name(std::string_view name);

// The attributes of a template whose values are secret and not empty, in its order.
std::vector<TemplateAttribute> secret_attributes(const std::vector<TemplateAttribute>& attributes);

// A template without its secrets.
struct WithheldText {
  std::string text;                // byte for byte the file but for the lines that hold secrets
  std::vector<std::string> names;  // the attributes that were taken out, each once
  std::string fault;               // why the file cannot be read, in the store's words
};

// Takes the secret attributes out of the template file `path`, whose bytes are `text`, and comments
// that look like one.
WithheldText withhold_secrets(const ParserModule& module, const std::string& path,
                              std::string_view text);

// A template file and its bytes.
struct TemplateText {
  const std::string& path;
  const std::string& text;
};

// The bytes of `next` with the secrets that `present` holds, so that a template without secrets may
// take its place: a secret attribute that `next` lacks is added to its invocation. It stays out
// where `next` has no attributes in that invocation, or where its first value does not stand in the
// line of its name.
std::string with_secrets_of(const ParserModule& module, const TemplateText& present,
                            const TemplateText& next);

}  // namespace platen

#endif  // HOST_CLONE_SECRETS_H_
