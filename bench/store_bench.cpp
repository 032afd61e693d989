// Measures the template store against bare system calls that do the same work in the same run.
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "templateWrapper.h"

namespace {

constexpr int kPoolSize = 1000;
constexpr char kService[] = "qvn_svc_general";

// A directory of its own below `parent`, removed at the end.
class Workspace {
 public:
  explicit Workspace(const std::string& parent) {
    std::string pattern = parent + "/store_bench.XXXXXX";
    if (!::mkdtemp(pattern.data()))
      throw std::runtime_error("no directory can be made in " + parent);
    path_ = pattern;
  }
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;
  ~Workspace() { std::filesystem::remove_all(path_); }

  [[nodiscard]] std::string add(const std::string& name, const std::string& bytes) const {
    std::string path = path_ + "/" + name;
    std::ofstream(path) << bytes;
    return path;
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::string template_of(int attributes) {
  std::string text =
      "# A template as a scanner ships it\n[service qvn_svc_general]\n  [invocation general_1]\n";
  for (int i = 0; i < attributes; ++i) {
    text += "    JobAttribute" + std::to_string(i) + " (enum_setting) = a value of usual length " +
            std::to_string(i) + "\n";
  }
  return text;
}

std::string template_of_list(int values) {
  std::string text =
      "[service qvn_svc_general]\n  [invocation general_1]\n    PhoneNumber (string)\n";
  for (int i = 0; i < values; ++i) text += "      = +49 30 " + std::to_string(100000 + i) + "\n";
  return text;
}

struct Bytes {
  std::unique_ptr<char[]> data;
  std::size_t size;
};

// What a reader must do at least: open, look at the size, read all, close.
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

// The same for a list, and each of its lines copied to a string of its own, as a reader gets it.
void read_list_raw(const char* path) {
  Bytes bytes = read_raw(AT_FDCWD, path);
  const char* end = bytes.data.get() + bytes.size;
  for (const char* line = bytes.data.get(); line != end;) {
    const void* found = std::memchr(line, '\n', static_cast<std::size_t>(end - line));
    const char* stop = found ? static_cast<const char*>(found) : end;
    std::string_view text(line, static_cast<std::size_t>(stop - line));
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    benchmark::DoNotOptimize(copy);
    std::free(copy);
    line = stop + (stop != end);
  }
}

// What an atomic and durable save must do at least.
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

void read_one(const char* path, const char* attribute) {
  TemplateObject tpl;
  CKwtTemplate(&tpl);
  if (!Open(&tpl, path, O_RDONLY)) std::abort();
  char* value = ReadAttributeStringWInvocUseFirstAsString(&tpl, kService, nullptr, attribute, TRUE);
  if (!value) std::abort();
  jt_destroy_value_string(&tpl, value);
  Close(&tpl, 0);
  DestructorCKwtTemplate(&tpl);
}

void read_list(const char* path, int expected) {
  TemplateObject tpl;
  CKwtTemplate(&tpl);
  if (!Open(&tpl, path, O_RDONLY)) std::abort();
  int count = 0;
  bool_t first = TRUE;
  while (char* value = ReadAttributeStringWInvocUseFirstAsString(&tpl, kService, nullptr,
                                                                 "PhoneNumber", first)) {
    jt_destroy_value_string(&tpl, value);
    first = FALSE;
    ++count;
  }
  if (count != expected) std::abort();
  Close(&tpl, 0);
  DestructorCKwtTemplate(&tpl);
}

void save_one(const char* path, int value) {
  TemplateObject tpl;
  CKwtTemplate(&tpl);
  if (!Open(&tpl, path, O_RDWR)) std::abort();
  WriteAttributeEnumWInvoc(&tpl, kService, nullptr, "enum_KLV", "JobAttribute7", value);
  if (!Close(&tpl, 1)) std::abort();
  DestructorCKwtTemplate(&tpl);
}

void list_pool(const std::string& directory) {
  TemplatePoolObject pool;
  CKwtPool(&pool);
  SetPath(&pool, directory.c_str());
  if (!Refresh(&pool) || pool.count != kPoolSize) std::abort();
  std::string path;
  for (const TEMPLATELISTNODE_STRUCT* node = GetTemplateList(&pool); node; node = node->next) {
    path.assign(directory).append("/").append(node->szFileName);
    read_one(path.c_str(), "JobAttribute7");
  }
  DestructorCKwtPool(&pool);
}

void list_raw(const std::string& directory) {
  DIR* listing = ::opendir(directory.c_str());
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(listing)) {
    if (entry->d_type == DT_REG) names.emplace_back(entry->d_name);
  }
  ::closedir(listing);
  std::string path;
  for (const std::string& name : names) {
    path.assign(directory).append("/").append(name);
    read_raw(AT_FDCWD, path.c_str());
  }
}

void add(const std::string& name, const std::function<void()>& work) {
  benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
    for (auto _ : state) work();
  });
}

