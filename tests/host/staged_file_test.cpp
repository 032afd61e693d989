// Tests of the files that the template store is to read.
// SPDX-License-Identifier: MIT
#include "staged_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace platen {
namespace {

namespace fs = std::filesystem;

std::string read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(StagedFileTest, HoldsItsBytesInADirectoryOfItsOwnUntilItsEnd) {
  const std::string bytes("a\0\xFF\n", 4);
  auto file = std::make_unique<StagedFile>(bytes);
  const fs::path path = file->path();
  EXPECT_EQ(read(path), bytes);
  EXPECT_EQ(fs::status(path.parent_path()).permissions(), fs::perms::owner_all);
  file.reset();
  EXPECT_FALSE(fs::exists(path.parent_path()));
}

TEST(StagedFileTest, HasTheModeOfAnyNewFile) {
  const mode_t mask = ::umask(0027);
  const StagedFile file("x");
  ::umask(mask);
  EXPECT_EQ(fs::status(file.path()).permissions(), static_cast<fs::perms>(0640));
}

TEST(StagedFileTest, TwoFilesDoNotMeet) {
  const StagedFile first("1");
  const StagedFile second("2");
  EXPECT_EQ(read(first.path()) + read(second.path()), "12");
}

}  // namespace
}  // namespace platen
