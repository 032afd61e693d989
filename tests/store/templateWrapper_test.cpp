// The C interface: what each operation promises its callers.
// SPDX-License-Identifier: MIT
#include "templateWrapper.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "store_fixture.h"

extern "C" int store_header_in_c(void);

namespace store_test {
namespace {

constexpr char kGeneral[] = "qvn_svc_general";
constexpr std::string_view kSample =
    "# sample\n"
    "[service qvn_svc_general]\n"
    "  [invocation one]\n"
    "    Name (string) = Colour scan\n"
    "    List (string, compulsory) = 1\n"
    "      = 2\n"
    "      = 3\n"
    "    Empty (boolean)\n"
    "  [invocation two]\n"
    "    Name (string) = second\n"
    "    Escaped (string) = \\x20a\\n\\xFF\n"
    "[service bare]\n";

class Store : public testing::Test {
 protected:
  Store() { take_failures(); }
  ~Store() override { EXPECT_EQ(take_failures(), ""); }

  std::string sample() { return directory_.write("sample.ktp", kSample); }

  Directory directory_;
};

TEST_F(Store, ReadsFirstAndFurtherValuesInOrder) {
  Template tpl(sample());
  EXPECT_EQ(tpl.read_all(kGeneral, "one", "List"), (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_EQ(tpl.read(kGeneral, "one", "List", FALSE), "(none)");
  EXPECT_EQ(tpl.read_all(kGeneral, "two", "Escaped"), (std::vector<std::string>{" a\n\xFF"}));
  EXPECT_EQ(tpl.read(kGeneral, "one", "Empty"), "(none)");
}

TEST_F(Store, TakesTheFirstInvocationForNullAndForTheHeadOfItsList) {
  Template tpl(sample());
  EXPECT_EQ(tpl.read(kGeneral, nullptr, "Name"), "Colour scan");
  auto* head = reinterpret_cast<const char*>(ListInvocations(tpl.get(), kGeneral));
  EXPECT_EQ(tpl.read(kGeneral, head, "Name"), "Colour scan");
  EXPECT_EQ(ListInvocations(tpl.get(), "bare"), nullptr);
  EXPECT_EQ(tpl.read("bare", nullptr, "Name"), "(none)");
}

TEST_F(Store, ReadsNothingThatIsNotThere) {
  Template tpl(sample());
  EXPECT_EQ(tpl.read("absent", nullptr, "Name"), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, "three", "Name"), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, "", "Name"), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, "one", "name"), "(none)");
  EXPECT_EQ(tpl.read(nullptr, "one", "Name"), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, "one", nullptr), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, "one", "Name", FALSE), "(none)");
  EXPECT_EQ(ListInvocations(tpl.get(), nullptr), nullptr);
  EXPECT_EQ(ListInvocations(tpl.get(), "absent"), nullptr);
}

TEST_F(Store, KeepsACursorPerAttributeAndInvocation) {
  Template tpl(sample());
  EXPECT_EQ(tpl.read(kGeneral, "one", "List"), "1");
  EXPECT_EQ(tpl.read(kGeneral, "two", "Name"), "second");
  EXPECT_EQ(tpl.read(kGeneral, "one", "Name"), "Colour scan");
  EXPECT_EQ(tpl.read(kGeneral, "one", "List", FALSE), "2");
  EXPECT_EQ(tpl.read(kGeneral, "two", "Name", FALSE), "(none)");
  EXPECT_EQ(tpl.read(kGeneral, nullptr, "List", FALSE), "3");
}

TEST_F(Store, ForgetsTheCursorOfAWrittenAttributeOnly) {
  Template tpl(sample());
  EXPECT_EQ(tpl.read(kGeneral, "one", "List"), "1");
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "one", "Name", "x"));
  EXPECT_EQ(tpl.read(kGeneral, "one", "List", FALSE), "2");
  EXPECT_TRUE(RemoveAttributeStringWInvoc(tpl.get(), kGeneral, "one", "List", "3"));
  EXPECT_EQ(tpl.read(kGeneral, "one", "List", FALSE), "(none)");
}

