// Measures the template store against bare system calls that do the same work in the same run.
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "comparison.h"
#include "raw_files.h"
#include "templateWrapper.h"

namespace {

constexpr int kPoolSize = 1000;
constexpr char kService[] = "qvn_svc_general";

std::string template_of_list(int values) {
  std::string text =
      "[service qvn_svc_general]\n  [invocation general_1]\n    PhoneNumber (string)\n";
  for (int i = 0; i < values; ++i) text += "      = +49 30 " + std::to_string(100000 + i) + "\n";
  return text;
}

// A file read, and each of its lines copied to a string of its own, as a reader of a list gets it.
void read_list_raw(const std::string& path) {
  Bytes bytes = read_raw(path);
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

void add_reads(const Workspace& memory) {
  const std::pair<const char*, int> sizes[] = {{"4 KiB", 60}, {"20 KiB", 300}};
  for (auto [label, attributes] : sizes) {
    std::string name = std::to_string(attributes) + ".ktp";
    std::string path = write_file(memory.path(), name, template_of(attributes));
    std::string last = "JobAttribute" + std::to_string(attributes - 1);
    add({std::string("open and one value, ") + label, [=] { read_one(path.c_str(), last.c_str()); },
         [=] { read_raw(path); }});
  }
  std::string path = write_file(memory.path(), "list.ktp", template_of_list(1000));
  const auto work = [=] { read_list(path.c_str(), 1000); };
  add({"a list of 1000 values", work, [=] { read_raw(path); }});
  add({"a list of 1000 copies", work, [=] { read_list_raw(path); }});
}

void add_saves(const Workspace& space, const std::string& label) {
  std::string bytes = template_of(60);
  const std::string& directory = space.path();
  std::string path = write_file(directory, "save.ktp", bytes);
  auto value = std::make_shared<int>(0);
  add({"save, " + label, [=] { save_one(path.c_str(), ++*value); },
       [=] {
         read_raw(path);
         save_raw(directory, "save.ktp", bytes);
       }});
}

void add_pool(const Workspace& pool) {
  const std::string& directory = pool.path();
  for (int i = 0; i < kPoolSize; ++i) {
    write_file(directory, "template" + std::to_string(i) + ".KTP", template_of(20));
  }
  add({"a pool of 1000", [=] { list_pool(directory); }, [=] { list_and_read_raw(directory); }});
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Workspace memory("/dev/shm");
    const Workspace pool("/dev/shm");
    const Workspace disk(temporary_directory());
    add_reads(memory);
    add_saves(memory, "tmpfs");
    add_saves(disk, "disk");
    add_pool(pool);
    return run_comparisons(argc, argv);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "store_bench: %s\n", fault.what());
    return 1;
  }
}
