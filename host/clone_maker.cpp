// Reads templates under the locks of their directories, and settings in one query.
// SPDX-License-Identifier: MIT
#include "clone_maker.h"

#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "clone_secrets.h"
#include "device/configuration.h"
#include "file_bytes.h"
#include "moment.h"
#include "output_format.h"
#include "platform/configapi.h"
#include "said.h"
#include "staged_file.h"
#include "state_lock.h"

namespace platen {
namespace {

// A template as it was read.
struct ReadFile {
  std::string path;
  std::optional<std::string> bytes;  // nothing: it cannot be read
};

// Reads them while every directory is locked, as the store locks it to save.
std::vector<ReadFile> read_files(const CloneContents& contents, const std::set<int>& tokens,
                                 std::string* fault) {
  std::vector<std::unique_ptr<StateLock>> locks;
  std::vector<ReadFile> files;
  for (const std::string& directory : contents.directories(tokens)) {
    if (!std::filesystem::exists(directory)) continue;
    locks.push_back(std::make_unique<StateLock>(directory + "/"));
    if (locks.back()->error().empty()) continue;
    *fault = said("The templates in {1} cannot be read; the log says why.", directory);
    return files;
  }
  size_t bytes = 0;
  for (const std::string& path : contents.templates(tokens)) {
    files.push_back({path, file_bytes(path)});
    bytes += files.back().bytes.value_or("").size();
    if (bytes <= kLongestClone) continue;
    *fault = said("These groups are too much for one clone file. Choose fewer of them.");
    break;
  }
  return files;
}

// Adds one template, or says why it is left out.
void add_template(const ParserModule& module, const CloneContents& contents, const ReadFile& file,
                  CloneDocument* document) {
  if (!file.bytes) {
    document->left_out.push_back({file.path, said("The file cannot be read.")});
    return;
  }
  if (valid_utf8(file.path) != file.path) {
    document->left_out.push_back({file.path, said("Its name holds bytes that are no text.")});
    return;
  }
  const StagedFile staged(*file.bytes);
  WithheldText read = withhold_secrets(module, staged.path(), *file.bytes);
  if (!read.fault.empty()) {
    document->left_out.push_back({file.path, store_words(read.fault, staged.path(), file.path)});
    return;
  }
  document->templates.push_back({file.path, contents.token_of_template(file.path),
                                 std::move(read.text), std::move(read.names)});
}

}  // namespace

CloneDocument make_clone(const ParserModule& module, const CloneContents& contents,
                         const std::set<int>& tokens, std::string* fault) {
  CloneDocument document;
  document.made = utc_text(std::time(nullptr));
  document.device = Cfg_GetContext();
  const std::vector<ReadFile> files = read_files(contents, tokens, fault);
  const auto settings = configuration_settings();
  if (fault->empty() && !settings) *fault = said("The settings cannot be read; the log says why.");
  if (!fault->empty()) return document;
  for (const ReadFile& file : files) add_template(module, contents, file, &document);
  for (const auto& [key, value] : *settings) {
    const int token = contents.token_of_setting(key);
    const bool is_text = valid_utf8(key) == key;
    if (is_text && tokens.contains(token)) document.settings.push_back({key, token, value});
  }
  return document;
}

std::string file_name_of(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string store_words(const std::string& words, const std::string& staged,
                        const std::string& path) {
  return words.starts_with(staged) ? file_name_of(path) + words.substr(staged.size()) : words;
}

}  // namespace platen