TEST_F(Store, ListsInvocationsInFileOrder) {
  Template tpl(sample());
  EXPECT_EQ(tpl.invocations(kGeneral), (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(tpl->m_pInvocationList, ListInvocations(tpl.get(), kGeneral));
}

TEST_F(Store, ValuesOutliveTheirTemplateUntilTheyAreReleased) {
  char* kept = nullptr;
  {
    Template tpl(sample());
    kept = ReadAttributeStringWInvocUseFirstAsString(tpl.get(), kGeneral, nullptr, "Name", TRUE);
    for (int i = 0; i < 1000; ++i) {
      ReadAttributeStringWInvocUseFirstAsString(tpl.get(), kGeneral, nullptr, "Name", TRUE);
    }
  }
  EXPECT_STREQ(kept, "Colour scan");
  jt_destroy_value_string(nullptr, kept);
  jt_release_values();
  jt_release_values();
}

TEST_F(Store, ReleasesManyHeldValuesInAnyOrder) {
  Template tpl(sample());
  std::vector<char*> values;
  for (int i = 0; i < 500; ++i) {
    values.push_back(
        ReadAttributeStringWInvocUseFirstAsString(tpl.get(), kGeneral, nullptr, "Name", TRUE));
  }
  for (std::size_t i = 0; i < values.size(); i += 2) jt_destroy_value_string(tpl.get(), values[i]);
  for (std::size_t i = 1; i < values.size(); i += 2) {
    EXPECT_STREQ(values[i], "Colour scan");
    jt_destroy_value_string(tpl.get(), values[i]);
  }
}

TEST_F(Store, LeavesStringsAloneThatItDoesNotHold) {
  Template tpl(sample());
  char own[] = "own";
  jt_destroy_value_string(tpl.get(), own);
  jt_destroy_value_string(tpl.get(), nullptr);
  char* value =
      ReadAttributeStringWInvocUseFirstAsString(tpl.get(), kGeneral, nullptr, "Name", TRUE);
  jt_destroy_value_string(tpl.get(), own);
  jt_destroy_value_string(tpl.get(), value);
  EXPECT_STREQ(own, "own");
}

TEST_F(Store, RemembersThePathUntilTheClose) {
  std::string path = sample();
  Template tpl(path);
  EXPECT_EQ(GetFileName(tpl.get()), path);
  EXPECT_EQ(tpl->m_filename, GetFileName(tpl.get()));
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWT_SUCCESS);
  EXPECT_EQ(Close(tpl.get(), 0), 1);
  EXPECT_EQ(GetFileName(tpl.get()), nullptr);
  EXPECT_NE(GetLastTemplateError(tpl.get()), KWT_SUCCESS);
}

TEST_F(Store, SavesAlsoAfterTheCallerHasReleasedTheFileName) {
  std::string path = sample();
  Template tpl(path);
  std::free(tpl->m_filename);
  tpl->m_filename = nullptr;
  EXPECT_EQ(GetFileName(tpl.get()), nullptr);
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "two", "Name", "2nd"));
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  EXPECT_EQ(Template(path).read(kGeneral, "two", "Name"), "2nd");
}

TEST_F(Store, OpeningAgainDropsTheOldTemplateWithoutSaving) {
  std::string path = sample();
  std::string other = directory_.write("other.ktp", "");
  Template tpl(path);
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "one", "Name", "lost"));
  EXPECT_EQ(Open(tpl.get(), other.c_str(), 2), 1);
  EXPECT_EQ(GetFileName(tpl.get()), other);
  EXPECT_EQ(bytes_of(path), kSample);
}

TEST_F(Store, AFailedOpenTellsWhereAndLeavesNothingOpen) {
  std::string path = directory_.write("broken.ktp", "[service a]\n  [nonsense]\n");
  Template tpl;
  EXPECT_EQ(Open(tpl.get(), path.c_str(), 0), 0);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_INVALID_DATA);
  EXPECT_EQ(tpl->m_erno, KWTERR_INVALID_DATA);
  EXPECT_EQ(GetFileName(tpl.get()), nullptr);
  EXPECT_EQ(tpl.error(), path + ":2:4: only \"service\" or \"invocation\" may stand here");
  EXPECT_EQ(tpl.read("a", nullptr, "b"), "(none)");
  EXPECT_EQ(Open(tpl.get(), sample().c_str(), 0), 1);
  EXPECT_EQ(tpl.error(), "");
}

