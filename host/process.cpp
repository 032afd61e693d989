// Finding, forking, running and naming processes.
// SPDX-License-Identifier: MIT
#include "process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

namespace platen {

std::string find_program(const std::string& name) {
  const char* path = getenv("PATH");
  std::string places = path == nullptr ? "" : path;
  std::istringstream directories(places.append(":/usr/sbin:/sbin"));
  std::string directory;
  while (std::getline(directories, directory, ':')) {
    std::string program = directory;
    program.append("/").append(name);
    if (!directory.empty() && access(program.c_str(), X_OK) == 0) {
      return program;
    }
  }
  return "";
}

sigset_t signal_set(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : signals) {
    sigaddset(&set, number);
  }
  return set;
}

bool is_hangup(int number, int code) { return number == SIGHUP && code == SI_KERNEL; }

pid_t fork_child(std::initializer_list<int> blocked) {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child != 0) {
    return child;
  }
  for (const int handled : {SIGCHLD, SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGUSR1}) {
    signal(handled, SIG_DFL);
  }
  const sigset_t mask = signal_set(blocked);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);
  }
  return 0;
}

void run_program(const std::string& program, const std::vector<std::string>& arguments) {
  std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);
  execv(program.c_str(), pointers.data());
}

std::string describe_end(int status) {
  if (WIFSIGNALED(status)) {
    const int number = WTERMSIG(status);
    return "signal " + std::to_string(number) + " (" + strsignal(number) + ")";
  }
  return "exit status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace platen
