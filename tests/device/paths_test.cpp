// Tests of the path registry.
// SPDX-License-Identifier: MIT
#include "device/paths.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "platform/xpaths.h"
#include "temporary_directory.h"

namespace platen {
namespace {

std::string load_error(const std::string& file) {
  std::string error;
  EXPECT_FALSE(load_paths(file, "/base", &error));
  return error;
}

TEST(PathsTest, GivesTheDirectoryOfAKey) {
  TemporaryDirectory directory;
  std::string error;
  std::string file = directory.write("paths.txt",
                                     "# where things lie\n"
                                     "\n"
                                     "nc_dlms_data\tdlms/\n"
                                     "with blank\t/opt/my files//\r\n"
                                     "root\t/\n"
                                     "last\t/no/line/end");
  ASSERT_TRUE(load_paths(file, "/base", &error)) << error;
  EXPECT_STREQ(xpaths_get_path("nc_dlms_data"), "/base/dlms");
  EXPECT_STREQ(xpaths_get_path("with blank"), "/opt/my files");
  EXPECT_STREQ(xpaths_get_path("root"), "/");
  EXPECT_STREQ(xpaths_get_path("last"), "/no/line/end");
  EXPECT_EQ(xpaths_get_path("NC_DLMS_DATA"), nullptr);
  EXPECT_EQ(xpaths_get_path(""), nullptr);
  EXPECT_EQ(xpaths_get_path(nullptr), nullptr);
}

TEST(PathsTest, ABrokenFileIsToldWithItsLineAndChangesNothing) {
  TemporaryDirectory directory;
  std::string error;
  ASSERT_TRUE(load_paths(directory.write("good", "key\t/a\n"), "/", &error)) << error;
  const struct {
    const char *bytes, *fault;
  } rows[] = {
      {"a\t/a\nb /b\n", ":2: no tab between key and text"},
      {"\t/a\n", ":1: no key before the tab"},
      {"\n\na\t\r\n", ":3: no text after the tab"},
      {"a\t/a\n# a\nb\t/b\na\t/c\n", ":4: 'a' already stands in line 1"},
      {"a\t/\xFF\n", ":1: not UTF-8; save the file in this encoding"},
  };
  for (const auto& row : rows) {
    std::string file = directory.write("paths.txt", row.bytes);
    EXPECT_EQ(load_error(file), file + row.fault);
  }
  EXPECT_STREQ(xpaths_get_path("key"), "/a");
  EXPECT_EQ(xpaths_get_path("a"), nullptr);
}

TEST(PathsTest, AFileThatCannotBeReadIsTold) {
  TemporaryDirectory directory;
  EXPECT_EQ(load_error(directory.file("none")),
            directory.file("none") + ": cannot be read: No such file or directory");
  EXPECT_EQ(load_error(directory.path()), directory.path() + ": cannot be read: Is a directory");
}

TEST(PathsTest, OpensAFileBelowADirectory) {
  TemporaryDirectory directory;
  directory.write("clone", "1,10,");
  for (const std::string& path : {directory.path(), directory.path() + "/"}) {
    FILE* stream = xpaths_open_file(path.c_str(), "clone", "rb");
    ASSERT_NE(stream, nullptr);
    char bytes[8] = {};
    EXPECT_STREQ(fgets(bytes, sizeof bytes, stream), "1,10,");
    EXPECT_TRUE(fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC);
    fclose(stream);
  }
  EXPECT_EQ(xpaths_open_file(directory.path().c_str(), "none", "rb"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(xpaths_open_file(nullptr, "clone", "rb"), nullptr);
  EXPECT_EQ(errno, EINVAL);
}

}  // namespace
}  // namespace platen