TEST_F(Store, IsSafeOnNullZeroFilledAndUnopenedObjects) {
  TemplateObject zeroed;
  std::memset(&zeroed, 0, sizeof zeroed);
  Template unopened;
  Template closed(sample());
  Close(closed.get(), 0);
  char name[1000] = "untouched";
  for (TemplateObject* tpl :
       {static_cast<TemplateObject*>(nullptr), &zeroed, unopened.get(), closed.get()}) {
    EXPECT_NE(GetLastTemplateError(tpl), KWT_SUCCESS);
    EXPECT_EQ(GetFileName(tpl), nullptr);
    EXPECT_STREQ(jt_error(tpl), "");
    EXPECT_EQ(ListInvocations(tpl, kGeneral), nullptr);
    EXPECT_EQ(ReadAttributeStringWInvocUseFirstAsString(tpl, kGeneral, nullptr, "a", TRUE),
              nullptr);
    EXPECT_FALSE(
        WriteAttributeFromStringUseFirst(tpl, kGeneral, nullptr, "a", "t", "v", TRUE, TRUE));
    EXPECT_FALSE(WriteAttributeStringWInvoc(tpl, kGeneral, nullptr, "a", "v"));
    EXPECT_FALSE(WriteAttributeEnumWInvoc(tpl, kGeneral, nullptr, "enum_a", "a", 1));
    EXPECT_FALSE(RemoveAttributeStringWInvoc(tpl, kGeneral, nullptr, "a", "v"));
    EXPECT_FALSE(DeleteAttribute(tpl, kGeneral, "a"));
    EXPECT_FALSE(DeleteAttributeWInvoc(tpl, kGeneral, nullptr, "a"));
    EXPECT_FALSE(DeleteInvocation(tpl, kGeneral, "a"));
    EXPECT_FALSE(DeleteService(tpl, kGeneral));
    EXPECT_FALSE(DeleteMetaDataInvocation(tpl, "a"));
    EXPECT_EQ(CreateInvocationWSize(tpl, kGeneral, name, sizeof name), 0);
    EXPECT_EQ(CreateMetaDataInvocation(tpl, name, sizeof name), 0);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(jt_walk(tpl, nullptr, nullptr), -1);
    EXPECT_EQ(Close(tpl, 1), 0);
    std::string failures = take_failures();
    EXPECT_EQ(std::count(failures.begin(), failures.end(), '\n'), 11) << failures;
    EXPECT_EQ(failures.find("(no template open): write qvn_svc_general//a: no template is open\n"),
              0U);
  }
  EXPECT_EQ(Open(nullptr, "x", 0), 0);
  EXPECT_EQ(Open(unopened.get(), nullptr, 0), 0);
  EXPECT_EQ(GetLastTemplateError(unopened.get()), KWTERR_INVALID_PARAMETER);
  DestructorCKwtTemplate(nullptr);
  DestructorCKwtTemplate(&zeroed);
  CKwtTemplate(nullptr);
}

