// The listing of a directory of templates.
// SPDX-License-Identifier: MIT
#include "template_pool.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "store_fixture.h"
#include "templateWrapper.h"
#include "template_file.h"

namespace store_test {
namespace {

class Pool {
 public:
  Pool() { CKwtPool(&object_); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() { DestructorCKwtPool(&object_); }
  TemplatePoolObject* get() { return &object_; }
  TemplatePoolObject* operator->() { return &object_; }

  std::vector<std::string> names() {
    std::vector<std::string> found;
    const TEMPLATELISTNODE_STRUCT* node = GetTemplateList(&object_);
    for (; node; node = node->next) found.emplace_back(node->szFileName);
    return found;
  }

 private:
  TemplatePoolObject object_;
};

TEST(TemplateName, EndsInItsSuffixAndIsNotHidden) {
  const std::pair<const char*, bool> rows[] = {
      {"a.ktp", true},   {"A.KTP", true},   {"a.kTp", true}, {"a b.ktp", true},  {"a.b.ktp", true},
      {".ktp", false},   {".a.ktp", false}, {"ktp", false},  {"aktp", false},    {"a.ktp~", false},
      {"a.ktp.", false}, {"a.kt", false},   {"", false},     {".KTP.KTP", false}};
  for (auto [name, expected] : rows) EXPECT_EQ(store::is_template_name(name), expected) << name;
}

TEST(Pool, ListsRegularTemplateFilesSortedByBytes) {
  Directory directory;
  for (const char* name :
       {"b.ktp", "B.KTP", "a.ktp", "\xC3\xA4.ktp", "a.txt", ".hidden.ktp", ".ktp", "a b\n.KTP"}) {
    directory.write(name, "");
  }
  ASSERT_EQ(::mkdir(directory.file("folder.ktp").c_str(), 0700), 0);
  ASSERT_EQ(::mkfifo(directory.file("pipe.ktp").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("a.ktp", directory.file("link.ktp").c_str()), 0);
  ASSERT_EQ(::symlink("loop.ktp", directory.file("loop.ktp").c_str()), 0);
  Pool pool;
  EXPECT_TRUE(SetPath(pool.get(), directory.path().c_str()));
  EXPECT_STREQ(pool->m_strPath, directory.path().c_str());
  EXPECT_TRUE(Refresh(pool.get()));
  EXPECT_EQ(pool.names(),
            (std::vector<std::string>{"B.KTP", "a b\n.KTP", "a.ktp", "b.ktp", "\xC3\xA4.ktp"}));
  EXPECT_EQ(pool->count, 5);
  EXPECT_EQ(pool->m_erno, KWT_SUCCESS);
}

TEST(Pool, LooksAtTheFilesWhereTheirDirectoryDoesNotTellTheirKind) {
  struct Untold : store::System {
    dirent* readdir(DIR* directory) override {
      dirent* entry = System::readdir(directory);
      if (entry) entry->d_type = DT_UNKNOWN;
      return entry;
    }
  } system;
  Directory directory;
  directory.write("a.ktp", "");
  ASSERT_EQ(::mkdir(directory.file("folder.ktp").c_str(), 0700), 0);
  ASSERT_EQ(::symlink("a.ktp", directory.file("link.ktp").c_str()), 0);
  Pool pool;
  SetPath(pool.get(), directory.path().c_str());
  store::use_system(&system);
  EXPECT_TRUE(Refresh(pool.get()));
  store::use_system(nullptr);
  EXPECT_EQ(pool.names(), std::vector<std::string>{"a.ktp"});
}

TEST(Pool, RefreshSeesWhatChanged) {
  Directory directory;
  Pool pool;
  SetPath(pool.get(), directory.path().c_str());
  EXPECT_TRUE(Refresh(pool.get()));
  EXPECT_EQ(GetTemplateList(pool.get()), nullptr);
  directory.write("a.ktp", "");
  EXPECT_EQ(pool.names(), std::vector<std::string>{});
  EXPECT_TRUE(Refresh(pool.get()));
  EXPECT_EQ(pool.names(), std::vector<std::string>{"a.ktp"});
}

TEST(Pool, RefreshFailsForWhatIsNoDirectoryAndEmptiesTheList) {
  Directory directory;
  directory.write("a.ktp", "");
  Pool pool;
  EXPECT_FALSE(Refresh(pool.get()));
  EXPECT_EQ(pool->m_erno, KWTERR_INVALID_PARAMETER);
  for (const std::string& path :
       {directory.file("absent"), directory.file("a.ktp"), std::string()}) {
    SetPath(pool.get(), directory.path().c_str());
    EXPECT_TRUE(Refresh(pool.get()));
    EXPECT_TRUE(SetPath(pool.get(), path.c_str()));
    EXPECT_FALSE(Refresh(pool.get())) << path;
    EXPECT_EQ(pool->m_erno, KWTERR_FILE_OPEN);
    EXPECT_EQ(GetTemplateList(pool.get()), nullptr);
    EXPECT_EQ(pool->count, 0);
  }
}

TEST(Pool, IsSafeOnNull) {
  CKwtPool(nullptr);
  EXPECT_FALSE(SetPath(nullptr, "/tmp"));
  EXPECT_FALSE(Refresh(nullptr));
  EXPECT_EQ(GetTemplateList(nullptr), nullptr);
  DestructorCKwtPool(nullptr);
  Pool pool;
  EXPECT_FALSE(SetPath(pool.get(), nullptr));
  DestructorCKwtPool(pool.get());
  DestructorCKwtPool(pool.get());
}

}  // namespace
}  // namespace store_test
