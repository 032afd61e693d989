// The request loop over libfcgi.
// SPDX-License-Identifier: MIT
#include "worker.h"

#include <fcgiapp.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <utility>

#include "device/log.h"
#include "fastcgi_response.h"
#include "front.h"
#include "last_answer.h"
#include "module_request.h"
#include "query.h"
#include "said.h"
#include "visit.h"

namespace platen {
namespace {

volatile sig_atomic_t stop_requested = 0;

void request_stop(int) { stop_requested = 1; }

// Waits for the next connection, the only place where SIGTERM is let through; -1 when it arrived.
// The listener does not block: another worker may have taken the connection meanwhile.
int accept_connection(int listener) {
  sigset_t open_signals;
  sigemptyset(&open_signals);
  while (stop_requested == 0) {
    pollfd waiting = {listener, POLLIN, 0};
    if (ppoll(&waiting, 1, nullptr, &open_signals) > 0) {
      const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (connection >= 0) {
        return connection;
      }
    }
  }
  return -1;
}

// A front that gave up while the request was queued has told its user so: it must not run.
bool front_gave_up(int connection) {
  pollfd peer = {connection, POLLRDHUP, 0};
  return poll(&peer, 1, 0) > 0 && (peer.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

std::string parameter(const FCGX_Request& request, const char* name) {
  const char* value = FCGX_GetParam(name, request.envp);
  return value == nullptr ? "" : value;
}

// Reads the request to its end, so that the connection can be closed without losing the answer.
std::string read_body(FCGX_Request* request) {
  std::string body;
  char bytes[16384];
  int count = 0;
  while ((count = FCGX_GetStr(bytes, sizeof(bytes), request->in)) > 0) {
    body.append(bytes, std::min(static_cast<size_t>(count), kLongestBody + 1 - body.size()));
  }
  return body;
}

size_t announced_length(const FCGX_Request& request) {
  const std::string text = parameter(request, "CONTENT_LENGTH");
  size_t length = 0;
  std::from_chars(text.data(), text.data() + text.size(), length);
  return length;
}

void show_request(const Request& request, WorkerState* state) {
  state->request.set(request.method + " " + request.path);
}

struct Header {
  const char* parameter;
  std::string Request::*field;
};

constexpr Header kHeaders[] = {
    {"REQUEST_METHOD", &Request::method}, {"HTTP_ACCEPT_LANGUAGE", &Request::language},
    {"HTTP_COOKIE", &Request::cookie},    {"HTTP_HOST", &Request::host},
    {"HTTP_ORIGIN", &Request::origin},    {"HTTP_REFERER", &Request::referer},
    {"REMOTE_ADDR", &Request::address},   {"CONTENT_TYPE", &Request::content_type},
};

// The web server says so of what comes to the address of the metrics; clients cannot.
bool comes_from_monitor(const FCGX_Request& request) {
  return !parameter(request, kMonitorParameter).empty();
}

Response answer(const FCGX_Request& fastcgi, std::string body, Service* service,
                WorkerState* state) {
  Request request;
  for (const Header& header : kHeaders) {
    request.*header.field = parameter(fastcgi, header.parameter);
  }
  speak(language_of(request));
  request.secure = parameter(fastcgi, "HTTPS") == "on";
  request.monitors = comes_from_monitor(fastcgi);
  request.content_length = announced_length(fastcgi);
  request.body = std::move(body);
  decode_target(parameter(fastcgi, "REQUEST_URI"), &request.path, &request.query, &request.fault);
  show_request(request, state);
  return service->serve(request);
}

Answer answer_of(int status) {
  if (status >= 500) return Answer::failed;
  return status >= 400 ? Answer::refused : Answer::done;
}

void count_time(std::chrono::steady_clock::duration time, ServerState* server) {
  const int64_t us = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  const auto* longest = std::ranges::find_if(
      kTimeClasses, [us](int milliseconds) { return us <= int64_t{milliseconds} * 1000; });
  ++server->times[static_cast<size_t>(longest - kTimeClasses.begin())];
  server->time_sum += us;
}

// Answers a request and counts it, unless somebody only looks at the counters.
Response answer_counted(const FCGX_Request& fastcgi, std::string body, Service* service,
                        ServerState* server, WorkerState* state) {
  const auto begin = std::chrono::steady_clock::now();
  const int64_t failed_before = failed_saves();
  Response response = answer(fastcgi, std::move(body), service, state);
  ++state->served;
  if (comes_from_monitor(fastcgi)) return response;
  ++server->answers[static_cast<size_t>(answer_of(response.status))];
  server->failed_saves += failed_saves() - failed_before;
  count_time(std::chrono::steady_clock::now() - begin, server);
  return response;
}

// The request was read to its end, so the connection is closed without waiting for the front.
void hand_over(FCGX_Request* request, const Response& response) {
  const bool head = parameter(*request, "REQUEST_METHOD") == "HEAD";
  const std::string text = cgi_text(response, head ? Body::omitted : Body::sent);
  withdraw_last_answer();
  FCGX_PutStr(text.data(), static_cast<int>(text.size()), request->out);
  request->keepConnection = 0;
  FCGX_Detach(request);
  FCGX_Finish_r(request);
}

// Answers the request on an accepted connection. libfcgi takes the connection over because it looks
// like one that was kept after an earlier request; without a listener it accepts no other.
void serve_connection(int connection, Service* service, ServerState* server, WorkerState* state) {
  FCGX_Request request;
  FCGX_InitRequest(&request, -1, FCGI_FAIL_ACCEPT_ON_INTR);
  request.ipcFd = connection;
  request.keepConnection = 1;
  promise_last_answer(connection, 1);
  if (FCGX_Accept_r(&request) == 0) {
    promise_last_answer(connection, request.requestId);
    std::string body = read_body(&request);
    if (!front_gave_up(connection)) {
      const Response response = answer_counted(request, std::move(body), service, server, state);
      hand_over(&request, response);
    }
  }
  withdraw_last_answer();
  FCGX_Free(&request, 1);
}

void keep_line(void* state, std::string_view line) {
  static_cast<WorkerState*>(state)->last_line.set(line);
}

void install_signals() {
  struct sigaction action = {};
  action.sa_handler = request_stop;
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace

void run_worker(int listener, const Options& options, Service* service, ServerState* server,
                size_t number) {
  WorkerState* state = &server->workers[number];
  set_log_copy(keep_line, state);
  service->join(server, number);
  FCGX_Init();
  install_signals();
  install_last_answer(state, int64_t{options.request_time} * 1000);
  for (int served = 0; served < options.worker_requests; ++served) {
    const int connection = accept_connection(listener);
    if (connection < 0) {
      return;
    }
    state->busy_since = monotonic_ms();
    serve_connection(connection, service, server, state);
    state->busy_since = 0;
  }
}

}  // namespace platen
