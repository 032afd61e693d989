// The phrases of the device's pages in each installed language.
// SPDX-License-Identifier: MIT
#include "device/phrases.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>

#include "device/table_file.h"
#include "platform/server.h"

namespace platen {
namespace {

// Asks for the code of the language itself; so no file may define it.
constexpr std::string_view kLanguageToken = "9998";
constexpr std::string_view kSuffix = ".txt";

using Phrases = std::map<std::string, std::string, std::less<>>;
using Languages = std::map<std::string, Phrases, std::less<>>;

Languages& loaded_languages() {
  static Languages loaded;
  return loaded;
}

bool is_language_code(std::string_view code) {
  return !code.empty() && code.front() != '-' && code.back() != '-' &&
         std::all_of(code.begin(), code.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
         });
}

bool load_language(const std::string& file, const std::string& code, Phrases* phrases,
                   std::string* error) {
  std::vector<TableRow> rows;
  if (!read_table_file(file, &rows, error)) return false;
  for (TableRow& row : rows) {
    if (row.key == kLanguageToken) {
      *error =
          table_fault(file, row.line, "9998 is the language's own code, given by the file's name");
      return false;
    }
    phrases->insert_or_assign(std::move(row.key), std::move(row.text));
  }
  phrases->emplace(kLanguageToken, code);
  return true;
}

// The files of a directory whose name ends in ".txt", sorted, so that errors come in a fixed order;
// none where there is no such directory.
bool list_phrase_files(const std::string& directory, std::vector<std::filesystem::path>* files,
                       std::string* error) {
  std::error_code failure;
  if (!std::filesystem::exists(directory, failure) && !failure) return true;
  for (std::filesystem::directory_iterator entry(directory, failure), end; !failure && entry != end;
       entry.increment(failure)) {
    if (entry->path().extension() == kSuffix) files->push_back(entry->path());
  }
  if (failure) *error = directory + ": cannot be read: " + failure.message();
  std::sort(files->begin(), files->end());
  return !failure;
}

bool read_directory(const std::string& directory, Languages* languages, std::string* error) {
  std::vector<std::filesystem::path> files;
  if (!list_phrase_files(directory, &files, error)) return false;
  for (const std::filesystem::path& file : files) {
    std::string code = file.stem();
    if (!is_language_code(code)) {
      *error = file.string() + ": '" + code + "' is no language code in lower case, such as de-de";
      return false;
    }
    if (!load_language(file, code, &(*languages)[code], error)) return false;
  }
  return true;
}

bool read_directories(const std::vector<std::string>& directories, Languages* languages,
                      std::string* error) {
  return std::ranges::all_of(directories, [&](const std::string& directory) {
    return read_directory(directory, languages, error);
  });
}

std::string lower_case(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view primary_language(std::string_view code) { return code.substr(0, code.find('-')); }

std::string_view trim(std::string_view text) {
  size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

struct WantedLanguage {
  std::string code;
  double quality;
};

// One element of an Accept-Language header: "de-AT;q=0.8". What is no number counts as 0.
WantedLanguage parse_wanted(std::string_view element) {
  size_t semicolon = element.find(';');
  WantedLanguage wanted{lower_case(trim(element.substr(0, semicolon))), 1};
  if (semicolon == std::string_view::npos) return wanted;
  std::string_view weight = trim(element.substr(semicolon + 1));
  wanted.quality = 0;
  if (weight.starts_with("q=") || weight.starts_with("Q=")) {
    weight.remove_prefix(2);
    std::from_chars(weight.data(), weight.data() + weight.size(), wanted.quality);
  }
  return wanted;
}

// The wanted languages, best first, those of one quality in the header's order.
std::vector<WantedLanguage> parse_accept_language(std::string_view header) {
  std::vector<WantedLanguage> wanted;
  while (!header.empty()) {
    size_t comma = std::min(header.find(','), header.size());
    wanted.push_back(parse_wanted(header.substr(0, comma)));
    header.remove_prefix(std::min(comma + 1, header.size()));
  }
  std::erase_if(wanted, [](const WantedLanguage& language) { return !(language.quality > 0); });
  std::stable_sort(wanted.begin(), wanted.end(),
                   [](const auto& a, const auto& b) { return a.quality > b.quality; });
  return wanted;
}

// The loaded code that serves `wanted`; empty when none does.
std::string loaded_match(const std::string& wanted) {
  const Languages& loaded = loaded_languages();
  if (loaded.contains(wanted)) return wanted;
  for (const auto& [code, phrases] : loaded) {
    if (primary_language(code) == primary_language(wanted)) return code;
  }
  return "";
}

}  // namespace

bool check_phrases(const std::vector<std::string>& directories, std::string* error) {
  Languages read;
  return read_directories(directories, &read, error);
}

bool load_phrases(const std::vector<std::string>& directories, std::string* error) {
  Languages read;
  if (!read_directories(directories, &read, error)) return false;
  if (!read.contains(kDefaultLanguage)) {
    *error = std::string(kDefaultLanguage) + ".txt is missing; it must stand in ";
    for (const std::string& directory : directories) {
      if (&directory != &directories.front()) *error += " or ";
      *error += directory;
    }
    return false;
  }
  loaded_languages() = std::move(read);
  return true;
}

std::vector<std::string> languages() {
  std::vector<std::string> codes;
  for (const auto& [code, phrases] : loaded_languages()) codes.push_back(code);
  return codes;
}

std::string best_language(std::string_view accept_language) {
  for (const WantedLanguage& wanted : parse_accept_language(accept_language)) {
    std::string match = loaded_match(wanted.code);
    if (!match.empty()) return match;
  }
  return std::string(kDefaultLanguage);
}

}  // namespace platen

char* Server_Translate_Phrase(const char* phrase, const char* language) {
  std::string_view token = phrase;
  if (!token.ends_with('?')) return nullptr;
  token.remove_suffix(1);
  auto& languages = platen::loaded_languages();
  auto spoken = languages.find(std::string_view(language));
  if (spoken == languages.end()) return nullptr;
  auto found = spoken->second.find(token);
  return found == spoken->second.end() ? nullptr : found->second.data();
}