TEST_F(Store, ReplacesAndAddsValues) {
  Template tpl(directory_.write("new.ktp", ""));
  auto write = [&](const char* value, bool_t first) {
    return WriteAttributeFromStringUseFirst(tpl.get(), "s", nullptr, "a", "string", value, first,
                                            FALSE);
  };
  EXPECT_TRUE(write("1", TRUE));
  EXPECT_TRUE(write("2", FALSE));
  EXPECT_TRUE(write("3", FALSE));
  EXPECT_EQ(tpl.read_all("s", nullptr, "a"), (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_TRUE(write("", TRUE));
  EXPECT_EQ(tpl.read_all("s", nullptr, "a"), (std::vector<std::string>{""}));
  EXPECT_EQ(tpl.invocations("s"), (std::vector<std::string>{"s_1"}));
}

std::vector<std::string> walked(Template& tpl) {
  std::vector<std::string> lines;
  auto visit = [](void* context, const char* service, const char* invocation, const char* attribute,
                  const char* type, bool_t compulsory, int line, const char* value) {
    static_cast<std::vector<std::string>*>(context)->push_back(
        std::to_string(line) + " " + service + "/" + invocation + "/" + attribute + " " + type +
        (compulsory ? "!" : "") + " " + (value ? value : "(none)"));
    return 0;
  };
  EXPECT_EQ(jt_walk(tpl.get(), visit, &lines), 0);
  return lines;
}

TEST_F(Store, WalksEveryValueInFileOrderWithItsLine) {
  Template tpl(sample());
  const std::vector<std::string> expected = {
      "4 qvn_svc_general/one/Name string Colour scan", "5 qvn_svc_general/one/List string! 1",
      "6 qvn_svc_general/one/List string! 2",          "7 qvn_svc_general/one/List string! 3",
      "8 qvn_svc_general/one/Empty boolean (none)",    "10 qvn_svc_general/two/Name string second",
      "11 qvn_svc_general/two/Escaped string  a\n\xFF"};
  EXPECT_EQ(walked(tpl), expected);
}

TEST_F(Store, WalksUnsavedEditsWithoutALine) {
  Template tpl(sample());
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "one", "List", "9"));
  EXPECT_EQ(walked(tpl)[1], "0 qvn_svc_general/one/List string! 9");
  EXPECT_EQ(walked(tpl)[2], "8 qvn_svc_general/one/Empty boolean (none)");
}

TEST_F(Store, StopsAWalkWhenTheVisitorSaysSo) {
  Template tpl(sample());
  auto visit = [](void* context, const char*, const char*, const char*, const char*, bool_t, int,
                  const char*) { return ++*static_cast<int*>(context) == 2 ? 77 : 0; };
  int count = 0;
  EXPECT_EQ(jt_walk(tpl.get(), visit, &count), 77);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(jt_walk(tpl.get(), nullptr, nullptr), -1);
}

TEST_F(Store, KeepsOrReplacesTypeAndMark) {
  Template tpl(sample());
  TemplateObject* t = tpl.get();
  EXPECT_TRUE(WriteAttributeStringWInvoc(t, kGeneral, "one", "List", "x"));
  EXPECT_EQ(walked(tpl)[1], "0 qvn_svc_general/one/List string! x");
  EXPECT_TRUE(WriteAttributeFromStringUseFirst(t, kGeneral, "one", "List", "enum_x", "y", 1, 0));
  EXPECT_EQ(walked(tpl)[1], "0 qvn_svc_general/one/List enum_x y");
  EXPECT_TRUE(WriteAttributeFromStringUseFirst(t, kGeneral, "one", "List", nullptr, "z", 1, 1));
  EXPECT_EQ(walked(tpl)[1], "0 qvn_svc_general/one/List enum_x! z");
  EXPECT_TRUE(WriteAttributeStringWInvoc(t, kGeneral, "two", "A", "1"));
  EXPECT_TRUE(WriteAttributeFromStringUseFirst(t, kGeneral, "two", "B", nullptr, "2", 1, 1));
  EXPECT_TRUE(WriteAttributeEnumWInvoc(t, kGeneral, "two", "enum_KLV", "C", -13));
  EXPECT_EQ(walked(tpl)[5], "0 qvn_svc_general/two/A string 1");
  EXPECT_EQ(walked(tpl)[6], "0 qvn_svc_general/two/B string! 2");
  EXPECT_EQ(walked(tpl)[7], "0 qvn_svc_general/two/C enum_KLV -13");
}

