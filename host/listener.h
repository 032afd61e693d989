// Listening sockets.
// SPDX-License-Identifier: MIT
#ifndef HOST_LISTENER_H_
#define HOST_LISTENER_H_

#include <string>

namespace platen {

// The number of the one descriptor that a program may be handed by the variable LISTEN_FDS.
inline constexpr int kInheritedListener = 3;

// Each of these returns a listening socket, closed by exec(), or -1 with `error` set to a sentence
// that names the address and what to do. The backlog is as long as the system allows.

// Listens on a numeric IPv4 or IPv6 address; port 0 takes any free one.
int listen_tcp(const std::string& address, int port, std::string* error);

// Listens on a Unix socket that only its owner may use. A socket file at `path` that nobody listens
// on any more is replaced; anything else there is an error.
int listen_unix(const std::string& path, std::string* error);

// Returns whether this process was started with a listening socket as kInheritedListener
// (LISTEN_FDS=1, and LISTEN_PID its own id if set), and takes both out of the environment.
bool take_inherited_listener();

// To be called between fork and exec: makes `listener` the inherited listener of the program to be
// run.
void pass_on_listener(int listener);

// The address of a TCP listener as a browser takes it, "http://127.0.0.1:8080/".
std::string listener_url(int listener);

}  // namespace platen

#endif  // HOST_LISTENER_H_
