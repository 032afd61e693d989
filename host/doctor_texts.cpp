// Lines of the log and of the audit trail, told by the parts whose form is known.
// SPDX-License-Identifier: MIT
#include "doctor_texts.h"

#include <algorithm>
#include <regex>

#include "moment.h"
#include "platform/log.h"
#include "policy.h"

namespace platen {
namespace {

// Time, process, level and place, which stand before the text.
const std::regex kLogLine(
    R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \d{1,10} (\d{1,4}) ([a-z_]{1,40}(\.cpp)?:\d{1,6})) )");

#define PLATEN_END R"((exit status \d+|signal \d+ \([A-Z][A-Za-z ]+\)))"

// A beginning of texts that is told, of the messages of one unit.
struct KnownText {
  const char* place;
  std::regex beginning;
};

const std::regex kWorkerEnd("Worker \\d+ has ended: (more than \\d+ s, )?" PLATEN_END);

const KnownText kKnownTexts[] = {
    {"supervisor.cpp:", kWorkerEnd},
    {"supervisor.cpp:", std::regex("lighttpd has ended \\(" PLATEN_END "\\) and is started again")},
    {"supervisor.cpp:", std::regex("A worker cannot be started: [A-Z][a-z ]+")},
    {"reload.cpp:", std::regex("Not reloaded")},
    {"reload.cpp:",
     std::regex("The setting [a-z-]+ has changed and counts from the next start on")},
    {"log.cpp:", std::regex("Log level \\d+ records passwords")},
};

const std::regex kKnownOutcomes[] = {
    std::regex("refused: (no such form|only for administrators|a field is missing)"),
    std::regex("refused: method (GET|HEAD|POST|PUT|PATCH|DELETE|OPTIONS|TRACE|CONNECT)"),
    std::regex("failed: (the database cannot be used|an error of the program)"),
    std::regex("failed: (more than \\d+ s, )?" PLATEN_END),
    std::regex("(refused|failed)"),
};

#undef PLATEN_END

constexpr std::string_view kFormDirectories[] = {"/form/", "/do/"};

std::string beginning_of(const std::string& text, const std::regex& form) {
  std::smatch found;
  return std::regex_search(text, found, form, std::regex_constants::match_continuous) ? found.str()
                                                                                      : "";
}

std::string known_text(const std::string& place, const std::string& text) {
  for (const KnownText& known : kKnownTexts) {
    if (!place.starts_with(known.place)) continue;
    const std::string beginning = beginning_of(text, known.beginning);
    if (!beginning.empty()) return ' ' + beginning;
  }
  return "";
}

// The name of a form, or of a command; the rest of the action says what of several things it did.
std::string known_action(const std::string& action) {
  const std::string name = action.substr(0, action.find(' '));
  const bool is_form = std::ranges::any_of(kFormDirectories, [&](std::string_view directory) {
    return find_form(std::string(directory) + name) != nullptr;
  });
  return is_form ? name : "another address or command";
}

std::string known_outcome(const std::string& outcome) {
  for (const std::regex& form : kKnownOutcomes) {
    std::string beginning = beginning_of(outcome, form);
    if (!beginning.empty()) return beginning;
  }
  return "not done";
}

}  // namespace

LoggedErrors logged_errors(std::string_view log, size_t most) {
  LoggedErrors errors;
  while (!log.empty()) {
    const std::string line(log.substr(0, log.find('\n')));
    log.remove_prefix(std::min(log.size(), line.size() + 1));
    std::smatch parts;
    if (!std::regex_search(line, parts, kLogLine, std::regex_constants::match_continuous)) continue;
    if (std::stoi(parts[2]) > LOG_LEVEL_WARNING) continue;
    const std::string text = known_text(parts[3], parts.suffix());
    if (!text.empty() && !beginning_of(text.substr(1), kWorkerEnd).empty()) ++errors.worker_ends;
    errors.lines.push_back(parts[1].str() + text);
  }
  if (errors.lines.size() > most) {
    errors.lines.erase(errors.lines.begin(),
                       errors.lines.end() - static_cast<std::ptrdiff_t>(most));
  }
  return errors;
}

std::string told_entry(const AuditEntry& entry) {
  return utc_text(entry.time) + ' ' + known_action(entry.action) + ": " +
         known_outcome(entry.outcome);
}

}  // namespace platen