TEST_F(Store, RefusesWritesWithoutTheirNamesOrToAnAbsentInvocation) {
  std::string path = sample();
  Template tpl(path);
  TemplateObject* t = tpl.get();
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, kGeneral, "three", "Name", "v"));
  EXPECT_EQ(GetLastTemplateError(t), KWTERR_NODATA);
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, "absent", "one", "Name", "v"));
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, nullptr, "one", "Name", "v"));
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, "", "one", "Name", "v"));
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, kGeneral, "one", nullptr, "v"));
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, kGeneral, "one", "", "v"));
  EXPECT_FALSE(WriteAttributeStringWInvoc(t, kGeneral, "one", "Name", nullptr));
  EXPECT_EQ(GetLastTemplateError(t), KWTERR_INVALID_PARAMETER);
  EXPECT_EQ(take_failures(),
            path + ": write qvn_svc_general/three/Name: the service has no such invocation\n" +
                path + ": write absent/one/Name: the service has no such invocation\n" + path +
                ": write /one/Name: a name or value is missing or too long\n" + path +
                ": write /one/Name: a name or value is missing or too long\n" + path +
                ": write qvn_svc_general/one/: a name or value is missing or too long\n" + path +
                ": write qvn_svc_general/one/: a name or value is missing or too long\n" + path +
                ": write qvn_svc_general/one/Name: a name or value is missing or too long\n");
  EXPECT_EQ(Close(t, 1), 1);
  EXPECT_EQ(bytes_of(path), kSample);
}

TEST_F(Store, RemovesTheFirstOccurrenceOfAValue) {
  Template tpl(sample());
  TemplateObject* t = tpl.get();
  EXPECT_TRUE(WriteAttributeFromStringUseFirst(t, kGeneral, "one", "List", nullptr, "1", 0, 0));
  EXPECT_TRUE(RemoveAttributeStringWInvoc(t, kGeneral, "one", "List", "1"));
  EXPECT_EQ(tpl.read_all(kGeneral, "one", "List"), (std::vector<std::string>{"2", "3", "1"}));
  EXPECT_FALSE(RemoveAttributeStringWInvoc(t, kGeneral, "one", "List", "4"));
  EXPECT_TRUE(RemoveAttributeStringWInvoc(t, kGeneral, "two", "Name", "second"));
  EXPECT_EQ(walked(tpl)[5], "10 qvn_svc_general/two/Name string (none)");
}

TEST_F(Store, DeletesSayWhetherSomethingWasThere) {
  Template tpl(sample());
  TemplateObject* t = tpl.get();
  EXPECT_TRUE(DeleteAttributeWInvoc(t, kGeneral, "two", "Escaped"));
  EXPECT_FALSE(DeleteAttributeWInvoc(t, kGeneral, "two", "Escaped"));
  EXPECT_FALSE(DeleteAttributeWInvoc(t, kGeneral, "two", nullptr));
  EXPECT_TRUE(DeleteAttribute(t, kGeneral, "Name"));
  EXPECT_FALSE(DeleteAttribute(t, kGeneral, "Name"));
  EXPECT_FALSE(DeleteAttribute(t, "absent", "Name"));
  EXPECT_EQ(tpl.read(kGeneral, "one", "Name") + tpl.read(kGeneral, "two", "Name"), "(none)(none)");
  EXPECT_EQ(tpl.read_all(kGeneral, "one", "List").size(), 3U);
  EXPECT_TRUE(DeleteInvocation(t, kGeneral, "one"));
  EXPECT_FALSE(DeleteInvocation(t, kGeneral, "one"));
  EXPECT_EQ(tpl.invocations(kGeneral), (std::vector<std::string>{"two"}));
  EXPECT_TRUE(DeleteInvocation(t, kGeneral, nullptr));
  EXPECT_TRUE(DeleteService(t, kGeneral));
  EXPECT_FALSE(DeleteService(t, kGeneral));
  EXPECT_FALSE(DeleteMetaDataInvocation(t, "x"));
}

TEST_F(Store, GivesNewInvocationsTheLowestFreeNumber) {
  Template tpl(directory_.write("new.ktp",
                                "[service s]\n[invocation s_1]\n[invocation s_3]\n"
                                "[invocation s_02]\n[invocation other_2]\n"));
  char name[1000];
  for (const char* expected : {"s_2", "s_4", "s_5"}) {
    EXPECT_NE(CreateInvocationWSize(tpl.get(), "s", name, sizeof name), 0);
    EXPECT_STREQ(name, expected);
  }
  EXPECT_TRUE(DeleteInvocation(tpl.get(), "s", "s_1"));
  EXPECT_NE(CreateInvocationWSize(tpl.get(), "s", name, sizeof name), 0);
  EXPECT_STREQ(name, "s_1");
  EXPECT_EQ(CreateMetaDataInvocation(tpl.get(), name, sizeof name), 1);
  EXPECT_STREQ(name, "qvn_dscrpt_metadata_1");
  EXPECT_TRUE(DeleteMetaDataInvocation(tpl.get(), name));
}

