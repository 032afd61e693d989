// lighttpd configured, started and listened to.
// SPDX-License-Identifier: MIT
#include "front.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include "error_page.h"
#include "listener.h"
#include "platform/log.h"
#include "process.h"

namespace platen {
namespace {

constexpr const char* kSource = "lighttpd";
constexpr const char* kSocketName = "workers.sock";

// "static" below the document root is a link, so that no page's source can be asked for as a file.
// An address is handed on as it was sent: what is wrong with it is told by a page.
constexpr const char* kConfiguration = R"(server.document-root = env.DIRECTORY + "/files"
server.systemd-socket-activation = "enable"
server.tag = ""
server.modules = ( "mod_redirect", "mod_setenv", "mod_fastcgi" )
server.errorfile-prefix = env.DIRECTORY + "/errors/"
server.upload-dirs = ( env.DIRECTORY + "/uploads" )
server.stream-request-body = 0
server.max-request-size = 16384
server.max-request-field-size = 16384
server.max-keep-alive-requests = 65535
server.max-keep-alive-idle = 30
server.max-read-idle = 30
server.max-write-idle = 120
server.http-parseopts = ( "url-ctrls-reject" => "disable", "url-normalize" => "disable" )
mimetype.assign = (
  ".css" => "text/css; charset=utf-8",
  ".html" => "text/html; charset=utf-8",
  ".ico" => "image/x-icon",
  ".js" => "text/javascript; charset=utf-8",
  ".json" => "application/json",
  ".png" => "image/png",
  ".svg" => "image/svg+xml",
  ".txt" => "text/plain; charset=utf-8",
  ".woff2" => "font/woff2"
)
$HTTP["url"] =~ "^/static/" {
  setenv.set-response-header = (
    "Cache-Control" => "no-cache",
    "Referrer-Policy" => "no-referrer",
    "X-Content-Type-Options" => "nosniff"
  )
} else {
  fastcgi.server = ( "/" => ((
    "socket" => env.DIRECTORY + "/workers.sock",
    "check-local" => "disable",
    "disable-time" => 0,
    "connect-timeout" => 10,
    "write-timeout" => 60,
    "x-sendfile" => "enable",
    "x-sendfile-docroot" => ( "/var/spool/nc/image_store/s2mailbox" ),
)";

const std::string kTlsConfiguration = R"(server.modules += ( "mod_openssl" )
ssl.engine = "enable"
ssl.pemfile = env.CERTIFICATE
ssl.privkey = env.PRIVATE_KEY
)";

// The workers give up a request first, and its user then gets the page for that.
constexpr int kSecondsAfterWorkers = 10;

std::string setting(const char* name, int value) {
  return std::string(name) + std::to_string(value) + "\n";
}

long read_number(const char* file, long otherwise) {
  std::ifstream stream(file);
  long number = 0;
  return stream >> number ? number : otherwise;
}

FrontLimits limits_here() {
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  const long descriptors = static_cast<long>(std::min<rlim_t>(files.rlim_max, 1 << 20));
  return front_limits(descriptors, read_number("/proc/sys/net/core/somaxconn", 128));
}

// Changes when the file is written or replaced.
std::string state_of(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return "-";
  return std::to_string(status.st_ino) + "," + std::to_string(status.st_size) + "," +
         std::to_string(status.st_mtim.tv_sec) + "," + std::to_string(status.st_mtim.tv_nsec) + ";";
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream stream;
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream.open(path, std::ios::binary);
  stream << text;
  stream.close();
}

}  // namespace

std::string worker_socket(const std::string& directory) { return directory + "/" + kSocketName; }

FrontLimits front_limits(long descriptors, long backlog) {
  constexpr long kDescriptors = 8192;
  constexpr long kConnections = 4000;
  constexpr long kReserve = 64;
  const long usable = std::min(descriptors, kDescriptors);
  const long connections = std::min({kConnections, usable / 2, backlog - kReserve});
  return {static_cast<int>(usable), static_cast<int>(std::max(connections, 16L))};
}

std::string front_configuration(const FrontLimits& limits, int request_time) {
  return kConfiguration + setting("    \"read-timeout\" => ", request_time + kSecondsAfterWorkers) +
         "  )) )\n}\n" + setting("server.max-fds = ", limits.descriptors) +
         setting("server.max-connections = ", limits.connections);
}

std::string tls_configuration(const std::string& port, const std::string& plain) {
  if (plain.empty()) return kTlsConfiguration;
  return kTlsConfiguration + "$SERVER[\"socket\"] == \"" + plain +
         "\" { ssl.engine = \"disable\"\n" + "$HTTP[\"host\"] =~ \"^(.*?)(:\\d+)?$\" {\n" +
         "  url.redirect-code = 302\n" + "  url.redirect = ( \"\" => \"https://%1:" + port +
         "${url.path}${qsa}\" )\n} }\n";
}

std::string monitor_configuration(const std::string& address, bool has_tls) {
  return "$SERVER[\"socket\"] == \"" + address + "\" {\n" +
         (has_tls ? "  ssl.engine = \"disable\"\n" : "") + "  setenv.add-environment = ( \"" +
         kMonitorParameter + "\" => \"yes\" )\n}\n";
}

Front::Front(std::string directory, std::vector<int> listeners, const Options& options)
    : directory_(std::move(directory)),
      pages_(options.pages),
      listeners_(std::move(listeners)),
      request_time_(options.request_time),
      certificate_(options.certificate),
      private_key_(options.private_key) {
  if (options.redirect_port != 0) plain_ = listeners_.at(1);
  if (!options.metrics.empty()) monitor_ = listeners_.back();
}

// Renamed into its place, so that there is a link at any time.
void Front::link_static_files() const {
  namespace fs = std::filesystem;
  const std::string link = directory_ + "/files/static";
  fs::remove(link + ".new");
  fs::create_symlink(fs::absolute(pages_) / "static", link + ".new");
  fs::rename(link + ".new", link);
}

bool Front::choose_pages(const std::string& pages, std::string* error) {
  const std::string former = std::exchange(pages_, pages);
  try {
    link_static_files();
  } catch (const std::exception& fault) {
    *error = "the static files cannot be linked: " + std::string(fault.what());
    pages_ = former;
    return false;
  }
  return true;
}

bool Front::prepare(std::string* error) {
  namespace fs = std::filesystem;
  try {
    for (const char* name : {"files", "errors", "uploads"}) {
      fs::create_directory(directory_ + "/" + name);
    }
    link_static_files();
    for (const int status : error_statuses()) {
      write_file(directory_ + "/errors/" + std::to_string(status) + ".html",
                 error_response_for_all(status).body);
    }
    std::string configuration = front_configuration(limits_here(), request_time_);
    if (!certificate_.empty()) {
      configuration += tls_configuration(listener_port(listeners_[0]),
                                         plain_ < 0 ? "" : listener_address(plain_));
    }
    if (monitor_ >= 0) {
      configuration += monitor_configuration(listener_address(monitor_), !certificate_.empty());
    }
    write_file(directory_ + "/lighttpd.conf", configuration);
  } catch (const std::exception& fault) {
    *error = "the web server's files cannot be written: " + std::string(fault.what());
    return false;
  }
  return true;
}

bool Front::start(std::string* error) {
  const std::string program = find_program("lighttpd");
  if (program.empty()) {
    *error = "lighttpd is not installed; install it (apt-get install lighttpd), or use --fastcgi";
    return false;
  }
  int log[2];
  if (!prepare(error)) {
    return false;
  }
  certificate_in_use_ = certificate_state();
  if (pipe2(log, O_CLOEXEC) != 0 || (process_ = fork_child()) < 0) {
    *error = "lighttpd cannot be started: " + std::string(strerror(errno));
    return false;
  }
  if (process_ == 0) {
    dup2(log[1], STDERR_FILENO);
    pass_on_listeners(listeners_);
    run(program, "-D");
  }
  close(log[1]);
  log_ = log[0];
  fcntl(log_, F_SETFL, O_NONBLOCK);
  serving_ = false;
  return true;
}

// In a process group of its own Ctrl-C does not reach it: it is stopped in its turn.
void Front::run(const std::string& program, const char* mode) const {
  setpgid(0, 0);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  setenv("DIRECTORY", directory_.c_str(), 1);
  setenv("CERTIFICATE", certificate_.c_str(), 1);
  setenv("PRIVATE_KEY", private_key_.c_str(), 1);
  run_program(program, {mode, "-f", directory_ + "/lighttpd.conf"});
  perror(program.c_str());
  _exit(1);
}

std::string Front::certificate_state() const {
  return state_of(certificate_) + state_of(private_key_);
}

// Asked of a second lighttpd, which is handed no listener and ends at once.
bool Front::certificate_is_sound(std::string* error) const {
  if (certificate_state() == certificate_in_use_) return true;
  int status = -1;
  const pid_t trial = fork_child();
  if (trial == 0) {
    run(find_program("lighttpd"), "-tt");
  }
  if (trial > 0) waitpid(trial, &status, 0);
  if (status == 0) return true;
  *error = "lighttpd cannot take the certificate " + certificate_ + " with the key " +
           private_key_ + "; its reason stands above";
  return false;
}

// SIGUSR1 has it finish what it has begun and start anew in the same process.
void Front::renew_certificate() {
  const std::string state = certificate_state();
  if (process_ != 0 && state != std::exchange(certificate_in_use_, state)) {
    kill(process_, SIGUSR1);
    Log_Entry(LOG_LEVEL_NOTICE, kSource, 0, "The certificate was renewed.");
  }
}

// Its coming and going is told by platend itself. When it starts anew, it means to watch sockets
// that it watches already.
void Front::log_line(const std::string& line) {
  const auto holds = [&](const char* text) { return line.find(text) != std::string::npos; };
  const bool routine = holds("server started") || holds("server stopped") || holds("[note]") ||
                       holds("event_set failed");
  serving_ = serving_ || holds("server started");
  Log_Entry(routine ? LOG_LEVEL_TRACE : LOG_LEVEL_WARNING, kSource, 0, "%s", line.c_str());
}

void Front::read_log() {
  char bytes[4096];
  ssize_t count = 0;
  while (log_ >= 0 && (count = read(log_, bytes, sizeof(bytes))) > 0) {
    unfinished_line_.append(bytes, static_cast<size_t>(count));
  }
  size_t end = 0;
  while ((end = unfinished_line_.find('\n')) != std::string::npos) {
    log_line(unfinished_line_.substr(0, end));
    unfinished_line_.erase(0, end + 1);
  }
}

void Front::ended() {
  read_log();
  close(log_);
  log_ = -1;
  process_ = 0;
}

}  // namespace platen
