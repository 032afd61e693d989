// A directory for one test, removed with everything in it at the test's end.
// SPDX-License-Identifier: MIT
#include "temporary_directory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace platen {

TemporaryDirectory::TemporaryDirectory() {
  std::string name = std::filesystem::temp_directory_path() / "platen-device-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory " + name);
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, std::string_view bytes) const {
  std::ofstream(file(name), std::ios::binary) << bytes;
  return file(name);
}

std::string TemporaryDirectory::read(const std::string& name) const {
  std::ifstream input(file(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

}  // namespace platen
