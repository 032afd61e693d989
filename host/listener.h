// Listening sockets.
// SPDX-License-Identifier: MIT
#ifndef HOST_LISTENER_H_
#define HOST_LISTENER_H_

#include <string>
#include <vector>

namespace platen {

// Each of these returns a listening socket, closed by exec(), or -1 with `error` set to a sentence
// that names the address and what to do. The backlog is as long as the system allows.

// Listens on a numeric IPv4 or IPv6 address; port 0 takes any free one. `option` is the one that
// chooses the port.
int listen_tcp(const std::string& address, int port, const std::string& option, std::string* error);

// Listens on a Unix socket that only its owner may use. A socket file at `path` that nobody listens
// on any more is replaced; anything else there is an error.
int listen_unix(const std::string& path, std::string* error);

// The listening sockets that this process was started with (LISTEN_FDS, and LISTEN_PID its own id if
// set), in their order; takes both out of the environment.
std::vector<int> take_inherited_listeners();

// To be called between fork and exec: makes the listeners those that the program to be run inherits.
void pass_on_listeners(const std::vector<int>& listeners);

// The address of a TCP listener, "127.0.0.1:8080" or "[::1]:8080", and its port alone.
std::string listener_address(int listener);
std::string listener_port(int listener);

}  // namespace platen

#endif  // HOST_LISTENER_H_
