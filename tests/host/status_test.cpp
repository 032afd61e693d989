// Tests of what the status page shows, and of the memory that it comes from.
// SPDX-License-Identifier: MIT
#include "status.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "page_fixture.h"
#include "shared_text.h"

namespace platen {
namespace {

TEST(SharedText, HoldsTheLatestTextCutToItsSize) {
  SharedText<5> text;
  EXPECT_EQ(text.get(), "");
  text.set("a longer one");
  EXPECT_EQ(text.get(), "a lon");
  text.set(std::string_view("b\0c", 3));
  EXPECT_EQ(text.get(), std::string("b\0c", 3));
}

TEST(SharedText, IsReadWholeWhileItIsWritten) {
  constexpr int kWrites = 20'000;
  SharedText<200> text;
  std::atomic<bool> is_done = false;
  std::thread writer([&] {
    for (int i = 0; i < kWrites; ++i) text.set(std::string(200, static_cast<char>('a' + i % 26)));
    is_done = true;
  });
  while (!is_done) {
    const std::string read = text.get();
    ASSERT_EQ(read, std::string(read.size(), read.empty() ? ' ' : read[0]));
  }
  writer.join();
}

TEST(Disks, AreLowWhenSavesMaySoonFail) {
  constexpr uint64_t kMebibyte = 1024 * 1024;
  EXPECT_TRUE(is_low(0, 0));
  EXPECT_TRUE(is_low(20 * kMebibyte - 1, 100 * kMebibyte));
  EXPECT_FALSE(is_low(20 * kMebibyte, 100 * kMebibyte));
  EXPECT_TRUE(is_low(400 * kMebibyte, 10'000 * kMebibyte));
  EXPECT_FALSE(is_low(600 * kMebibyte, 10'000 * kMebibyte));
  EXPECT_FALSE(is_low(1024 * kMebibyte, 1'000'000 * kMebibyte));
}

class StatusTest : public PageFixture {
 protected:
  StatusTest() {
    module_.construct_template = [](TemplateObject*) {};
    module_.destruct_template = [](TemplateObject*) {};
    module_.open_template = [](TemplateObject*, const char* path, int) {
      return std::string_view(path).find("bad") == std::string_view::npos ? 1 : 0;
    };
    module_double().open_error = "FILE:7:5: reason";
  }

  std::unique_ptr<ServerState> server_ = std::make_unique<ServerState>();
};

TEST_F(StatusTest, TellsEachDiskOnce) {
  const Json disks =
      disks_json({{root_, "templates"}, {pages_, "settings"}, {root_ + "/missing", "mailbox"}});
  ASSERT_EQ(disks.size(), 1U);
  EXPECT_EQ(disks[0]["names"], Json({"templates", "settings"}));
  EXPECT_GT(disks[0]["size"], 0);
  EXPECT_LE(disks[0]["free"], disks[0]["size"]);
}

TEST_F(StatusTest, TellsWhichTemplatesCannotBeOpened) {
  for (const char* name : {"good.KTP", "bad.ktp", "bad.txt", ".bad.KTP", "bad.KTP.bak"}) {
    write(name, "");
  }
  write("bad directory.KTP/x", "");
  EXPECT_EQ(templates_json(module_, {pages_, pages_ + "/missing"}).dump(),
            "{\"checked\":2,\"isComplete\":true,\"broken\":[{\"file\":\"" + pages_ +
                "/bad.ktp\",\"reason\":\"FILE:7:5: reason\"}]}");
}

TEST_F(StatusTest, StopsAtAHundredBrokenTemplates) {
  for (int i = 0; i < 101; ++i) write("bad" + std::to_string(i) + ".KTP", "");
  const Json told = templates_json(module_, {pages_});
  EXPECT_EQ(told["broken"].size(), 100U);
  EXPECT_EQ(told["isComplete"], false);
}

TEST_F(StatusTest, TellsWhatEachWorkerDoes) {
  server_->workers[1].process = 11;
  server_->workers[1].started = monotonic_ms() - 61'000;
  server_->workers[1].served = 5;
  server_->workers[1].request.set("GET /earlier");
  server_->workers[3].process = 12;
  server_->workers[3].started = monotonic_ms();
  server_->workers[3].busy_since = 1;
  server_->workers[3].request.set("GET /now");
  EXPECT_EQ(processes_json(*server_)["workers"].dump(),
            "[{\"process\":11,\"request\":null,\"served\":5,\"age\":61},"
            "{\"process\":12,\"request\":\"GET /now\",\"served\":0,\"age\":0}]");
}

TEST_F(StatusTest, TellsTheLatestEndsOfWorkers) {
  for (int i = 1; i <= 21; ++i) {
    WorkerEnd& end = server_->ends[server_->end_count % server_->ends.size()];
    end.process = i;
    end.cause.set("exit status 1");
    end.last_line.set("line " + std::to_string(i));
    ++server_->end_count;
  }
  server_->ends_by_cause[static_cast<size_t>(EndCause::exit)] = 21;
  const Json told = processes_json(*server_);
  EXPECT_EQ(told["ends"].size(), 20U);
  EXPECT_EQ(told["ends"].front().dump(),
            "{\"time\":\"1970-01-01T00:00:00Z\",\"process\":21,\"cause\":\"exit status 1\","
            "\"request\":\"\",\"line\":\"line 21\"}");
  EXPECT_EQ(told["ends"].back()["process"], 2);
  EXPECT_EQ(told["restarts"].dump(), "{\"planned\":0,\"exit\":21,\"signal\":0,\"late\":0}");
}

TEST_F(StatusTest, TellsNothingOfProcessesWithoutAServer) {
  const Json told = status_json({nullptr, module_, root_});
  EXPECT_EQ(told["processes"], Json());
  EXPECT_EQ(told["poolGeneration"], 7);
  EXPECT_FALSE(told["version"].get<std::string>().empty());
}

}  // namespace
}  // namespace platen
