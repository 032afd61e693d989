// Exhausted memory and kept memory: every function with its n-th allocation failing, and a thousand
// times over.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "allocations.h"
#include "journal.h"
#include "loaded_module.h"
#include "log.h"
#include "real_store.h"
#include "scripted_device.h"

namespace {

constexpr char kPath[] = "/tmp/template/pool/web/A.KTP";

// How a use ends while an allocation fails.
constexpr int kSurvived = 0;
constexpr int kEnded = 1;  // with a text, as it should
constexpr int kNothingFailed = 42;

// One use of the module; it must not allocate by itself.
struct Use {
  const char* name;
  Fields form;
  void (*run)(Request& request);
  long blocks_kept = 0;  // of each run, for good
};

void open_template(Request& request) {
  char path[] = "/tmp/template/pool/web/A.KTP|O_RDWR";
  parser().HTTP_Open_Parser_fn(request.record(), path);
}

void close_template(Request& request, bool save) {
  char argument[] = "TRUE";
  parser().HTTP_Close_Parser_fn(request.record(), save ? argument : nullptr);
}

void print_attribute(Request& request, void (*function)(QVN_AppData*, char*)) {
  char argument[] = "fax NULL PhoneNumber string";
  open_template(request);
  function(request.record(), argument);
  close_template(request, false);
}

void list_pool(Request& request, void (*function)(QVN_AppData*, char*)) {
  char directory[] = "/tmp/template/pool/web";
  function(request.record(), directory);
}

void list_invocations(Request& request) {
  char service[] = "fax";
  open_template(request);
  parser().HTTP_Parser_List_Invocations_fn(request.record(), service);
  close_template(request, false);
}

void save_list(Request& request) {
  char service[] = "fax";
  char attribute[] = "PhoneNumber";
  char type[] = "string";
  char value[] = "1;2;3";
  char separator[] = ";";
  HTTP_PARSER_Set_Element element{service, nullptr, attribute, type, value, nullptr, FALSE};
  open_template(request);
  parser().PrivSaveMultiValue(request.record(), &element, separator);
  close_template(request, true);
}

void set(Request& request) {
  parser().HTTP_Parser_Set_fn(request.record(), request.entries(), request.count());
}

// Every exported function that uses memory.
std::vector<Use> uses() {
  const Fields edits = {{"ParserFilename", kPath},
                        {"ServiceName", "fax"},
                        {"AttributeName", "PhoneNumber"},
                        {"AttributeValue", "7;8"},
                        {"Action", "update"},
                        {"ServiceName", "qvn_dscrpt_metadata"},
                        {"InvocationName", "NULL"},
                        {"AttributeName", "MetaDataPrompt"},
                        {"AttributeType", "string"},
                        {"AttributeValue", "p"},
                        {"Action", "update"},
                        {"ServiceName", "fax"},
                        {"AttributeName", "Paths"},
                        {"AttributeValue", "x/1,y/2"},
                        {"Action", "delete"},
                        {"ServiceName", "fax"},
                        {"AttributeName", "Paths"},
                        {"Action", "delete"},
                        {"ServiceName", "qvn_svc_general"},
                        {"Action", "delete"}};
  Fields copied_edits = edits;
  copied_edits.push_back({"CopyParserFilename", "B.KTP"});
  return {
      {"open and close",
       {},
       [](Request& request) {
         open_template(request);
         close_template(request, false);
       }},
      {"open over an open one",
       {},
       [](Request& request) {
         open_template(request);
         open_template(request);
         close_template(request, false);
       }},
      {"plain output",
       {},
       [](Request& request) { print_attribute(request, parser().HTTP_Parser_Get_fn); }},
      {"script output",
       {},
       [](Request& request) { print_attribute(request, parser().HTTP_Parser_JS_Get_fn); }},
      {"list", {}, [](Request& request) { list_pool(request, parser().HTTP_Parser_List_fn); }},
      {"filtered list",
       {},
       [](Request& request) { list_pool(request, parser().HTTP_Parser_List_Non_WIA_fn); }},
      {"list of invocations", {}, list_invocations},
      {"one value",
       {},
       [](Request& request) {
         char path[] = "/tmp/template/pool/web/A.KTP";
         char service[] = "fax";
         char attribute[] = "Paths";
         parser().TempSuppGetAttributeValue(request.record(), path, service, attribute);
         close_template(request, false);
       }},
      {"list save", {}, save_list},
      {"update", edits, set},
      {"update of a copy", copied_edits, set},
      {"copy",
       {{"ParserFilename", kPath}, {"CopyParserFilename", "B.KTP"}},
       [](Request& request) {
         parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count());
       }},
      {"copy without a name",
       {{"ParserFilename", kPath}},
       [](Request& request) {
         parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count());
       }},
      {"restore",
       {{"ParserFilename", "A.KTP"}, {"CopyParserFilename", "B.KTP"}},
       [](Request& request) {
         parser().HTTP_Parser_Restore_Defaults_fn(request.record(), request.entries(),
                                                  request.count());
       }},
      {"metadata script",
       {},
       [](Request& request) {
         open_template(request);
         parser().HTTP_Parser_Print_Meta_Data_Attributes_fn(request.record(), nullptr);
         close_template(request, false);
       }},
      {"destinations",
       {},
       [](Request& request) {
         open_template(request);
         parser().HTTP_Parser_List_Destinations_fn(request.record(), nullptr);
         close_template(request, false);
       }},
      {"delete",
       {{"ParserFilename", kPath}},
       [](Request& request) {
         parser().HTTP_Parser_Delete_fn(request.record(), request.entries(), request.count());
       }},
  };
}

