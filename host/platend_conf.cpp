// platend.conf read line by line.
// SPDX-License-Identifier: MIT
#include "platend_conf.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

#include "device/table_file.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBlanks = " \t\r";

std::string_view trim(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

class Reader {
 public:
  Reader(std::string base, Options* options) : base_(std::move(base)), options_(options) {}

  // Sets what one line says; returns what is wrong with it.
  std::string read(int number, std::string_view line) {
    line = trim(line);
    if (line.empty() || line.front() == '#') return "";
    const size_t equals = line.find('=');
    const std::string name(trim(line.substr(0, equals)));
    if (equals == std::string_view::npos) {
      return "\"" + name + "\" is no setting with a value; write it as NAME = VALUE";
    }
    const auto [other, added] = lines_.emplace(name, number);
    if (!added) return name + " already stands in line " + std::to_string(other->second);
    return set_option(name, std::string(trim(line.substr(equals + 1))), base_, options_);
  }

 private:
  std::string base_;  // of relative paths
  Options* options_;
  std::map<std::string, int, std::less<>> lines_;  // of the settings so far
};

}  // namespace

std::string configuration_file(const Options& options) {
  if (!options.config.empty()) return options.config;
  const std::string file = settings_directory(options) + "/platend.conf";
  std::error_code unknown;
  return fs::exists(file, unknown) ? file : "";
}

std::vector<std::string> read_configuration(const std::string& file, Options* options) {
  std::vector<std::string> faults;
  Reader reader(fs::absolute(file).parent_path(), options);
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  for (int number = 1; std::getline(stream, line); ++number) {
    const std::string fault = reader.read(number, line);
    if (!fault.empty()) faults.push_back(table_fault(file, number, fault));
  }
  if (!stream.is_open() || stream.bad()) {
    faults.push_back(file + ": cannot be read: " + std::strerror(errno));
  }
  return faults;
}

std::vector<std::string> complete_options(Options* options) {
  Options whole;
  const std::string file = configuration_file(*options);
  std::vector<std::string> faults;
  if (!file.empty()) faults = read_configuration(file, &whole);
  std::string fault;
  parse_options(options->arguments, &whole, &fault);
  if (whole.sandboxed) whole.data.clear();
  whole.config = file;
  fault = fill_defaults(&whole);
  if (!fault.empty()) faults.push_back(fault);
  if (faults.empty()) *options = whole;
  return faults;
}

}  // namespace platen