TEST_F(Store, CutsALongServiceNameToFitTheInvocationName) {
  Template tpl(directory_.write("new.ktp", ""));
  std::string service(252, 's');
  service += "\xC3\xBC";  // would be cut in the middle
  char name[1000];
  EXPECT_NE(CreateInvocationWSize(tpl.get(), service.c_str(), name, sizeof name), 0);
  EXPECT_EQ(name, std::string(252, 's') + "_1");
  EXPECT_NE(CreateInvocationWSize(tpl.get(), service.c_str(), name, sizeof name), 0);
  EXPECT_EQ(name, std::string(252, 's') + "_2");
}

TEST_F(Store, CreatesNothingWhenTheNameDoesNotFitTheBuffer) {
  std::string path = directory_.write("new.ktp", "");
  Template tpl(path);
  char name[8] = "before";
  EXPECT_EQ(CreateInvocationWSize(tpl.get(), "sevens", name, sizeof name), 0);
  EXPECT_EQ(CreateInvocationWSize(tpl.get(), "s", name, 3), 0);
  EXPECT_EQ(CreateInvocationWSize(tpl.get(), "s", nullptr, 1000), 0);
  EXPECT_EQ(CreateMetaDataInvocation(tpl.get(), name, -1), 0);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_INSUFFICIENT_BUFFER);
  EXPECT_STREQ(name, "before");
  EXPECT_EQ(take_failures().find(path + ": create an invocation of sevens/sevens_1/: "
                                        "the buffer for the name is too small\n"),
            0U);
  EXPECT_EQ(CreateInvocationWSize(tpl.get(), "", name, sizeof name), 0);
  EXPECT_EQ(CreateInvocationWSize(tpl.get(), nullptr, name, sizeof name), 0);
  EXPECT_NE(take_failures(), "");
  EXPECT_NE(CreateInvocationWSize(tpl.get(), "s", name, 4), 0);
  EXPECT_STREQ(name, "s_1");
}

TEST_F(Store, SavesWhateverTheModeAndOnlyWhenToldTo) {
  std::string path = sample();
  Template tpl;
  EXPECT_EQ(Open(tpl.get(), path.c_str(), 0), 1);
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, nullptr, "Name", "x"));
  EXPECT_EQ(bytes_of(path), kSample);
  EXPECT_EQ(Close(tpl.get(), 1), 1);
  std::string expected(kSample);
  expected.replace(expected.find("Colour scan"), 11, "x");
  EXPECT_EQ(bytes_of(path), expected);
}

TEST_F(Store, LeavesAnUnchangedFileAlone) {
  std::string path = sample();
  struct stat before = info_of(path);
  for (const char* value : {"second", static_cast<const char*>(nullptr)}) {
    Template tpl(path);
    if (value) {
      EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "two", "Name", "other"));
      EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "two", "Name", value));
      EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, "two", "Escaped", " a\n\xFF"));
    }
    EXPECT_EQ(Close(tpl.get(), 1), 1);
  }
  struct stat after = info_of(path);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
  EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
  EXPECT_EQ(bytes_of(path), kSample);
}

TEST_F(Store, GivesTheSameBytesForTheSameEdits) {
  std::vector<std::string> results;
  for (const char* file : {"a.ktp", "b.ktp"}) {
    std::string path = directory_.write(file, kSample);
    Template tpl(path);
    char name[1000];
    EXPECT_NE(CreateInvocationWSize(tpl.get(), kGeneral, name, sizeof name), 0);
    EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, name, "Name", "third"));
    EXPECT_EQ(Close(tpl.get(), 1), 1);
    results.push_back(bytes_of(path));
  }
  EXPECT_EQ(results[0], results[1]);
}

