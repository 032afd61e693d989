// Tests of clone files and what may be in them, over the real store.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>

#include "../device/temporary_directory.h"
#include "clone_contents.h"
#include "clone_file.h"
#include "clone_secrets.h"
#include "clone_uploads.h"
#include "fake_clock.h"
#include "output_format.h"

namespace platen {
namespace {

// ---- The file. ----

CloneDocument sample() {
  CloneDocument document;
  document.made = "2026-11-21T13:00:00Z";
  document.device = "platend:";
  document.groups = {{11, "Web \"<templates>\""}};
  document.templates = {{"/tmp/template/pool/web/a.KTP", 11, "# \xC3\xA4\r\n\t", {"LoginPassword"}},
                        {"/tmp/template/pool/web/b.KTP", 11, std::string("\xFF\0x", 3), {}}};
  document.settings = {{"panel.volume", 11, ""}, {"panel.bytes", 11, "\xFE"}};
  document.left_out = {{"/tmp/template/pool/web/c.KTP", "reason"}};
  return document;
}

TEST(CloneFileTest, KeepsEveryByte) {
  CloneDocument read;
  ASSERT_EQ(read_clone_text(clone_text(sample()), &read), "");
  ASSERT_EQ(read.templates.size(), 2U);
  EXPECT_EQ(read.templates[0].text, sample().templates[0].text);
  EXPECT_EQ(read.templates[0].withheld, std::vector<std::string>{"LoginPassword"});
  EXPECT_EQ(read.templates[1].text, sample().templates[1].text);
  ASSERT_EQ(read.settings.size(), 2U);
  EXPECT_EQ(read.settings[0].value, "");
  EXPECT_EQ(read.settings[1].value, "\xFE");
  EXPECT_EQ(read.groups[0].name, "Web \"<templates>\"");
  EXPECT_EQ(read.left_out[0].reason, "reason");
  EXPECT_EQ(clone_text(read), clone_text(sample()));
}

TEST(CloneFileTest, IsReadableText) {
  const Json json = Json::parse(clone_text(sample()));
  EXPECT_EQ(json["format"], "platen-clone");
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["templates"][0]["text"], "# \xC3\xA4\r\n\t");
  EXPECT_EQ(json["templates"][1]["textBase64"], "/wB4");
  EXPECT_EQ(json["settings"][1]["valueBase64"], "/g==");
  Json rest = json;
  rest.erase("checksum");
  EXPECT_EQ(json["checksum"], "sha256:" + sha256(rest.dump()));
}

TEST(CloneFileTest, TakesAnotherLayoutOfTheSameDocument) {
  CloneDocument read;
  EXPECT_EQ(read_clone_text(Json::parse(clone_text(sample())).dump(), &read), "");
}

TEST(CloneFileTest, RefusesWhatWasCutAnywhere) {
  const std::string text = Json::parse(clone_text(sample())).dump();
  for (size_t length = 0; length < text.size(); ++length) {
    CloneDocument read;
    EXPECT_NE(read_clone_text(std::string_view(text).substr(0, length), &read), "") << length;
  }
}

TEST(CloneFileTest, RefusesAnyChangedLetterOfAText) {
  const std::string text = Json::parse(clone_text(sample())).dump();
  const size_t value = text.find("a.KTP");
  CloneDocument read;
  EXPECT_EQ(read_clone_text(std::string(text).replace(value, 1, "z"), &read),
            "The clone file was damaged or changed after it was made: its checksum is wrong.");
}

TEST(CloneFileTest, RefusesTheTokenOfWhatBelongsToNoGroup) {
  CloneDocument document = sample();
  document.settings[0].group = 0;
  CloneDocument read;
  EXPECT_EQ(read_clone_text(clone_text(document), &read),
            "The clone file has no usable \"group\" in settings[0].");
}

TEST(CloneFileTest, RefusesWhatIsNoTime) {
  CloneDocument document = sample();
  document.made = "yesterday";
  CloneDocument read;
  EXPECT_EQ(read_clone_text(clone_text(document), &read),
            "The clone file has no usable \"made\" in the document.");
}

TEST(CloneFileTest, SumsAreSha256) {
  EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

// ---- The contents. ----

class CloneContentsTest : public testing::Test {
 protected:
  // "" or why the file is refused, without its directory.
  std::string load(const std::string& text) {
    std::string error;
    const std::string file = directory_.write("contents", text);
    if (contents_.load(file, &error)) return "";
    return error.substr(directory_.path().size() + 1);
  }

  TemporaryDirectory directory_;
  CloneContents contents_;
};

TEST_F(CloneContentsTest, GivesEachNameToTheFirstLineThatMatches) {
  ASSERT_EQ(load("# comment\n\n/tmp/template/pool/web/Fax*.KTP\t1\n/tmp/template/pool/web/*\t2\n"
                 "/tmp/template/pool/web/One.KTP\t3\nfax.station.*\t4\nfax.*\t5\npanel\t6\n"),
            "");
  const std::pair<const char*, int> templates[] = {
      {"/tmp/template/pool/web/Fax.KTP", 1},
      {"/tmp/template/pool/web/Fax office.KTP", 1},
      {"/tmp/template/pool/web/Fax.ktp", 2},
      {"/tmp/template/pool/web/One.KTP", 2},
      {"/tmp/template/pool/web/deep/a.KTP", 0},
      {"/tmp/template/pool/system/a.KTP", 0},
      {"/tmp/template/pool/web", 0},
      {"fax.x", 0},
  };
  for (const auto& [path, token] : templates) {
    EXPECT_EQ(contents_.token_of_template(path), token) << path;
  }
  const std::pair<const char*, int> settings[] = {
      {"fax.station.x", 4}, {"fax.station", 5},     {"fax.", 5},  {"panel", 6},  {"panel.x", 0},
      {"fax.password", 0},  {"fax.station.sid", 0}, {"Fax.x", 0}, {"fax.a/b", 0}};
  for (const auto& [key, token] : settings)
    EXPECT_EQ(contents_.token_of_setting(key), token) << key;
  EXPECT_EQ(contents_.tokens(), (std::set<int>{1, 2, 3, 4, 5, 6}));
}

TEST_F(CloneContentsTest, NamesTheLineThatIsWrong) {
  const std::pair<std::string, std::string> rows[] = {
      {"panel.x\tten\n", "\"ten\" is no token; a token is a number above 0"},
      {"panel.x\t0\n", "\"0\" is no token; a token is a number above 0"},
      {"panel.x\t1 \n", "\"1 \" is no token; a token is a number above 0"},
      {"panel.x\n", "no tab between key and text"},
      {"panel.*.x\t1\n", "a * may stand only at the end of a key"},
      {"*.*\t1\n", "there is more than one *"},
      {"panel.password\t1\n", "a secret setting is never cloned"},
      {"/tmp/template/pool/factory/*\t1\n", "templates as shipped are never cloned"},
      {"/tmp/template/pool/*/a.KTP\t1\n",
       "a * may stand in the name of a template only, not in its directory"},
      {"/etc/*.KTP\t1\n",
       "the path is not below a template pool; it begins with /tmp/template/pool/ or "
       "/tarn/template/pool/"},
      {"/tmp/template/pool/web/*.txt\t1\n", "the path names no template; its name ends in .KTP"},
      {"/tmp/template/pool/web/../x.KTP\t1\n",
       "the path is not in its shortest form; leave out \"..\", \".\" and needless slashes"},
  };
  for (const auto& [line, fault] : rows) {
    EXPECT_EQ(load("# first\n" + line), "contents:2: " + fault) << line;
  }
  EXPECT_EQ(load("a\t1\na\t2\n"), "contents:2: 'a' already stands in line 1");
}

TEST_F(CloneContentsTest, KeepsWhatItHasWhenAFileIsRefused) {
  ASSERT_EQ(load("panel.*\t7\n"), "");
  EXPECT_NE(load("panel.*\tx\n"), "");
  EXPECT_EQ(contents_.token_of_setting("panel.x"), 7);
}

// ---- Secrets. ----

TEST(CloneSecretsTest, TellsSecretNames) {
  for (const char* name :
       {"password", "Password", "LoginPassword", "scanToMailbox.anna.password", "a.sid", "SID",
        "S2M_JOB_PASSWORD", "PIN", "JobPin", "job_pin", "job-pin", "userPasswd", "clientSecret",
        "Passphrase", "Credentials", "adminPwd", "JobPIN"}) {
    EXPECT_TRUE(is_secret_name(name)) << name;
  }
  for (const char* name : {"", "publicPasswordEnabled", "password.length", "Spin", "shipping",
                           "inside", "LoginName", "DocumentPath", "PINS", "passwords", "opin"}) {
    EXPECT_FALSE(is_secret_name(name)) << name;
  }
}

class CloneTemplateTest : public testing::Test {
 protected:
  CloneTemplateTest() {
    module_.construct_template = CKwtTemplate;
    module_.open_template = Open;
    module_.destruct_template = DestructorCKwtTemplate;
    module_.walk = jt_walk;
    module_.error = jt_error;
  }

  WithheldText withhold(const std::string& text) const {
    return withhold_secrets(module_, directory_.write("a.KTP", text), text);
  }

  std::string merged(const std::string& present, const std::string& next) const {
    const std::string present_path = directory_.write("a.KTP", present);
    const std::string next_path = directory_.write("b.KTP", next);
    return with_secrets_of(module_, {present_path, present}, {next_path, next});
  }

  TemporaryDirectory directory_;
  ParserModule module_;
};

const std::string kHead = "[service s]\n[invocation i]\n";

TEST_F(CloneTemplateTest, TakesOutTheLinesOfSecretsAlone) {
  const WithheldText found =
      withhold(kHead +
               "# kept\r\n  Note (t) = x\r\n  JobPin (t, compulsory) = 1\n# between\n  = 2\n"
               "  Empty Password (t) =\n#Password=3\n  Last (t) = y");
  EXPECT_EQ(found.fault, "");
  EXPECT_EQ(found.names, std::vector<std::string>{"JobPin"});
  EXPECT_EQ(found.text, kHead +
                            "# kept\r\n  Note (t) = x\r\n# between\n  Empty Password (t) =\n"
                            "  Last (t) = y");
}

TEST_F(CloneTemplateTest, TakesOutTheValuesOfMaskedFields) {
  const std::string field = "MetaDataValue (t) = v\nMetaDataDefaultValue (t) = d\n";
  const std::string plain = kHead + "MetaDataMaskingRequired (t) = NO_MASK\n" + field;
  EXPECT_EQ(withhold(plain).text, plain);
  const std::string masked = kHead + "MetaDataMaskingRequired (t) = MASK_ONLY\n";
  EXPECT_EQ(withhold(masked + field).text, masked);
  const std::string named = kHead + "MetaDataFieldName (t) = S2M_FOLDER_PASSWORD\n";
  EXPECT_EQ(withhold(named + field).text, named);
  EXPECT_EQ(withhold(named + field + "[invocation j]\n" + field).text,
            named + "[invocation j]\n" + field);
}

TEST_F(CloneTemplateTest, TellsWhereATemplateCannotBeRead) {
  EXPECT_EQ(withhold(kHead + "oops\n").fault,
            directory_.file("a.KTP") + ":3:1: this is no line of the form NAME (TYPE) = VALUE");
}

TEST_F(CloneTemplateTest, KeepsTheSecretsThatTheDeviceHas) {
  const std::string secret = "  Password (t) = p\\\\q\n  = second\n";
  const std::string present = kHead + "A (t) = 1\n" + secret + "B (t) = 2\n";
  EXPECT_EQ(merged(present, kHead + "A (t) = 3"), kHead + "A (t) = 3\n" + secret);
  EXPECT_EQ(merged(present, kHead + "A (t) = 3\n[invocation j]\nC (t) = 4\n"),
            kHead + "A (t) = 3\n" + secret + "[invocation j]\nC (t) = 4\n");
  EXPECT_EQ(merged(present, kHead), kHead);
  const std::string own = kHead + "Password (t)\n";
  EXPECT_EQ(merged(present, own), own);
  EXPECT_EQ(merged(kHead + "A (t) = 1\nPassword (t)\n= p\n", kHead + "A (t) = 3\n"),
            kHead + "A (t) = 3\n");
}

// ---- What was read in. ----

class CloneUploadsTest : public testing::Test {
 protected:
  TemporaryDirectory directory_;
  Database database_{directory_.file("d")};
  FakeClock time_;
  CloneUploads uploads_{database_, time_.clock()};
};

TEST_F(CloneUploadsTest, GivesAFileToItsHolderAndIdAlone) {
  const std::string id = uploads_.keep("cookie", "text");
  EXPECT_EQ(uploads_.find("cookie", id), "text");
  EXPECT_EQ(uploads_.find("cookie", id), "text");
  EXPECT_EQ(uploads_.find("other", id), "");
  EXPECT_EQ(uploads_.find("cookie", "other"), "");
  EXPECT_EQ(uploads_.find("cookie", ""), "");
  uploads_.drop("other");
  EXPECT_EQ(uploads_.find("cookie", id), "text");
  uploads_.drop("cookie");
  EXPECT_EQ(uploads_.find("cookie", id), "");
}

TEST_F(CloneUploadsTest, KeepsOneFileOfAHolderForAnHour) {
  const std::string first = uploads_.keep("cookie", "first");
  const std::string second = uploads_.keep("cookie", "second");
  EXPECT_EQ(uploads_.find("cookie", first), "");
  time_.now += 3600;
  EXPECT_EQ(uploads_.find("cookie", second), "second");
  time_.now += 1;
  EXPECT_EQ(uploads_.find("cookie", second), "");
}

TEST_F(CloneUploadsTest, KeepsTheLatestFilesAndNoReadableText) {
  std::array<std::string, 6> ids;
  for (size_t i = 0; i < ids.size(); ++i) {
    ids.at(i) = uploads_.keep("cookie" + std::to_string(i), "a readable text");
  }
  EXPECT_EQ(uploads_.find("cookie0", ids[0]), "");
  EXPECT_EQ(uploads_.find("cookie1", ids[1]), "a readable text");
  EXPECT_EQ(uploads_.find("cookie5", ids[5]), "a readable text");
  Statement row = database_.prepare("SELECT holder, id, sealed FROM clone_upload");
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.text(0).find("cookie"), std::string::npos);
  EXPECT_EQ(row.text(2).find("readable"), std::string::npos);
}

}  // namespace
}  // namespace platen
