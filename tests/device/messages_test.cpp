// Tests of the update requests: what is stored, what is refused, and that the reply tells.
// SPDX-License-Identifier: MIT
#include "device/messages.h"

#include <gtest/gtest.h>

#include <string>

#include "device/configuration.h"
#include "device/log.h"
#include "platform/configapi.h"
#include "platform/ipc.h"
#include "temporary_directory.h"

namespace platen {
namespace {

constexpr int kNotSent = -1;

class MessagesTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(open_configuration(directory_.file("configuration.db"), &error)) << error;
  }

  // Sends the bytes and returns the status of the reply, or kNotSent.
  static int send(const std::string& bytes) {
    Ipc_message* reply = nullptr;
    if (ipc_send_message_sync(2000, 13001, bytes.data(), bytes.size(), 7000, &reply) != 0) {
      EXPECT_EQ(reply, nullptr);
      return kNotSent;
    }
    const int status = static_cast<ConfigResponse_t*>(ipc_message_data(reply))->status;
    ipc_free_message(0, reply);
    return status;
  }

  static int send_text(const std::string& text) { return send({text.c_str(), text.size() + 1}); }

  static std::string value(const std::string& key) {
    ConfigAVP_t text = "";
    return Cfg_GetAttrValue(key.c_str(), text, sizeof text) == CFG_OK ? text : "(none)";
  }

  TemporaryDirectory directory_;
};

TEST_F(MessagesTest, ARequestStoresItsValueAsItComes) {
  const struct {
    const char* assignment;
    const char* key;
    const char* value;
  } rows[] = {
      {R"(k="v")", "k", "v"},
      {R"(k="")", "k", ""},
      {R"(scanToMailbox.john.password="")", "scanToMailbox.john.password", ""},
      {R"(k="a"b")", "k", "a\"b"},
      {R"(k=""")", "k", "\""},
      {R"(k="a="b")", "k", "a=\"b"},
      {R"(k="\"\\n%41&amp;")", "k", R"(\"\\n%41&amp;)"},
      {R"(a=b="v")", "a=b", "v"},
      {"k=\"\xFF\n\t\"", "k", "\xFF\n\t"},
      {R"(services[templatePool].localUpdating="TRUE")", "services[templatePool].localUpdating",
       "TRUE"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(send_text(std::string("platend:") + row.assignment), CFG_OK) << row.assignment;
    EXPECT_EQ(value(row.key), row.value) << row.assignment;
  }
}

TEST_F(MessagesTest, WhatIsNoRequestIsRefusedAndStoresNothing) {
  for (const char* text :
       {"", "platend:", "k=\"v\"", "Platend:k=\"v\"", " platend:k=\"v\"", "platend:k=v",
        "platend:k=\"v", "platend:k=\"", "platend:k=\"v\" ", "platend:=\"v\"", "platend:k\"v\""}) {
    EXPECT_EQ(send_text(text), CFG_INVALID) << text;
  }
  EXPECT_EQ(configuration_history(10).size(), 0U);
}

TEST_F(MessagesTest, LimitsAreThoseOfTheStore) {
  const std::string key(255, 'k');
  const std::string text(1063, 'v');
  EXPECT_EQ(send_text("platend:" + key + "=\"" + text + "\""), CFG_OK);
  EXPECT_EQ(value(key), text);
  EXPECT_EQ(send_text("platend:k" + key + "=\"v\""), CFG_INVALID);
  EXPECT_EQ(send_text("platend:k=\"v" + text + "\""), CFG_INVALID);
  EXPECT_EQ(value("k"), "(none)");
}

TEST_F(MessagesTest, BytesWithoutOneTerminatorAtTheirEndAreNotSent) {
  for (const std::string& bytes :
       {std::string(), std::string("platend:k=\"v\""), std::string("platend:\0k=\"v\"\0", 15)}) {
    EXPECT_EQ(send(bytes), kNotSent);
  }
  EXPECT_EQ(value("k"), "(none)");
}

TEST_F(MessagesTest, AReloadRequestBumpsThePoolGeneration) {
  EXPECT_EQ(pool_generation(), 0);
  for (long generation : {1, 2, 3}) {
    send_text("platend:services[templatePool].localUpdating=\"TRUE\"");
    EXPECT_EQ(pool_generation(), generation);
  }
  send_text("platend:other=\"TRUE\"");
  EXPECT_EQ(pool_generation(), 3);
}

TEST_F(MessagesTest, ConfigUpdateTellsWhatTheReplyTells) {
  char good[] = "k=\"v\"";
  char bad[] = "no assignment";
  EXPECT_EQ(ConfigUpdate(good), CFG_OK);
  EXPECT_EQ(value("k"), "v");
  EXPECT_EQ(ConfigUpdate(bad), CFG_INVALID);
}

TEST_F(MessagesTest, AnUnavailableConfigurationIsToldByTheReply) {
  std::string error;
  ASSERT_TRUE(open_configuration(directory_.file("gone.db"), &error)) << error;
  directory_.write("gone.db", std::string(8192, 'x'));
  EXPECT_EQ(send_text("platend:k=\"v\""), CFG_UNAVAILABLE);
}

}  // namespace
}  // namespace platen
