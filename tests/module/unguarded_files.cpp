// What the handlers let through when nobody judges their fields before: why the host's policy does.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "loaded_module.h"
#include "real_store.h"

namespace {

constexpr char kSource[] = "/tmp/template/pool/web/A.KTP";
constexpr char kDefaultTemplate[] = "/tmp/template/pool/system/default.ktp";
constexpr char kOtherSpelling[] = "/tmp/template/pool/system//default.ktp";

class Unguarded : public ModuleFiles {
 protected:
  void SetUp() override {
    ModuleFiles::SetUp();
    for (const char* path : {kSource, kDefaultTemplate}) {
      write_template(path, {{"qvn_svc_general", "JobTemplateName", "string", {path}}});
    }
  }

  static int copy(Request& request) {
    return parser().HTTP_Parser_Copy_fn(request.record(), request.entries(), request.count());
  }

  static int set(Request& request) {
    return parser().HTTP_Parser_Set_fn(request.record(), request.entries(), request.count());
  }

  static Values name_in(const std::string& path) {
    return stored(path, "qvn_svc_general", "JobTemplateName");
  }
};

TEST_F(Unguarded, ACopyNameWithABarStampsAnotherFile) {
  const std::string other = "/tmp/template/pool/web/B.KTP";
  write_template(other, {{"qvn_svc_general", "JobTemplateName", "string", {"B"}}});
  Request request{{"ParserFilename", kSource}, {"CopyParserFilename", "B.KTP|C.KTP"}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(name_in(other), (Values{"B.KTP|C.KTP"}));
  EXPECT_NE(bytes(other + "|C.KTP"), "(none)");
}

TEST_F(Unguarded, ACopyNameWithADirectoryReplacesTheDefaultTemplate) {
  Request request{{"ParserFilename", kSource}, {"CopyParserFilename", "../system/default.ktp"}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(name_in(kDefaultTemplate), (Values{kSource}));
}

TEST_F(Unguarded, ADoubledSlashEditsTheDefaultTemplateWithoutALogin) {
  Request request{{"ParserFilename", kOtherSpelling},
                  {"ServiceName", "qvn_svc_general"},
                  {"InvocationName", invocations(kDefaultTemplate, "qvn_svc_general").at(0)},
                  {"AttributeName", "JobTemplateName"},
                  {"AttributeValue", "attacked"},
                  {"Action", "update"}};
  ASSERT_EQ(request->loginName, nullptr);
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(name_in(kDefaultTemplate), (Values{"attacked"}));
}

TEST_F(Unguarded, ADoubledSlashDeletesTheDefaultTemplate) {
  Request request{{"ParserFilename", kOtherSpelling}};
  EXPECT_EQ(parser().HTTP_Parser_Delete_fn(request.record(), request.entries(), request.count()),
            0);
  EXPECT_EQ(bytes(kDefaultTemplate), "(none)");
}

TEST_F(Unguarded, ASecondSourceIsCopiedInPlaceOfTheOneThatWasJudged) {
  Request request{{"ParserFilename", kSource},     {"DefaultParserFilename", kDefaultTemplate},
                  {"CopyParserFilename", "B.KTP"}, {"ServiceName", "x"},
                  {"InvocationName", "NULL"},      {"AttributeName", "y"},
                  {"AttributeValue", "z"},         {"Action", "update"}};
  write_template(kDefaultTemplate, {{"secret", "Word", "string", {"hidden"}}});
  EXPECT_EQ(set(request), 0);
  EXPECT_EQ(stored("/tmp/template/pool/web/B.KTP", "secret", "Word"), (Values{"hidden"}));
}

TEST_F(Unguarded, ACopyWithoutADestinationBelongsToNoPool) {
  Request request{{"ParserFilename", kSource}};
  EXPECT_EQ(copy(request), 1);
  EXPECT_EQ(request.reason(), "Couldn't Copy Template from: " + std::string(kSource) +
                                  " to (Copy)" + kSource + ".\r\n");
}

TEST_F(Unguarded, ACopyReplacesWhatIsThere) {
  const std::string other = "/tmp/template/pool/web/B.KTP";
  write_template(other, {{"precious", "Word", "string", {"kept"}}});
  Request request{{"ParserFilename", kSource}, {"CopyParserFilename", "B.KTP"}};
  EXPECT_EQ(copy(request), 0);
  EXPECT_EQ(stored(other, "precious", "Word"), Values{});
}

TEST_F(Unguarded, APagesQueryOpensAnyTemplateEvenAMailboxJobLog) {
  char log[] = "/var/spool/nc/image_store/s2mailbox/anna/job.KTP";
  EXPECT_EQ(parser().ValidTemplatePath(log), TRUE);
  Request query{{"ParserFilename", kSource}, {"ParserFilename", kDefaultTemplate}};
  parser().HTTP_Open_Parser_fn(query.record(), Argument(""));
  const auto* opened = static_cast<TemplateObject*>(query->parserTemplate);
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->m_filename, real_path(kDefaultTemplate));
  parser().HTTP_Close_Parser_fn(query.record(), Argument("FALSE"));
}

}  // namespace
