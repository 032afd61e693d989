// Pages, phrases and paths checked and loaded.
// SPDX-License-Identifier: MIT
#include "served_files.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "clone_contents.h"
#include "clone_phrases.h"
#include "device/paths.h"
#include "device/phrases.h"
#include "device/table_file.h"
#include "site.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

std::string path_file(const Options& options) { return options.settings + "/paths.txt"; }

bool load_device_paths(const Options& options, std::string* error) {
  return load_paths(path_file(options), fs::path(options.settings).parent_path(), error);
}

// The phrases of the pages, and those of the device, which come on top.
std::vector<std::string> phrase_directories(const Options& options) {
  return {options.pages + "/phrases", options.settings + "/phrases"};
}

std::vector<std::string> page_faults(const Options& options) {
  std::error_code fault;
  const fs::directory_iterator first_page(options.pages, fault);
  if (fault) {
    return {"the pages in " + options.pages + " cannot be read: " + fault.message() +
            "; choose their directory with --pages"};
  }
  return Site(options.pages, nullptr).check();
}

// A device without contents of clone groups has nothing to clone, and no fault.
std::vector<std::string> clone_faults(const Options& options) {
  std::string error;
  if (!fs::exists(path_file(options))) return {};
  if (!load_device_paths(options, &error)) return {error};
  std::vector<std::string> faults = clone_phrase_faults(phrase_directories(options));
  const std::string contents = clone_contents_file();
  if (fs::exists(contents) && !CloneContents().load(contents, &error)) faults.push_back(error);
  return faults;
}

// The first fault of the phrase files, else those of the clone groups.
std::vector<std::string> phrase_faults(const Options& options) {
  std::string error;
  if (!check_phrases(phrase_directories(options), &error)) return {error};
  return clone_faults(options);
}

std::vector<std::string> certificate_faults(const Options& options) {
  std::vector<std::string> faults;
  for (const std::string* file : {&options.certificate, &options.private_key}) {
    if (!file->empty() && access(file->c_str(), R_OK) != 0) {
      faults.push_back(*file + " cannot be read: " + strerror(errno) +
                       "; --certificate and --private-key name files that platend's user may read");
    }
  }
  return faults;
}

}  // namespace

std::vector<std::string> served_file_faults(const Options& options) {
  std::vector<std::string> faults = page_faults(options);
  for (const auto& others : {phrase_faults(options), certificate_faults(options)}) {
    faults.insert(faults.end(), others.begin(), others.end());
  }
  return faults;
}

bool load_served_files(const Options& options, std::string* error) {
  std::vector<TableRow> rows;
  return read_table_file(path_file(options), &rows, error) &&
         load_phrases(phrase_directories(options), error) && load_device_paths(options, error);
}

}  // namespace platen
