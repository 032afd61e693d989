// Every allocation of every function fails in turn: the function says so, leaks nothing, and works
// when it is called again. Also counts what an open takes.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

#include "store_fixture.h"

namespace {

long allocations = 0;  // made since the last reset
long failing = 0;      // number of the one that fails, 0 = none
long live = 0;         // blocks not yet freed

bool refuses() { return ++allocations == failing; }

void* counted(void* block) {
  if (block) ++live;
  return block;
}

}  // namespace

// The linker sends the program's own calls here (--wrap); those of operator new come the same way.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
char* __real_strdup(const char* text);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
char* __wrap_strdup(const char* text);
void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) { return refuses() ? nullptr : counted(__real_malloc(size)); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return refuses() ? nullptr : counted(__real_calloc(count, size));
}
char* __wrap_strdup(const char* text) {
  return refuses() ? nullptr : static_cast<char*>(counted(__real_strdup(text)));
}
void __wrap_free(void* block) {
  if (block) --live;
  __real_free(block);
}
}

void* operator new(std::size_t size) {
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, std::align_val_t) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }

namespace store_test {
namespace {

constexpr std::string_view kSample =
    "[service s]\n  [invocation i]\n    a (string) = a value that does not fit any small buffer\n"
    "      = \\x20second value that does not fit any small buffer\n  [invocation \\x20]\n"
    "    a (string)\n";

struct State {
  std::string path;
  std::string copy;
  std::string other;
  std::string history;
  TemplateObject* tpl;
  TemplatePoolObject* pool;
};

// A call; true when it did its work.
struct Call {
  const char* name;
  std::function<bool(State&)> run;
};

bool text_is(char* text, const char* expected) {
  bool same = text && std::strcmp(text, expected) == 0;
  std::free(text);
  return same;
}

int visit_all(void*, const char*, const char*, const char*, const char*, bool_t, int, const char*) {
  return 0;
}

char name_buffer[1000];

// Makes a change with a history; true when it was made, and what was there before is kept.
template <typename Change>
bool keeps_its_changes(State& s, Change change) {
  jt_history(s.history.c_str(), 2, "anna");
  bool changed = change();
  JT_VERSION* versions = jt_versions(s.path.c_str());
  jt_history(nullptr, 0, nullptr);
  bool kept = versions != nullptr;
  jt_free_versions(versions);
  return changed && kept;
}

const Call kCalls[] = {
    {"SetPath", [](State& s) { return SetPath(s.pool, s.path.c_str()) == TRUE; }},
    {"Refresh", [](State& s) { return Refresh(s.pool) == TRUE && s.pool->count == 1; }},
    {"Open", [](State& s) { return Open(s.tpl, s.path.c_str(), 0) == 1; }},
    {"Close",
     [](State& s) {
       // The refused write needs memory as well; then there is nothing to save.
       bool written = WriteAttributeStringWInvoc(s.tpl, "s", nullptr, "a", "new") == TRUE;
       return Close(s.tpl, 1) == 1 && written;
     }},
    {"ListInvocations", [](State& s) { return ListInvocations(s.tpl, "s") != nullptr; }},
    {"ReadAttributeStringWInvocUseFirstAsString",
     [](State& s) {
       return ReadAttributeStringWInvocUseFirstAsString(s.tpl, "s", nullptr, "a", TRUE) &&
              ReadAttributeStringWInvocUseFirstAsString(s.tpl, "s", nullptr, "a", FALSE);
     }},
    {"WriteAttributeFromStringUseFirst",
     [](State& s) {
       return WriteAttributeFromStringUseFirst(s.tpl, "new service", nullptr, "a", "t", "v", TRUE,
                                               TRUE) == TRUE;
     }},
    {"WriteAttributeStringWInvoc",
     [](State& s) { return WriteAttributeStringWInvoc(s.tpl, "s", "i", "b", "v") == TRUE; }},
    {"WriteAttributeEnumWInvoc",
     [](State& s) { return WriteAttributeEnumWInvoc(s.tpl, "s", "i", "enum_b", "b", 5) == TRUE; }},
    {"RemoveAttributeStringWInvoc",
     [](State& s) {
       return RemoveAttributeStringWInvoc(
                  s.tpl, "s", "i", "a", " second value that does not fit any small buffer") == TRUE;
     }},
    {"DeleteAttribute", [](State& s) { return DeleteAttribute(s.tpl, "s", "a") == TRUE; }},
    {"DeleteAttributeWInvoc",
     [](State& s) { return DeleteAttributeWInvoc(s.tpl, "s", "i", "a") == TRUE; }},
    {"DeleteInvocation", [](State& s) { return DeleteInvocation(s.tpl, "s", "i") == TRUE; }},
    {"DeleteService", [](State& s) { return DeleteService(s.tpl, "s") == TRUE; }},
    {"CreateInvocationWSize",
     [](State& s) { return CreateInvocationWSize(s.tpl, "s", name_buffer, 1000) != 0; }},
    {"CreateMetaDataInvocation",
     [](State& s) { return CreateMetaDataInvocation(s.tpl, name_buffer, 1000) == 1; }},
    {"DeleteMetaDataInvocation",
     [](State& s) {
       return CreateMetaDataInvocation(s.tpl, name_buffer, 1000) == 1 &&
              DeleteMetaDataInvocation(s.tpl, name_buffer) == TRUE;
     }},
    {"CopyCKwtTemplate",
     [](State& s) { return CopyCKwtTemplate(s.path.c_str(), s.copy.c_str()) == KWT_SUCCESS; }},
    {"DeleteCKwtTemplateWFilename",
     [](State& s) { return DeleteCKwtTemplateWFilename(s.path.c_str()) == 1; }},
    {"Close_with_a_history",
     [](State& s) {
       return keeps_its_changes(s, [&] {
         bool written = WriteAttributeStringWInvoc(s.tpl, "s", nullptr, "a", "new") == TRUE;
         return Close(s.tpl, 1) == 1 && written;
       });
     }},
    {"CopyCKwtTemplate_with_a_history",
     [](State& s) {
       return keeps_its_changes(
           s, [&] { return CopyCKwtTemplate(s.other.c_str(), s.path.c_str()) == KWT_SUCCESS; });
     }},
    {"StringReplace",
     [](State&) {
       return text_is(StringReplace("a long text with one word to replace in it", "word", "WORD"),
                      "a long text with one WORD to replace in it");
     }},
    {"jt_failures",
     [](State&) {
       WriteAttributeStringWInvoc(nullptr, "s", nullptr, "a", "v");
       char* lines = jt_failures();
       bool told = lines != nullptr;
       std::free(lines);
       return told;
     }},
    {"jt_walk", [](State& s) { return jt_walk(s.tpl, visit_all, nullptr) == 0; }},
};

class Allocations : public testing::TestWithParam<Call> {
 protected:
  // Sets the stage and runs the call with its n-th allocation failing; false when it has fewer.
  bool run_failing(long number) {
    Directory directory;
    std::string path = directory.write("t.ktp", kSample);
    std::string other = directory.write("other", "[service t]\n");
    TemplateObject tpl;
    TemplatePoolObject pool;
    CKwtTemplate(&tpl);
    CKwtPool(&pool);
    State state{path, directory.file("copy.ktp"), other, directory.path(), &tpl, &pool};
    long before = live;
    EXPECT_TRUE(SetPath(&pool, directory.path().c_str()));
    EXPECT_EQ(Open(&tpl, path.c_str(), 2), 1);
    bool failed = call(state, number);
    DestructorCKwtTemplate(&tpl);
    DestructorCKwtPool(&pool);
    jt_release_values();
    std::free(jt_failures());
    EXPECT_EQ(live, before) << "leak when allocation " << number << " fails";
    return failed;
  }

