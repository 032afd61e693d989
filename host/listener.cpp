// Sockets opened, inherited and handed on.
// SPDX-License-Identifier: MIT
#include "listener.h"

#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <utility>

namespace platen {
namespace {

// The system cuts it to its own limit.
constexpr int kBacklog = 65535;

// What a program is handed stands from the first number on.
constexpr int kFirstInherited = 3;
constexpr int kMostInherited = 3;

int fail(int socket, std::string* error, const std::string& text) {
  *error = text;
  if (socket >= 0) {
    close(socket);
  }
  return -1;
}

std::string bind_fault(const std::string& where, const std::string& option) {
  if (errno == EADDRINUSE) {
    return where + " is in use by another program; stop that, or choose another with " + option;
  }
  return "cannot listen on " + where + ": " + strerror(errno) + "; choose another with " + option;
}

bool is_abandoned_socket(const sockaddr_un& address) {
  struct stat status {};
  if (lstat(address.sun_path, &status) != 0 || !S_ISSOCK(status.st_mode)) {
    return false;
  }
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool refused =
      connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 &&
      errno == ECONNREFUSED;
  close(probe);
  return refused;
}

std::pair<std::string, std::string> name_of(int listener) {
  sockaddr_storage address = {};
  socklen_t length = sizeof(address);
  char host[NI_MAXHOST] = "";
  char port[NI_MAXSERV] = "";
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
  getnameinfo(reinterpret_cast<const sockaddr*>(&address), length, host, sizeof(host), port,
              sizeof(port), NI_NUMERICHOST | NI_NUMERICSERV);
  return {host, port};
}

}  // namespace

int listen_tcp(const std::string& address, int port, const std::string& option,
               std::string* error) {
  addrinfo hints = {};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
    return fail(-1, error,
                "\"" + address + "\" is no IP address; --address takes one such as 127.0.0.1");
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
  const int listener = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int reuse = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
  if (bind(listener, found->ai_addr, found->ai_addrlen) != 0 || listen(listener, kBacklog) != 0) {
    return fail(listener, error,
                bind_fault("port " + std::to_string(port) + " of " + address, option));
  }
  return listener;
}

int listen_unix(const std::string& path, std::string* error) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    return fail(-1, error,
                "the socket's path " + path + " is too long; at most " +
                    std::to_string(sizeof(address.sun_path) - 1) + " bytes fit");
  }
  path.copy(address.sun_path, path.size());
  if (is_abandoned_socket(address)) {
    unlink(path.c_str());
  }
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const mode_t mask = umask(0177);
  const bool bound =
      bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  umask(mask);
  if (!bound || listen(listener, kBacklog) != 0) {
    return fail(listener, error, bind_fault("the socket " + path, "--fastcgi"));
  }
  return listener;
}

std::vector<int> take_inherited_listeners() {
  const char* count = getenv("LISTEN_FDS");
  const char* owner = getenv("LISTEN_PID");
  const bool inherited =
      count != nullptr && (owner == nullptr || owner == std::to_string(getpid()));
  const int handed = inherited ? std::clamp(std::atoi(count), 0, kMostInherited) : 0;
  std::vector<int> listeners(static_cast<size_t>(handed));
  std::iota(listeners.begin(), listeners.end(), kFirstInherited);
  for (const int listener : listeners) {
    fcntl(listener, F_SETFD, FD_CLOEXEC);
  }
  unsetenv("LISTEN_FDS");
  unsetenv("LISTEN_PID");
  return listeners;
}

// They first move out of the way of each other.
void pass_on_listeners(const std::vector<int>& listeners) {
  std::vector<int> copies;
  copies.reserve(listeners.size());
  for (const int listener : listeners) {
    copies.push_back(fcntl(listener, F_DUPFD_CLOEXEC, kFirstInherited + kMostInherited));
  }
  for (size_t i = 0; i < copies.size(); ++i) {
    dup2(copies[i], kFirstInherited + static_cast<int>(i));
  }
  setenv("LISTEN_FDS", std::to_string(listeners.size()).c_str(), 1);
  setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
}

std::string listener_address(int listener) {
  const auto [host, port] = name_of(listener);
  return (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" + port;
}

std::string listener_port(int listener) { return name_of(listener).second; }

}  // namespace platen