TEST_F(Store, TellsAFailedSaveWithItsPathAndReason) {
  std::string path = sample();
  Template tpl(path);
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, nullptr, "Name", "x"));
  directory_.write("sample.ktp", "[service a]\n!\n");
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_INVALID_DATA);
  EXPECT_EQ(tpl.error(), path + ":2:1: an attribute needs an invocation above it");
  EXPECT_EQ(take_failures(),
            path + ": save: line 2, column 1: an attribute needs an invocation above it\n");
  EXPECT_EQ(bytes_of(path), "[service a]\n!\n");
}

TEST_F(Store, DoesNotCreateADeletedFileAgain) {
  std::string path = sample();
  Template tpl(path);
  EXPECT_TRUE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, nullptr, "Name", "x"));
  EXPECT_EQ(DeleteCKwtTemplateWFilename(path.c_str()), 1);
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(take_failures(), path + ": save: it cannot be opened: No such file or directory\n");
  EXPECT_TRUE(directory_.names().empty());
}

TEST_F(Store, RefusesToSaveMoreThan4MiB) {
  std::string path = sample();
  Template tpl(path);
  std::string mebibyte(1 << 20, 'x');
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(WriteAttributeFromStringUseFirst(tpl.get(), kGeneral, nullptr, "Big", nullptr,
                                                 mebibyte.c_str(), 0, 0));
  }
  EXPECT_EQ(Close(tpl.get(), 1), 0);
  EXPECT_EQ(GetLastTemplateError(tpl.get()), KWTERR_FILE_SIZE);
  EXPECT_EQ(take_failures(), path + ": save: a template has at most 4 MiB\n");
  EXPECT_EQ(bytes_of(path), kSample);
}

TEST_F(Store, RefusesAValueThatNoFileCouldHold) {
  Template tpl(sample());
  std::string value((4 << 20) + 1, 'x');
  EXPECT_FALSE(WriteAttributeStringWInvoc(tpl.get(), kGeneral, nullptr, "Big", value.c_str()));
  EXPECT_NE(take_failures(), "");
}

TEST_F(Store, EscapesControlCharactersInFailures) {
  std::string path = sample();
  Template tpl(path);
  EXPECT_FALSE(WriteAttributeStringWInvoc(tpl.get(), "a\nb", "c", "d\\", "v"));
  EXPECT_EQ(take_failures(), path + ": write a\\nb/c/d\\\\: the service has no such invocation\n");
}

TEST_F(Store, ListsAHundredFailuresAndCountsTheRest) {
  Template tpl(sample());
  for (int i = 0; i < 112; ++i) {
    EXPECT_FALSE(WriteAttributeStringWInvoc(tpl.get(), "absent", "x", "a", "v"));
  }
  std::string failures = take_failures();
  EXPECT_EQ(std::count(failures.begin(), failures.end(), '\n'), 101);
  EXPECT_EQ(failures.substr(failures.rfind('\n', failures.size() - 2) + 1),
            "and 12 further failures that are not listed\n");
  EXPECT_EQ(jt_failures(), nullptr);
}

TEST(Header, WorksInC) { EXPECT_EQ(store_header_in_c(), 0); }

TEST(StringReplace, ReplacesFromLeftToRightAndNeverRescans) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"\\\\", "\\", "\\\\", "\\\\\\\\"},
      {"aaa", "aa", "b", "ba"},
      {"abc", "x", "y", "abc"},
      {"", "a", "b", ""},
      {"abc", "", "x", "abc"},
      {"abab", "ab", "", ""},
      {"a", "a", "aaa", "aaa"},
      {"abc", "c", nullptr, "ab"},
      {"abc", nullptr, "x", "abc"}};
  for (const auto& [text, what, replacement, expected] : rows) {
    char* result = StringReplace(text, what, replacement);
    EXPECT_STREQ(result, expected);
    std::free(result);
  }
  EXPECT_EQ(StringReplace(nullptr, "a", "b"), nullptr);
}

}  // namespace
}  // namespace store_test
