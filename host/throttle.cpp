// Slows down those who guess passwords, per account and per address.
// SPDX-License-Identifier: MIT
#include "throttle.h"

#include <arpa/inet.h>

#include <algorithm>
#include <utility>

namespace platen {
namespace {

constexpr int64_t kLongestWait = 15 * kMinute;
constexpr int64_t kForgetAfter = kHour;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS failed_try ("
    "counter TEXT PRIMARY KEY, failures INTEGER NOT NULL, last INTEGER NOT NULL) WITHOUT ROWID";

// A client owns the lower 64 bits of its IPv6 address and may change them at will.
std::string network_of(const std::string& address) {
  in6_addr parsed;
  if (inet_pton(AF_INET6, address.c_str(), &parsed) != 1 || IN6_IS_ADDR_V4MAPPED(&parsed)) {
    return address;
  }
  std::fill(parsed.s6_addr + 8, parsed.s6_addr + 16, 0);
  std::array<char, INET6_ADDRSTRLEN> text;
  return inet_ntop(AF_INET6, &parsed, text.data(), text.size());
}

int64_t wait_after(int64_t failures, int64_t free_tries) {
  if (failures < free_tries) return 0;
  const int64_t doublings = std::min<int64_t>(failures - free_tries, 10);
  return std::min(int64_t{1} << doublings, kLongestWait);
}

}  // namespace

Throttle::Throttle(Database& database, Clock clock)
    : database_(database), clock_(std::move(clock)), subject_key_(database, "throttle") {
  database_.make(kSchema);
}

std::array<Throttle::Counter, 3> Throttle::counters_of(std::string_view subject,
                                                       std::string_view address) const {
  const std::string what = subject_key_.hash(subject);
  const std::string from = network_of(std::string(address));
  return {{{what + " " + from, 5}, {what, 20}, {from, 50}}};
}

int64_t Throttle::begin(std::string_view subject, std::string_view address) {
  const int64_t now = clock_();
  Transaction transaction(database_);
  database_.run("DELETE FROM failed_try WHERE abs(?1 - last) > ?2", now, kForgetAfter);
  const auto counters = counters_of(subject, address);
  int64_t longest = 0;
  for (const Counter& counter : counters) {
    Statement found =
        database_.prepare("SELECT failures, last FROM failed_try WHERE counter = ?1", counter.key);
    if (!found.step()) continue;
    const int64_t wait = wait_after(found.integer(0), counter.free_tries);
    longest = std::max(longest, std::min(found.integer(1) + wait - now, wait));
  }
  if (longest > 0) return longest;
  for (const Counter& counter : counters) {
    database_.run(
        "INSERT INTO failed_try VALUES (?1, 1, ?2)"
        " ON CONFLICT (counter) DO UPDATE SET failures = failures + 1, last = ?2",
        counter.key, now);
  }
  transaction.commit();
  return 0;
}

void Throttle::succeeded(std::string_view subject, std::string_view address) {
  const auto [pair, anywhere, any_subject] = counters_of(subject, address);
  Transaction transaction(database_);
  database_.run("DELETE FROM failed_try WHERE counter = ?1", pair.key);
  database_.run("UPDATE failed_try SET failures = failures - 1 WHERE counter IN (?1, ?2)",
                anywhere.key, any_subject.key);
  transaction.commit();
}

// A subject's counters begin with its hash, which has a fixed length.
void Throttle::forget(std::string_view subject) {
  database_.run("DELETE FROM failed_try WHERE substr(counter, 1, length(?1)) = ?1",
                subject_key_.hash(subject));
}

}  // namespace platen
