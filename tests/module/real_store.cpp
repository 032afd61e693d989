// The real store under the module, its device paths mapped into a directory of the test's own.
// SPDX-License-Identifier: MIT
#include "real_store.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "allocations.h"
#include "journal.h"
#include "loaded_module.h"
#include "scripted_device.h"

namespace {

constexpr char kPoolRoot[] = "/tmp/template/pool";
constexpr char kSpoolRoot[] = "/var/spool/nc/image_store/s2mailbox/";

std::string& root() {
  static std::string directory;
  return directory;
}

std::string mapped(const std::string& path) {
  return path.starts_with(kPoolRoot) || path.starts_with(kSpoolRoot) ? root() + path : path;
}

// A mapped path whose memory is the test's own.
class MappedPath {
 public:
  explicit MappedPath(const char* path) {
    const TestMemory own;
    if (path != nullptr) text_ = mapped(path);
    given_ = path != nullptr;
  }
  const char* c_str() const { return given_ ? text_.c_str() : nullptr; }

 private:
  std::string text_;
  bool given_ = false;
};

// A function of the real store, which the ones below stand before.
template <typename Function>
Function* real(const char* name) {
  static void* library = dlopen(TEMPLATE_STORE_FILE, RTLD_NOW | RTLD_LOCAL);
  return reinterpret_cast<Function*>(dlsym(library, name));
}

#define REAL(name) real<decltype(name)>(#name)

// A function of the C library that one below stands before.
template <typename Function>
Function* library_function(const char* name) {
  const TestMemory own;
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// One template, opened by the store itself.
class OpenedFile {
 public:
  OpenedFile(const std::string& path, int save) : save_(save) {
    REAL(CKwtTemplate)(&template_);
    EXPECT_NE(REAL(Open)(&template_, path.c_str(), 2), 0) << path;
  }
  ~OpenedFile() {
    REAL(Close)(&template_, save_);
    REAL(DestructorCKwtTemplate)(&template_);
  }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  TemplateObject* get() { return &template_; }

 private:
  TemplateObject template_{};
  int save_;
};

}  // namespace

// What a test saves need not outlive a power cut.
extern "C" int fsync(int) { return 0; }

extern "C" DIR* opendir(const char* path) {
  return library_function<DIR*(const char*)>("opendir")(MappedPath(path).c_str());
}

extern "C" int stat(const char* path, struct stat* status) {
  return library_function<int(const char*, struct stat*)>("stat")(MappedPath(path).c_str(), status);
}

int Open(TemplateObject* tpl, const char* path, int mode) {
  return REAL(Open)(tpl, MappedPath(path).c_str(), mode);
}

bool_t SetPath(TemplatePoolObject* pool, const char* directory) {
  return REAL(SetPath)(pool, MappedPath(directory).c_str());
}

KWTSTATUS CopyCKwtTemplate(const char* from, const char* to) {
  return REAL(CopyCKwtTemplate)(MappedPath(from).c_str(), MappedPath(to).c_str());
}

int DeleteCKwtTemplateWFilename(const char* path) {
  return REAL(DeleteCKwtTemplateWFilename)(MappedPath(path).c_str());
}

void ModuleFiles::SetUp() {
  parser();
  std::string pattern = std::filesystem::temp_directory_path() / "platen-module-XXXXXX";
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  root() = pattern;
  for (const char* directory : {"/web", "/mailbox", "/system", "/factory"}) {
    std::filesystem::create_directories(real_path(kPoolRoot + std::string(directory)));
  }
  std::filesystem::create_directories(real_path(kSpoolRoot));
  scripted_device() = {};
  journal().clear();
}

void ModuleFiles::TearDown() {
  release_values();
  std::filesystem::remove_all(root());
}

std::string ModuleFiles::real_path(const std::string& device_path) { return mapped(device_path); }

void ModuleFiles::write_template(const std::string& device_path,
                                 const std::vector<StoredAttribute>& attributes) {
  write_bytes(device_path, "");
  OpenedFile file(real_path(device_path), 1);
  for (const StoredAttribute& one : attributes) {
    bool_t first = TRUE;
    for (const std::string& value : one.values) {
      EXPECT_NE(REAL(WriteAttributeFromStringUseFirst)(file.get(), one.service.c_str(), nullptr,
                                                       one.attribute.c_str(), one.type.c_str(),
                                                       value.c_str(), first, FALSE),
                FALSE);
      first = FALSE;
    }
  }
}

void ModuleFiles::write_bytes(const std::string& device_path, const std::string& bytes) {
  std::ofstream(real_path(device_path), std::ios::binary) << bytes;
}

std::string ModuleFiles::bytes(const std::string& device_path) {
  std::ifstream file(real_path(device_path), std::ios::binary);
  if (!file) return "(none)";
  return {std::istreambuf_iterator<char>(file), {}};
}

Values ModuleFiles::stored(const std::string& device_path, const std::string& service,
                           const std::string& attribute, const std::string& invocation) {
  OpenedFile file(real_path(device_path), 0);
  Values values;
  while (char* value = REAL(ReadAttributeStringWInvocUseFirstAsString)(
             file.get(), service.c_str(), invocation.empty() ? nullptr : invocation.c_str(),
             attribute.c_str(), values.empty() ? TRUE : FALSE)) {
    values.emplace_back(value);
    REAL(jt_destroy_value_string)(file.get(), value);
  }
  return values;
}

Values ModuleFiles::invocations(const std::string& device_path, const std::string& service) {
  OpenedFile file(real_path(device_path), 0);
  Values names;
  for (const auto* node = REAL(ListInvocations)(file.get(), service.c_str()); node != nullptr;
       node = node->next) {
    names.emplace_back(node->szInvocationName);
  }
  return names;
}

void ModuleFiles::release_values() { REAL(jt_release_values)(); }