  static bool call(State& state, long number) {
    allocations = 0;
    failing = number;
    bool done = GetParam().run(state);
    failing = 0;
    bool failed = allocations >= number;
    EXPECT_TRUE(done || failed);
    again(state, done);
    return failed;
  }

  // After a failure the same call works; the template is opened anew where the call had closed it.
  static void again(State& state, bool done) {
    if (done) return;
    EXPECT_TRUE(GetFileName(state.tpl) || Open(state.tpl, state.path.c_str(), 2));
    EXPECT_TRUE(GetParam().run(state));
  }
};

TEST_P(Allocations, FailCleanly) {
  long count = 0;
  while (run_failing(count + 1)) ++count;
  EXPECT_GT(count, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, Allocations, testing::ValuesIn(kCalls),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(Open, TakesTwoAllocationsBesideTheFileName) {
  std::string bytes = "# A typical template\n[service qvn_svc_general]\n  [invocation one]\n";
  for (int i = 0; i < 60; ++i) {
    bytes += "    JobAttribute" + std::to_string(i) + " (enum_setting) = a value of usual length\n";
  }
  bytes.resize(4096, '#');
  Directory directory;
  std::string path = directory.write("t.ktp", bytes);
  TemplateObject tpl;
  CKwtTemplate(&tpl);
  allocations = 0;
  ASSERT_EQ(Open(&tpl, path.c_str(), 0), 1);
  EXPECT_EQ(allocations, 3);
  DestructorCKwtTemplate(&tpl);
}

}  // namespace
}  // namespace store_test
