// Tests of which query fields a page may get.
// SPDX-License-Identifier: MIT
#include "policy.h"

#include <gtest/gtest.h>

namespace platen {
namespace {

const std::string kWrongForm =
    " is not in its shortest form; leave out \"..\", \".\" and needless slashes.";
const std::string kOutside =
    " is not below a template pool; it begins with /tmp/template/pool/ or /tarn/template/pool/.";
const std::string kNoTemplate = " names no template; its name ends in .KTP.";

std::string refusal(const std::string& name, const std::string& value) {
  return refuse_page_fields("/edit.html", {{name, value}});
}

std::string path_of_length(size_t length) {
  const std::string start = "/tmp/template/pool/";
  return start + std::string(length - start.size() - 4, 'x') + ".KTP";
}

TEST(PagePolicy, LetsKnownFieldsThrough) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"ParserFilename", "/tmp/template/pool/a.KTP"},
      {"ParserFilename", "/tmp/template/pool/web/Colour scan \"1\".ktp"},
      {"ParserFilename", "/tmp/template/pool/web/back\\slash.KtP"},
      {"ParserFilename", "/tarn/template/pool/a.KTP"},
      {"ParserFilename", path_of_length(254)},
      {"TemplateDir", "/tmp/template/pool"},
      {"TemplateDir", "/tmp/template/pool/web"},
      {"TemplateDir", "/tarn/template/pool"},
      {"ServiceName", "qvn_svc_general"},
      {"InvocationName", "a|b../\x01\xFF"},
      {"InvocationName", std::string(255, 'x')},
      {"AttributeName", ""},
      {"AttributeType", "string"},
  };
  for (const auto& [name, value] : rows) EXPECT_EQ(refusal(name, value), "") << value;
}

TEST(PagePolicy, RefusesEverythingElseAndSaysWhy) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      {"ParserFilename", "/var/spool/nc/image_store/s2mailbox/a/job.KTP", kOutside},
      {"ParserFilename", "/etc/x.KTP", kOutside},
      {"ParserFilename", "/tmp/template/poolside/a.KTP", kOutside},
      {"ParserFilename", "/tmp/template/pool", kOutside},
      {"ParserFilename", "", kOutside},
      {"ParserFilename", "a.KTP", kOutside},
      {"ParserFilename", "/tmp/template/pool/../a.KTP", kWrongForm},
      {"ParserFilename", "/tmp/template/pool/a..KTP", kWrongForm},
      {"ParserFilename", "/tmp/template/pool//a.KTP", kWrongForm},
      {"ParserFilename", "/tmp/template/pool/./a.KTP", kWrongForm},
      {"ParserFilename", "//tmp/template/pool/a.KTP", kWrongForm},
      {"ParserFilename", "/tmp/template/pool/a.KTP/", kWrongForm},
      {"ParserFilename", "/tmp/template/pool/a.KTP|O_RDWR", " holds the character \"|\"."},
      {"ParserFilename", "/tmp/template/pool/a\n.KTP", " holds a control character."},
      {"ParserFilename", std::string("/tmp/template/pool/a\0.KTP", 24), " holds a NUL byte."},
      {"ParserFilename", "/tmp/template/pool/a.txt", kNoTemplate},
      {"ParserFilename", "/tmp/template/pool/.KTP", kNoTemplate},
      {"ParserFilename", "/tmp/template/pool/.a.KTP", kNoTemplate},
      {"ParserFilename", "/tmp/template/pool/", kWrongForm},
      {"ParserFilename", path_of_length(255), " is too long; it has at most 254 bytes."},
      {"TemplateDir", "/tmp/template/pool/", kWrongForm},
      {"TemplateDir", "/tmp/template/pool/../x", kWrongForm},
      {"TemplateDir", "/tmp/template", kOutside},
      {"TemplateDir", "/tmp/template/pools", kOutside},
      {"TemplateDir", "/var/spool/nc/image_store/s2mailbox/a", kOutside},
      {"InvocationName", std::string(256, 'x'), " is too long; it has at most 255 bytes."},
      {"InvocationName", std::string("a\0b", 3), " holds a NUL byte."},
      {"DefaultParserFilename", "/tmp/template/pool/a.KTP",
       " is not known to any page; leave it out."},
      {"parserfilename", "x", " is not known to any page; leave it out."},
      {"", "", " is not known to any page; leave it out."},
  };
  for (const auto& [name, value, reason] : rows) {
    EXPECT_EQ(refusal(name, value), "The field \"" + name + "\"" + reason) << value;
  }
}

TEST(PagePolicy, RefusesAFieldGivenTwice) {
  EXPECT_EQ(refuse_page_fields(
                "/", {{"ServiceName", "a"}, {"InvocationName", "b"}, {"ServiceName", "a"}}),
            "The field \"ServiceName\" is given twice; give it once.");
}

TEST(PagePolicy, LooksAtEveryField) {
  EXPECT_EQ(refuse_page_fields("/", {}), "");
  EXPECT_EQ(refuse_page_fields("/", {{"ServiceName", "a"}, {"x", "b"}}),
            "The field \"x\" is not known to any page; leave it out.");
}

TEST(PagePolicy, GivesTheAuditTrailFieldsOfItsOwn) {
  const auto fault = [](const std::string& name, const std::string& value) {
    return refuse_page_fields("/download/audit", {{name, value}});
  };
  for (const char* name : {"login", "action", "outcome", "from", "to", "page", "format"}) {
    EXPECT_EQ(fault(name, ""), "") << name;
  }
  EXPECT_EQ(fault("action", "HTTP_Parser_Copy_fn"), "");
  EXPECT_EQ(fault("object", "' OR 1=1 --%_"), "");
  EXPECT_EQ(fault("from", "2026-11-21T10:16"), "");
  EXPECT_EQ(fault("page", "99999"), "");
  EXPECT_EQ(fault("outcome", "lost"),
            "The field \"outcome\" is none of the words it may be: done refused.");
  EXPECT_EQ(fault("to", "2026-02-30"),
            "The field \"to\" is no time; write one as in 2026-11-21, or 2026-11-21T10:16.");
  for (const char* page : {"0", "-1", "1x", "01"}) {
    EXPECT_EQ(fault("page", page), "The field \"page\" is no whole number from 1 on.") << page;
  }
  EXPECT_EQ(fault("ParserFilename", "/tmp/template/pool/a.KTP"),
            "The field \"ParserFilename\" is not known to any page; leave it out.");
}

}  // namespace
}  // namespace platen
