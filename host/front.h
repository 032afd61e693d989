// lighttpd in front of the workers: its configuration, its process, its log.
// SPDX-License-Identifier: MIT
#ifndef HOST_FRONT_H_
#define HOST_FRONT_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "options.h"

namespace platen {

// How many connections the front may hold: as many as its descriptors and the backlog allow, for a
// connection that the workers' socket refuses would shut out all others for a second.
struct FrontLimits {
  int descriptors;
  int connections;
};

// The limits for a process that may open `descriptors` files on a system whose listen backlog is at
// most `backlog`.
FrontLimits front_limits(long descriptors, long backlog);

// lighttpd's configuration. It takes the directory that Front prepares from its environment, so
// that no path needs quoting.
std::string front_configuration(const FrontLimits& limits, int request_time);

// What comes to that configuration with TLS: all sockets speak it but that of the address `plain`,
// if there is one, where everything is led to the port `port`.
std::string tls_configuration(const std::string& port, const std::string& plain);

// What comes to it for the address of the metrics, one of its sockets: it speaks plain HTTP, also where
// the others speak TLS, and its requests bear kMonitorParameter.
std::string monitor_configuration(const std::string& address, bool has_tls);

// The FastCGI parameter by which workers know who asks for metrics.
inline constexpr const char* kMonitorParameter = "PLATEN_MONITOR";

// The web server. One object at most; it does not end the process when it goes.
class Front {
 public:
  // Serves HTTP, or HTTPS where `options` hold a certificate, on the first of `listeners` from
  // `directory`, an empty private directory: the files below static/ of the options' pages itself,
  // all else by FastCGI from the socket worker_socket(`directory`). With a certificate and
  // a port for it, the next listener leads plain HTTP to the first; the last one is that of the
  // metrics, if `options` ask for them.
  Front(std::string directory, std::vector<int> listeners, const Options& options);

  // Writes what lighttpd needs into the directory and starts it. Returns false and sets `error`
  // when it is not installed or cannot be started.
  bool start(std::string* error);

  // Serves the static files of other pages from now on. Returns false, with `error` set and the
  // former ones still served, when that cannot be.
  bool choose_pages(const std::string& pages, std::string* error);

  // Whether the files of the certificate are those in use, or others that the web server can take.
  // Returns false, with `error` set and the cause on standard error, when they are neither.
  bool certificate_is_sound(std::string* error) const;

  // Has the web server take the files of the certificate if they are others than those in use, once
  // what is under way has ended, and without refusing a connection meanwhile. Connections that are
  // kept without a request are closed.
  void renew_certificate();

  // The process, 0 when there is none, and the descriptor that is readable when it has logged.
  pid_t process() const { return process_; }
  int log_descriptor() const { return log_; }

  // Passes what it has logged on to the log.
  void read_log();

  // Whether it has told that it serves.
  bool serving() const { return serving_; }

  // Notes that the process is gone.
  void ended();

 private:
  bool prepare(std::string* error);
  void link_static_files() const;
  void log_line(const std::string& line);
  std::string certificate_state() const;
  [[noreturn]] void run(const std::string& program, const char* mode) const;

  std::string directory_;
  std::string pages_;
  std::vector<int> listeners_;
  int request_time_;
  std::string certificate_;  // empty: plain HTTP
  std::string private_key_;
  int plain_ = -1;                  // the listener that leads to TLS
  int monitor_ = -1;                // the listener of the metrics
  std::string certificate_in_use_;  // the state of its files when they were taken
  pid_t process_ = 0;
  int log_ = -1;
  std::string unfinished_line_;
  bool serving_ = false;
};

// The socket in `directory` over which the front reaches the workers.
std::string worker_socket(const std::string& directory);

}  // namespace platen

#endif  // HOST_FRONT_H_
