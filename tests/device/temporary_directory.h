// A directory for one test, removed with everything in it at the test's end.
// SPDX-License-Identifier: MIT
#ifndef TESTS_DEVICE_TEMPORARY_DIRECTORY_H_
#define TESTS_DEVICE_TEMPORARY_DIRECTORY_H_

#include <string>
#include <string_view>

namespace platen {

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Writes a file and returns its path.
  std::string write(const std::string& name, std::string_view bytes) const;
  std::string read(const std::string& name) const;

 private:
  std::string path_;
};

}  // namespace platen

#endif  // TESTS_DEVICE_TEMPORARY_DIRECTORY_H_
