// A file of bytes that the template store is to read, for as long as it is needed.
// SPDX-License-Identifier: MIT
#ifndef HOST_STAGED_FILE_H_
#define HOST_STAGED_FILE_H_

#include <string>
#include <string_view>

namespace platen {

// A file in a directory of its own that nobody else may read; both are gone with the object. It has
// the mode of any new file, which a copy of it takes over.
class StagedFile {
 public:
  // Throws std::system_error, which names the file, when it cannot be written.
  explicit StagedFile(std::string_view bytes);
  ~StagedFile();
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string directory_;
  std::string path_;
};

}  // namespace platen

#endif  // HOST_STAGED_FILE_H_
