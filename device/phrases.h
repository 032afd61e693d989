// The phrases of the device's pages in each installed language.
// SPDX-License-Identifier: MIT
//
// A directory holds at most one file per language, named CODE.txt with the language's code in lower case,
// for example "de-de.txt". A line is a token, a tab and the text; empty lines and lines that begin
// with "#" are skipped. Tokens are numbers where the module asks for them, words elsewhere.
// Server_Translate_Phrase() of platform/server.h reads from what was loaded.
#ifndef DEVICE_PHRASES_H_
#define DEVICE_PHRASES_H_

#include <string>
#include <string_view>
#include <vector>

namespace platen {

// The language that is used where no wanted one is installed.
inline constexpr std::string_view kDefaultLanguage = "en-us";

// Loads every language of `directories` in place of what was loaded before; texts handed out before
// are gone then. A language may have a file in several directories: a later one adds its tokens and
// replaces those of an earlier one. A directory that does not exist holds no language. Returns false
// and sets `error` to a sentence that names the file, and the line where there is one, when a
// directory or file cannot be read, a file's name is no language code, a line is not as described,
// a token stands twice in a file, a text is not UTF-8, or no directory has the default language;
// what was loaded before stays in use.
bool load_phrases(const std::vector<std::string>& directories, std::string* error);

// Reads them as load_phrases() does, and finds the same faults but for a missing default language.
// Changes nothing.
bool check_phrases(const std::vector<std::string>& directories, std::string* error);

// The codes of the loaded languages, sorted.
std::vector<std::string> languages();

// The loaded language that serves an Accept-Language header best, by its quality values and order:
// the language itself, else one with the same primary language ("de" and "de-AT" find "de-de"),
// else the default language.
std::string best_language(std::string_view accept_language);

}  // namespace platen

#endif  // DEVICE_PHRASES_H_
