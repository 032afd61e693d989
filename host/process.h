// Child processes: how they are found, started and named when they have ended.
// SPDX-License-Identifier: MIT
#ifndef HOST_PROCESS_H_
#define HOST_PROCESS_H_

#include <signal.h>
#include <sys/types.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace platen {

// The path of an installed program: from PATH, else from the directories of system programs, which
// an ordinary user's PATH lacks. Empty when there is none that may be run.
std::string find_program(const std::string& name);

// The set of these signals.
sigset_t signal_set(std::initializer_list<int> signals);

// Whether a signal, with the code that came along, tells that the terminal is gone: a SIGHUP of the
// system, not of somebody who asks for a reload.
bool is_hangup(int number, int code);

// Forks. In the child signals are as at the start of a program, those of `blocked` and no others
// are blocked, and the child is killed when the process that made it ends; a child whose parent has
// ended already exits at once. Returns as fork() does.
pid_t fork_child(std::initializer_list<int> blocked = {});

// Replaces the process by `program`; `arguments` are those after the program's name. Returns only
// on failure.
void run_program(const std::string& program, const std::vector<std::string>& arguments);

// How a process ended, from its wait status: "exit status 1", "signal 11 (Segmentation fault)".
std::string describe_end(int status);

}  // namespace platen

#endif  // HOST_PROCESS_H_
