// What the host itself tells a visitor, in the visitor's language.
// SPDX-License-Identifier: MIT
#ifndef HOST_SAID_H_
#define HOST_SAID_H_

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platen {

// The language of said() from now on, in the whole process, which answers one request at a time:
// each begins with its visitor's. English until the first call.
void speak(const std::string& language);

const std::string& spoken_language();

// Speaks another language while it lives: what the log gets is English.
class Speaking {
 public:
  explicit Speaking(std::string_view language);
  ~Speaking();
  Speaking(const Speaking&) = delete;
  Speaking& operator=(const Speaking&) = delete;

 private:
  std::string before_;
};

// An English text that is said later, such as one in a table.
class Sentence {
 public:
  template <size_t size>
  explicit constexpr Sentence(const char (&english)[size]) : english_(english, size - 1) {}

  constexpr std::string_view english() const { return english_; }

 private:
  std::string_view english_;
};

inline std::string said_argument(std::string_view text) { return std::string(text); }
std::string said_argument(std::integral auto number) { return std::to_string(number); }

// The text whose token in the phrase files is the English one, or the English one where the
// language has none. {1} to {9} stand for the arguments, which are not searched for such marks
// again; a mark without an argument stays as it is.
std::string said_text(std::string_view english, const std::vector<std::string>& arguments);

// The same for a text of the program and for texts and whole numbers to put into it. What is said
// stands in the call or in a Sentence, as a string literal: tests look there for what the phrase
// files must hold.
template <size_t size, typename... Arguments>
std::string said(const char (&english)[size], const Arguments&... arguments) {
  return said_text(Sentence(english).english(), {said_argument(arguments)...});
}

template <typename... Arguments>
std::string said(const Sentence& sentence, const Arguments&... arguments) {
  return said_text(sentence.english(), {said_argument(arguments)...});
}

}  // namespace platen

#endif  // HOST_SAID_H_
