// A private directory with one file.
// SPDX-License-Identifier: MIT
#include "staged_file.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace platen {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path + " cannot be written");
}

}  // namespace

StagedFile::StagedFile(std::string_view bytes)
    : directory_(fs::temp_directory_path() / "platen-XXXXXX") {
  if (::mkdtemp(directory_.data()) == nullptr) fail(directory_);
  path_ = directory_ + "/staged.KTP";
  std::ofstream file(path_, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (file) return;
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
  fail(path_);
}

StagedFile::~StagedFile() {
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

}  // namespace platen
