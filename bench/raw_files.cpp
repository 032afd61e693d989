// Bare system calls, one after the other.
// SPDX-License-Identifier: MIT
#include "raw_files.h"

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

Workspace::Workspace(const std::string& parent) : path_(parent + "/platen-bench.XXXXXX") {
  if (!::mkdtemp(path_.data())) {
    throw std::runtime_error("no directory can be made in " + parent + "; choose TMPDIR");
  }
}

Workspace::~Workspace() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string temporary_directory() {
  const char* given = std::getenv("TMPDIR");
  return given ? given : "/tmp";
}

std::string write_file(const std::string& directory, const std::string& name,
                       const std::string& bytes) {
  std::string path = directory + "/" + name;
  std::ofstream file(path, std::ios::binary);
  if (!(file << bytes << std::flush)) throw std::runtime_error(path + " cannot be written");
  return path;
}

std::string template_of(int attributes) {
  std::string text =
      "# A template as a scanner ships it\n[service qvn_svc_general]\n  [invocation general_1]\n";
  for (int i = 0; i < attributes; ++i) {
    text += "    JobAttribute" + std::to_string(i) + " (enum_setting) = a value of usual length " +
            std::to_string(i) + "\n";
  }
  return text;
}

Bytes read_raw(int directory, const char* name) {
  int file = ::openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  struct stat info = {};
  ::fstat(file, &info);
  auto size = static_cast<std::size_t>(info.st_size);
  Bytes bytes{std::unique_ptr<char[]>(new char[size + 1]), size};
  benchmark::DoNotOptimize(::read(file, bytes.data.get(), size + 1));
  ::close(file);
  return bytes;
}

Bytes read_raw(const std::string& path) { return read_raw(AT_FDCWD, path.c_str()); }

void save_raw(const std::string& directory_path, const char* name, const std::string& bytes) {
  int directory = ::open(directory_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ::flock(directory, LOCK_EX);
  read_raw(directory, name);
  int file = ::openat(directory, ".raw", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  benchmark::DoNotOptimize(::write(file, bytes.data(), bytes.size()));
  benchmark::DoNotOptimize(::fchown(file, ::getuid(), ::getgid()));
  ::fchmod(file, 0644);
  ::fsync(file);
  ::close(file);
  ::renameat(directory, ".raw", directory, name);
  ::fsync(directory);
  ::close(directory);
}

std::vector<std::string> list_raw(const std::string& directory) {
  DIR* listing = ::opendir(directory.c_str());
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(listing)) {
    if (entry->d_type == DT_REG) names.emplace_back(entry->d_name);
  }
  ::closedir(listing);
  return names;
}

void list_and_read_raw(const std::string& directory) {
  std::string path;
  for (const std::string& name : list_raw(directory)) {
    read_raw(path.assign(directory).append("/").append(name));
  }
}
