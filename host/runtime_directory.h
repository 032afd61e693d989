// A private directory for as long as the program runs.
// SPDX-License-Identifier: MIT
#ifndef HOST_RUNTIME_DIRECTORY_H_
#define HOST_RUNTIME_DIRECTORY_H_

#include <string>

namespace platen {

// Made below TMPDIR, or /tmp; removed with all that is in it when the object goes. A process made
// by fork() must leave by exit(), so that the directory stays with its maker.
class RuntimeDirectory {
 public:
  RuntimeDirectory() = default;
  ~RuntimeDirectory();
  RuntimeDirectory(const RuntimeDirectory&) = delete;
  RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

  // Makes the directory. Returns false and sets `error` to a sentence naming it on failure.
  bool make(std::string* error);

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace platen

#endif  // HOST_RUNTIME_DIRECTORY_H_
