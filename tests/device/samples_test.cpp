// Tests of the sample device: its templates open in the store, its phrases and paths load.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "device/paths.h"
#include "device/phrases.h"
#include "templateWrapper.h"

namespace platen {
namespace {

const std::filesystem::path kSamples = PLATEN_SAMPLES;
const std::filesystem::path kSpool = kSamples / "spool/image_store/s2mailbox";

std::vector<std::filesystem::path> sample_templates() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kSamples / "pool")) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// What the store says of the file when it opens it; empty when it opens.
std::string open_error(const std::filesystem::path& file) {
  TemplateObject tpl{};
  CKwtTemplate(&tpl);
  std::string error;
  if (Open(&tpl, file.c_str(), 0) == 0) error = jt_error(&tpl);
  DestructorCKwtTemplate(&tpl);
  return error;
}

// The first value of an attribute; "(none)" when there is none.
std::string first_value(const std::filesystem::path& file, const char* service,
                        const char* attribute) {
  TemplateObject tpl{};
  CKwtTemplate(&tpl);
  std::string found = "(none)";
  if (Open(&tpl, file.c_str(), 0) != 0) {
    char* value =
        ReadAttributeStringWInvocUseFirstAsString(&tpl, service, nullptr, attribute, TRUE);
    if (value != nullptr) found = value;
    jt_destroy_value_string(&tpl, value);
    Close(&tpl, 0);
  }
  DestructorCKwtTemplate(&tpl);
  return found;
}

// The names of what is in a directory, without suffix if asked.
std::set<std::string> names_in(const std::filesystem::path& directory, bool suffix) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.insert(suffix ? entry.path().filename() : entry.path().stem());
  }
  return names;
}

TEST(SamplesTest, EveryPoolHasTemplates) {
  std::set<std::string> pools;
  for (const auto& file : sample_templates()) {
    pools.insert(file.parent_path().lexically_relative(kSamples));
    EXPECT_EQ(strcasecmp(file.extension().c_str(), ".KTP"), 0) << file;
  }
  EXPECT_EQ(pools, (std::set<std::string>{"pool", "pool/factory", "pool/mailbox", "pool/system",
                                          "pool/web"}));
}

TEST(SamplesTest, EveryTemplateOpensButTheBrokenOne) {
  for (const auto& file : sample_templates()) {
    std::string expected;
    if (file.filename() == "Broken.KTP") {
      expected = file.string() + ":7:5: this is no line of the form NAME (TYPE) = VALUE";
    }
    EXPECT_EQ(open_error(file), expected);
  }
}

TEST(SamplesTest, ATemplateIsNamedAsItsFile) {
  for (const auto& file : sample_templates()) {
    if (file.filename() == "Broken.KTP" || file.filename() == "Empty.KTP") continue;
    EXPECT_EQ(first_value(file, "qvn_svc_general", "JobTemplateName"), file.stem());
  }
}

TEST(SamplesTest, EveryMailboxFolderHasATemplateAndASpoolDirectory) {
  EXPECT_EQ(names_in(kSamples / "pool/mailbox", false), names_in(kSpool, true));
}

TEST(SamplesTest, JobLogsHoldTheirJobPassword) {
  struct {
    const char* log;
    const char* password;
  } const rows[] = {
      {"_PUBLIC/job7.d/job7.KTP", "blue heron"},
      {"_PUBLIC/Contract.KTP", "grey seal"},
      {"_PUBLIC/Flyer.KTP", "(none)"},
      {"_PUBLIC/Delivery note/Delivery note.KTP", "(none)"},
      {"anna/job1.d/job1.KTP", "(none)"},
      {"anna/Application.d/Application.KTP", "red kite"},
      {"accounts team/job1.d/job1.KTP", "(none)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(open_error(kSpool / row.log), "");
    EXPECT_EQ(first_value(kSpool / row.log, "qvn_dscrpt_metadata", "MetaDataValue"), row.password)
        << row.log;
  }
}

TEST(SamplesTest, TwoTemplatesAreOfScanDrivers) {
  EXPECT_EQ(
      first_value(kSamples / "pool/web/WIA driver.KTP", "qvn_svc_general", "JobTemplateCreator"),
      "WIA");
  EXPECT_EQ(
      first_value(kSamples / "pool/web/TWAIN driver.KTP", "qvn_svc_general", "JobTemplateCreator"),
      "TWAIN");
}

TEST(SamplesTest, PathsLoad) {
  std::string error;
  EXPECT_TRUE(load_paths(kSamples / "etc/paths.txt", kSamples, &error)) << error;
}

TEST(SamplesTest, PhrasesAreSound) {
  std::string error;
  EXPECT_TRUE(check_phrases({kSamples / "etc/phrases"}, &error)) << error;
}

}  // namespace
}  // namespace platen
