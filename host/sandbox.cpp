// bubblewrap called and waited for.
// SPDX-License-Identifier: MIT
#include "sandbox.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "device_directories.h"
#include "listener.h"
#include "process.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

// Top-level directories that the sandbox has of its own.
constexpr const char* kOwnDirectories[] = {"/tmp", "/var", "/tarn"};

bool is_below(const std::string& path, const std::string& directory) {
  return (path + "/").starts_with(directory == "/" ? directory : directory + "/");
}

// What is wrong with the directory and what to do; empty when nothing is.
std::string data_fault(const std::string& data) {
  std::error_code unreachable;
  const fs::file_type type = fs::status(data, unreachable).type();
  if (type == fs::file_type::not_found) {
    return "does not exist; make it, or copy samples/ to it";
  }
  if (!unreachable && type != fs::file_type::directory) {
    return "is no directory; choose another with --data";
  }
  if (access(data.c_str(), R_OK | W_OK | X_OK) != 0) {
    return std::string("cannot be read and written: ") + strerror(errno) +
           "; change its owner or its mode";
  }
  for (const DeviceDirectory& row : kDeviceDirectories) {
    if (is_below(data, row.path) || is_below(row.path, data)) {
      return std::string("overlaps with the device's path ") + row.path + "; choose another";
    }
  }
  return "";
}

bool make_parts(const std::string& data, std::string* error) {
  for (const char* part : {"pool", "tarn", "spool", "state"}) {
    std::error_code fault;
    fs::create_directory(data + "/" + part, fault);
    if (fault) {
      *error = "the directory " + data + "/" + part + " cannot be made: " + fault.message();
      return false;
    }
  }
  return true;
}

// Links are kept as links: on most systems /bin and /lib are some.
void add_root_entry(const fs::directory_entry& entry, std::vector<std::string>* arguments) {
  const std::string path = entry.path();
  if (std::ranges::find(kOwnDirectories, path) != std::end(kOwnDirectories)) {
    return;
  }
  if (entry.is_symlink()) {
    arguments->insert(arguments->end(), {"--symlink", fs::read_symlink(path), path});
  } else if (path == "/dev") {
    arguments->insert(arguments->end(), {"--dev-bind", path, path});
  } else if (entry.is_directory()) {
    arguments->insert(arguments->end(), {"--ro-bind", path, path});
  }
}

// Reads the process id from bubblewrap's report, {"child-pid": 123, ...}; 0 when there is none.
pid_t read_sandboxed_process(int report) {
  std::string text;
  char bytes[256];
  ssize_t count = 0;
  while ((count = read(report, bytes, sizeof(bytes))) > 0) {
    text.append(bytes, static_cast<size_t>(count));
  }
  constexpr std::string_view kKey = "\"child-pid\": ";
  const size_t key = text.find(kKey);
  return key == std::string::npos ? 0 : std::atoi(text.c_str() + key + kKey.size());
}

// In a process group of its own bubblewrap is not reached by Ctrl-C: it would take the sandbox with
// it before what runs there can stop in order.
[[noreturn]] void run_bubblewrap(const std::string& bwrap, const std::string& data,
                                 const SandboxedProgram& program, int report) {
  setpgid(0, 0);
  const int kept_report = dup(report);
  std::vector<std::string> arguments = {"--info-fd", std::to_string(kept_report)};
  const auto rest = sandbox_arguments(data, program);
  arguments.insert(arguments.end(), rest.begin(), rest.end());
  pass_on_listeners(program.listeners);
  run_program(bwrap, arguments);
  perror(bwrap.c_str());
  _exit(1);
}

// A signal to bubblewrap itself would leave the program without its parent.
int wait_for_sandbox(pid_t bubblewrap, pid_t program, const sigset_t& signals) {
  int status = 0;
  while (waitpid(bubblewrap, &status, WNOHANG) == 0) {
    siginfo_t info{};
    const int number = sigwaitinfo(&signals, &info);
    if (number > 0 && number != SIGCHLD) {
      kill(program, is_hangup(number, info.si_code) ? SIGTERM : number);
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int refuse(const std::string& text) {
  fprintf(stderr, "platend: %s\n", text.c_str());
  return 1;
}

}  // namespace

bool prepare_data(const std::string& data, std::string* error) {
  const std::string fault = data_fault(data);
  if (!fault.empty()) {
    *error = "the data directory " + data + " " + fault;
    return false;
  }
  return make_parts(data, error);
}

std::vector<std::string> sandbox_arguments(const std::string& data,
                                           const SandboxedProgram& program) {
  std::vector<std::string> arguments = {"--die-with-parent", "--tmpfs", "/"};
  for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
    add_root_entry(entry, &arguments);
  }
  for (const char* directory : {"/tmp", "/var", "/var/tmp"}) {
    arguments.insert(arguments.end(), {"--perms", "1777", "--dir", directory});
  }
  arguments.insert(arguments.end(), {"--symlink", "/run", "/var/run"});
  for (const std::string& path : program.readable) {
    arguments.insert(arguments.end(), {"--ro-bind-try", path, path});
  }
  for (const std::string& path : program.writable) {
    arguments.insert(arguments.end(), {"--bind", path, path});
  }
  arguments.insert(arguments.end(), {"--bind", data, data});
  for (const DeviceDirectory& row : kDeviceDirectories) {
    arguments.insert(arguments.end(), {"--bind", data + "/" + row.part, row.path});
  }
  arguments.insert(arguments.end(), {"--setenv", "TMPDIR", "/tmp", "--unsetenv", "LISTEN_PID",
                                     "--chdir", "/", "--", program.program});
  arguments.insert(arguments.end(), program.arguments.begin(), program.arguments.end());
  return arguments;
}

int run_sandboxed(const std::string& data, const SandboxedProgram& program) {
  const std::string bwrap = find_program("bwrap");
  if (bwrap.empty()) {
    return refuse(
        "bwrap is not installed, which --data needs; install it (apt-get install bubblewrap)");
  }
  const sigset_t signals = signal_set({SIGCHLD, SIGHUP, SIGINT, SIGTERM, SIGUSR1});
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  int report[2];
  pid_t child = -1;
  if (pipe2(report, O_CLOEXEC) != 0 || (child = fork_child()) < 0) {
    return refuse("bwrap cannot be started: " + std::string(strerror(errno)));
  }
  if (child == 0) {
    run_bubblewrap(bwrap, data, program, report[1]);
  }
  close(report[1]);
  const pid_t sandboxed = read_sandboxed_process(report[0]);
  close(report[0]);
  const int status = wait_for_sandbox(child, sandboxed, signals);
  if (sandboxed == 0) {
    return refuse(
        "there is no sandbox to be had, its reason stands above; allow user namespaces "
        "(sysctl kernel.unprivileged_userns_clone=1), or start platend as root");
  }
  return status;
}

}  // namespace platen