void list_mailbox(Request& request, void (*function)(QVN_AppData*, char*)) {
  char folder[] = "john";
  const ExpectedLeak names_that_a_listing_keeps;
  function(request.record(), folder);
  close_template(request, false);
}

void verify(Request& request, int (*function)(QVN_AppData*, FormEntry*, int)) {
  function(request.record(), nullptr, 0);
  close_template(request, false);
}

// Every function of the mailbox that uses memory.
std::vector<Use> mailbox_uses() {
  const Fields login = {{"NextPage", "/old"}, {"name", "john"}, {"pass", "1"},    {"sid", "abc"},
                        {"file", "a.KTP"},    {"subf", "a.d"},  {"action", "opn"}};
  return {
      {"folder list",
       {},
       [](Request& request) {
         char directory[] = "/tmp/template/pool/mailbox";
         parser().HTTP_Parser_Mailbox_List_fn(request.record(), directory);
       }},
      {"job directories",
       {},
       [](Request& request) {
         list_mailbox(request, parser().HTTP_Parser_Folder_Passwords_List_fn);
       }},
      {"job logs",
       {},
       [](Request& request) { list_mailbox(request, parser().HTTP_Parser_Job_Passwords_List_fn); },
       2},
      {"folder login", login,
       [](Request& request) { verify(request, parser().HTTP_Parser_Verify_Mbox_Password_fn); }},
      {"job login", login,
       [](Request& request) { verify(request, parser().HTTP_Parser_Verify_Job_Password_fn); }},
      {"upkeep",
       {},
       [](Request& request) {
         parser().HTTP_Parser_Update_Templates_fn(request.record(), nullptr);
       }},
  };
}

std::vector<Use> all_uses() {
  std::vector<Use> all = uses();
  for (const Use& use : mailbox_uses()) all.push_back(use);
  return all;
}

class Memory : public ModuleFiles {
 protected:
  void SetUp() override {
    ModuleFiles::SetUp();
    const std::string spool = "/var/spool/nc/image_store/s2mailbox/john/";
    std::filesystem::create_directories(real_path(spool + "a.d"));
    for (const char* log : {"a.d/a.KTP", "b.KTP", "c.KTP"}) {
      write_template(spool + log, {{"qvn_dscrpt_metadata", "MetaDataValue", "string", {"1"}}});
    }
    write_template("/tmp/template/pool/factory/MAILBOX.KTP", {{"svc", "a", "string", {"v"}}});
    write_template("/tmp/template/pool/mailbox/john.KTP", {{"svc", "a", "string", {"v"}}});
    scripted_device().settings = {{"scanToMailbox.john.password", "1"},
                                  {"scanToMailbox.publicPasswordEnabled", "1"}};
  }

  static void lay_down() {
    for (const char* path : {kPath, "/tmp/template/pool/factory/A.KTP"}) {
      write_template(path, {{"qvn_svc_general", "JobTemplateCreator", "string", {"Office"}},
                            {"qvn_dscrpt_metadata", "MetaDataPrompt", "string", {"p"}},
                            {"qvn_svc_file", "DocumentPath", "string", {"/d"}},
                            {"fax", "PhoneNumber", "string", {"555,1", "556"}},
                            {"fax", "Paths", "string", {"x/1", "y/2", "\"q\"\\'"}}});
    }
  }
};

// Runs a use in a child of its own, its n-th allocation failing. Returns how the child ended: one of
// the outcomes above, another status, or the negative number of a signal.
int run_failing(const Use& use, long n) {
  const pid_t child = fork();
  if (child == 0) {
    Request request(use.form);
    fail_allocation(n, Allocator::any);
    use.run(request);
    const bool failed = allocation_failed();
    fail_allocation(0, Allocator::any);
    _exit(failed ? kSurvived : kNothingFailed);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(Memory, FailingAnywhereEndsInATextOrIsSurvived) {
  auto* last_level = static_cast<int*>(
      mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  journal().mirror_level(last_level);
  long failures = 0;
  for (const Use& use : all_uses()) {
    SCOPED_TRACE(use.name);
    int outcome = kSurvived;
    long n = 0;
    do {
      lay_down();
      outcome = run_failing(use, ++n);
      ASSERT_TRUE(outcome == kSurvived || outcome == kEnded || outcome == kNothingFailed)
          << "allocation " << n << ", outcome " << outcome;
      if (outcome == kEnded) {
        EXPECT_EQ(*last_level, LOG_LEVEL_ERROR) << "allocation " << n;
      }
      ASSERT_LT(n, 10000);
    } while (outcome != kNothingFailed);
    failures += n - 1;
  }
  EXPECT_GT(failures, 50);
  journal().mirror_level(nullptr);
  munmap(last_level, sizeof(int));
}

TEST_F(Memory, IsNotKeptOverAThousandCalls) {
  for (const Use& use : all_uses()) {
    lay_down();
    Request request(use.form);
    const auto run = [&] {
      use.run(request);
      release_values();
    };
    journal().pause();
    for (int turn = 0; turn < 40; ++turn) run();  // fills the caches of the store
    const long before = held_blocks();
    for (int turn = 0; turn < 1000; ++turn) run();
    EXPECT_EQ(held_blocks(), before + 1000 * use.blocks_kept) << use.name;
    journal().resume();
  }
}

}  // namespace
