// Template files of a benchmark, and the bare system calls that do the same work on them.
// SPDX-License-Identifier: MIT
#ifndef BENCH_RAW_FILES_H_
#define BENCH_RAW_FILES_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// A directory of its own below `parent`, removed at the end. Throws std::runtime_error.
class Workspace {
 public:
  explicit Workspace(const std::string& parent);
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;
  ~Workspace();

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// $TMPDIR, or /tmp.
std::string temporary_directory();

// Writes a file and returns its path. Throws std::runtime_error.
std::string write_file(const std::string& directory, const std::string& name,
                       const std::string& bytes);

// A template with the attributes "JobAttribute0", "JobAttribute1" and so on in "general_1", the
// first invocation of "qvn_svc_general".
std::string template_of(int attributes);

struct Bytes {
  std::unique_ptr<char[]> data;
  std::size_t size;
};

// What a reader must do at least: open, look at the size, read all, close.
Bytes read_raw(int directory, const char* name);
Bytes read_raw(const std::string& path);

// What an atomic and durable save must do at least.
void save_raw(const std::string& directory, const char* name, const std::string& bytes);

// The names of the files of a directory.
std::vector<std::string> list_raw(const std::string& directory);

// The same, and each of the files read.
void list_and_read_raw(const std::string& directory);

#endif  // BENCH_RAW_FILES_H_