void add_reads(const Workspace& memory) {
  const std::pair<const char*, int> sizes[] = {{"4 KiB", 60}, {"20 KiB", 300}};
  for (auto [label, attributes] : sizes) {
    std::string path = memory.add(std::to_string(attributes) + ".ktp", template_of(attributes));
    std::string last = "JobAttribute" + std::to_string(attributes - 1);
    std::string name = std::string("open and one value, ") + label;
    add(name + "/store", [=] { read_one(path.c_str(), last.c_str()); });
    add(name + "/raw", [=] { read_raw(AT_FDCWD, path.c_str()); });
  }
  std::string path = memory.add("list.ktp", template_of_list(1000));
  add("a list of 1000 values/store", [=] { read_list(path.c_str(), 1000); });
  add("a list of 1000 values/raw", [=] { read_raw(AT_FDCWD, path.c_str()); });
  add("a list of 1000 copies/store", [=] { read_list(path.c_str(), 1000); });
  add("a list of 1000 copies/raw", [=] { read_list_raw(path.c_str()); });
}

void add_saves(const Workspace& space, const std::string& label) {
  std::string bytes = template_of(60);
  std::string path = space.add("save.ktp", bytes);
  auto value = std::make_shared<int>(0);
  add("save, " + label + "/store", [=] { save_one(path.c_str(), ++*value); });
  std::string directory = space.path();
  add("save, " + label + "/raw", [=] {
    read_raw(AT_FDCWD, path.c_str());
    save_raw(directory, "save.ktp", bytes);
  });
}

void add_pool(const Workspace& pool) {
  for (int i = 0; i < kPoolSize; ++i) {
    static_cast<void>(pool.add("template" + std::to_string(i) + ".KTP", template_of(20)));
  }
  std::string directory = pool.path();
  add("a pool of 1000/store", [=] { list_pool(directory); });
  add("a pool of 1000/raw", [=] { list_raw(directory); });
}

// Prints the usual table, and after it what the store takes as a multiple of the bare calls.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      double& best =
          best_.try_emplace(run.run_name.function_name, run.GetAdjustedRealTime()).first->second;
      best = std::min(best, run.GetAdjustedRealTime());
    }
  }

  void Finalize() override {
    for (const auto& [name, time] : best_) {
      std::size_t slash = name.rfind("/store");
      if (slash == std::string::npos) continue;
      auto raw = best_.find(name.substr(0, slash) + "/raw");
      if (raw == best_.end()) continue;
      std::printf("%-32s %6.2f\n", name.substr(0, slash).c_str(), time / raw->second);
    }
  }

 private:
  std::map<std::string, double> best_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const char* temporary = std::getenv("TMPDIR");
  Workspace memory("/dev/shm");
  Workspace pool("/dev/shm");
  Workspace disk(temporary ? temporary : "/tmp");
  add_reads(memory);
  add_saves(memory, "tmpfs");
  add_saves(disk, "disk");
  add_pool(pool);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
