// Points of time read and written.
// SPDX-License-Identifier: MIT
#include "moment.h"

#include <ctime>

#include "clock.h"

namespace platen {
namespace {

struct Precision {
  const char* format;
  int64_t seconds;  // how long it lasts
};

constexpr Precision kPrecisions[] = {
    {"%Y-%m-%d", kDay}, {"%Y-%m-%dT%H:%M", kMinute}, {"%Y-%m-%dT%H:%M:%S", 1}};

}  // namespace

// What the C library reads is written again and compared, as it also reads what no clock shows.
std::optional<Moment> parse_moment(std::string_view text) {
  const std::string plain(text.substr(0, text.ends_with('Z') ? text.size() - 1 : text.size()));
  for (const Precision& precision : kPrecisions) {
    tm parts{};
    const char* end = strptime(plain.c_str(), precision.format, &parts);
    if (end == nullptr || *end != '\0') continue;
    const int64_t begin = timegm(&parts);
    if (utc_text(begin).starts_with(plain)) return Moment{begin, begin + precision.seconds};
  }
  return std::nullopt;
}

std::string utc_text(int64_t seconds) {
  const time_t time = seconds;
  tm parts{};
  char text[sizeof "9999-12-31T23:59:59Z"] = "";
  if (gmtime_r(&time, &parts) != nullptr) strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace platen
