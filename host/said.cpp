// Translates the host's own texts by the phrase files.
// SPDX-License-Identifier: MIT
#include "said.h"

#include "device/phrases.h"
#include "platform/server.h"

namespace platen {
namespace {

std::string& current_language() {
  static std::string language(kDefaultLanguage);
  return language;
}

// Whether "{N}" with an argument N begins at `at`.
bool is_mark(std::string_view text, size_t at, size_t arguments) {
  if (text.size() - at < 3 || text[at] != '{' || text[at + 2] != '}') return false;
  const char number = text[at + 1];
  return number >= '1' && number <= '9' && static_cast<size_t>(number - '0') <= arguments;
}

std::string filled(std::string_view text, const std::vector<std::string>& arguments) {
  std::string result;
  for (size_t at = 0; at < text.size();) {
    if (is_mark(text, at, arguments.size())) {
      result += arguments[static_cast<size_t>(text[at + 1] - '1')];
      at += 3;
    } else {
      result += text[at++];
    }
  }
  return result;
}

}  // namespace

void speak(const std::string& language) { current_language() = language; }

const std::string& spoken_language() { return current_language(); }

Speaking::Speaking(std::string_view language) : before_(spoken_language()) {
  speak(std::string(language));
}

Speaking::~Speaking() { speak(before_); }

std::string said_text(std::string_view english, const std::vector<std::string>& arguments) {
  const std::string phrase = std::string(english) + "?";
  const char* text = Server_Translate_Phrase(phrase.c_str(), spoken_language().c_str());
  return filled(text == nullptr ? english : std::string_view(text), arguments);
}

}  // namespace platen
