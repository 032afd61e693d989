// Counters written as text, and the pools tried.
// SPDX-License-Identifier: MIT
#include "metrics.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "device_directories.h"
#include "status.h"

namespace platen {
namespace {

constexpr const char* kAnswerNames[kAnswers] = {"done", "refused", "failed"};
constexpr const char* kDefaultTemplate = "/tmp/template/pool/system/default.ktp";
constexpr size_t kProbeBytes = size_t{64} * 1024;  // as most templates have at most

// Text in the form of monitoring systems, metric after metric.
class Exposition {
 public:
  void begin(const std::string& name, const char* type, const char* help) {
    name_ = name;
    text_ += "# HELP " + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
  }

  // A value of the metric; `label` is empty or LABEL="VALUE".
  void value(const std::string& label, const std::string& number, const char* suffix = "") {
    text_ += name_ + suffix + (label.empty() ? "" : '{' + label + '}') + ' ' + number + '\n';
  }
  void value(const std::string& label, int64_t number, const char* suffix = "") {
    value(label, std::to_string(number), suffix);
  }

  const std::string& text() const { return text_; }

 private:
  std::string name_;
  std::string text_;
};

std::string label(const char* name, const std::string& value) {
  return std::string(name) + "=\"" + value + '"';
}

// `number` parts of a second, of which it has `parts`, as seconds.
std::string seconds(int64_t number, int64_t parts) {
  char text[64];
  const double value = static_cast<double>(number) / static_cast<double>(parts);
  const auto end = std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed).ptr;
  return {text, end};
}

template <size_t size>
void tell_each(const char* name, const char* const (&values)[size],
               const std::array<std::atomic<int64_t>, size>& counters, Exposition* out) {
  for (size_t i = 0; i < size; ++i) out->value(label(name, values[i]), counters[i].load());
}

// Each class counts those of the shorter ones too.
void tell_times(const ServerState& server, Exposition* out) {
  const int64_t sum = server.time_sum;
  int64_t count = 0;
  for (size_t i = 0; i < server.times.size(); ++i) {
    count += server.times[i];
    const bool is_last = i == kTimeClasses.size();
    out->value(label("le", is_last ? "+Inf" : seconds(kTimeClasses[i], 1000)), count, "_bucket");
  }
  out->value("", seconds(sum, 1'000'000), "_sum");
  out->value("", count, "_count");
}

std::string save_fault(const std::string& directory) {
  const int file = open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (file < 0) {
    // A file system that knows no files without a name is asked for its rights alone.
    const bool is_unknown = errno == EOPNOTSUPP || errno == EISDIR;
    if (is_unknown && access(directory.c_str(), W_OK | X_OK) == 0) return "";
    return directory + ": " + strerror(errno);
  }
  const std::string bytes(kProbeBytes, '\n');
  errno = ENOSPC;
  const bool is_written = write(file, bytes.data(), bytes.size()) == ssize_t{kProbeBytes};
  std::string fault = is_written ? "" : directory + ": " + strerror(errno);
  close(file);
  return fault;
}

std::string read_fault(const ParserModule& module, const std::string& file) {
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0 && errno == ENOENT) return "";
  return open_fault(module, file);
}

Response plain_text(int status, std::string body) {
  Response response;
  response.status = status;
  response.content_type = "text/plain; charset=utf-8";
  response.body = std::move(body);
  return response;
}

}  // namespace

std::string metrics_text(const ServerState& server) {
  Exposition out;
  out.begin("platen_build_info", "gauge", "Version of the program.");
  out.value(label("version", PLATEN_VERSION), 1);
  out.begin("platen_start_time_seconds", "gauge", "When the server started, since 1970.");
  out.value("", server.started.load());
  out.begin("platen_workers", "gauge", "Processes that answer requests.");
  out.value("", std::ranges::count_if(
                    server.workers, [](const WorkerState& worker) { return worker.process != 0; }));
  out.begin("platen_requests_total", "counter", "Requests answered, by how; not static files.");
  tell_each("outcome", kAnswerNames, server.answers, &out);
  out.begin("platen_request_seconds", "histogram", "Time in which a worker answered a request.");
  tell_times(server, &out);
  out.begin("platen_worker_ends_total", "counter", "Workers that ended, by cause.");
  tell_each("cause", kEndCauseNames, server.ends_by_cause, &out);
  out.begin("platen_save_failures_total", "counter", "Saves and writes of templates that failed.");
  out.value("", server.failed_saves.load());
  return out.text();
}

TemplatePlaces device_templates() {
  return {kDefaultTemplate, {kDeviceDirectories[0].path, kDeviceDirectories[1].path}};
}

std::string health_fault(const ParserModule& module, const TemplatePlaces& places) {
  const std::string unread = read_fault(module, places.template_file);
  if (!unread.empty()) return "templates cannot be read: " + unread;
  for (const std::string& directory : places.directories) {
    const std::string fault = save_fault(directory);
    if (!fault.empty()) return "templates cannot be saved: " + fault;
  }
  return "";
}

Response answer_monitor(const Request& request, const ServerState& server,
                        const ParserModule& module) {
  if (request.method != "GET" && request.method != "HEAD") {
    Response response = plain_text(405, "only GET and HEAD are answered here\n");
    response.headers.emplace_back("Allow", "GET, HEAD");
    return response;
  }
  if (request.path == "/metrics") {
    Response response = plain_text(200, metrics_text(server));
    response.content_type = "text/plain; version=0.0.4; charset=utf-8";
    return response;
  }
  if (request.path != "/health") return plain_text(404, "here are /metrics and /health\n");
  const std::string fault = health_fault(module, device_templates());
  return fault.empty() ? plain_text(200, "ok\n") : plain_text(503, fault + '\n');
}

}  // namespace platen
