// Key and certificate made by the program openssl.
// SPDX-License-Identifier: MIT
#include "certificate_command.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "process.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

int refuse(std::FILE* err, const std::string& text, int status) {
  std::fprintf(err, "platend certificate: %s\n", text.c_str());
  return status;
}

bool is_ip_address(const std::string& name) {
  in6_addr address{};
  return inet_pton(AF_INET, name.c_str(), &address) == 1 ||
         inet_pton(AF_INET6, name.c_str(), &address) == 1;
}

bool is_host_name(const std::string& name) {
  return !name.empty() && name.size() <= 63 && name.front() != '-' &&
         name.find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-") ==
             std::string::npos;
}

std::vector<std::string> own_names() {
  char name[256] = "";
  gethostname(name, sizeof(name) - 1);
  std::vector<std::string> names = {"localhost", "127.0.0.1", "::1"};
  if (is_host_name(name)) names.insert(names.begin(), name);
  return names;
}

std::string alternative_names(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text.append(text.empty() ? "subjectAltName=" : ",");
    text.append(is_ip_address(name) ? "IP:" : "DNS:").append(name);
  }
  return text;
}

// Runs openssl without a word of its own. Returns what is wrong, or "".
std::string run_openssl(const std::vector<std::string>& arguments) {
  const std::string program = find_program("openssl");
  if (program.empty()) return "openssl is not installed; install it (apt-get install openssl)";
  const pid_t child = fork_child();
  if (child < 0) return "openssl cannot be started: " + std::string(strerror(errno));
  if (child == 0) {
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, standard);
    umask(0077);
    run_program(program, arguments);
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0 ? "" : "openssl has failed (" + describe_end(status) + ")";
}

// The files while they are made; those that are not put into their place go.
class NewFiles {
 public:
  explicit NewFiles(const std::string& state)
      : certificate_(state + "/certificate.pem"), key_(state + "/private-key.pem"), state_(state) {}
  ~NewFiles() {
    for (const std::string* file : {&certificate_, &key_}) unlink(fresh(*file).c_str());
  }
  NewFiles(const NewFiles&) = delete;
  NewFiles& operator=(const NewFiles&) = delete;

  const std::string& certificate() const { return certificate_; }
  const std::string& key() const { return key_; }
  static std::string fresh(const std::string& file) { return file + ".new"; }

  // Gives both to the owner of the directory and puts them into their place. Returns what is wrong,
  // or "".
  std::string place() const {
    struct stat owner {};
    bool done = stat(state_.c_str(), &owner) == 0;
    for (const std::string* file : {&key_, &certificate_}) {
      const std::string made = fresh(*file);
      done = done && (geteuid() != 0 || chown(made.c_str(), owner.st_uid, owner.st_gid) == 0) &&
             rename(made.c_str(), file->c_str()) == 0;
    }
    return done ? "" : "the files cannot be put into " + state_ + ": " + strerror(errno);
  }

 private:
  std::string certificate_;
  std::string key_;
  std::string state_;
};

std::string make(const std::vector<std::string>& names, const NewFiles& files) {
  for (const std::string* file : {&files.certificate(), &files.key()}) {
    if (fs::exists(*file)) return *file + " is there already; move it away first";
  }
  const std::string fault = run_openssl(
      {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-sha256",
       "-days", "825", "-subj", "/CN=" + names.front(), "-addext", alternative_names(names),
       "-keyout", NewFiles::fresh(files.key()), "-out", NewFiles::fresh(files.certificate())});
  return fault.empty() ? files.place() : fault;
}

}  // namespace

int certificate_command(const std::vector<std::string>& names, const std::string& state,
                        std::FILE* out, std::FILE* err) {
  for (const std::string& name : names) {
    if (!is_host_name(name) && !is_ip_address(name)) {
      return refuse(err, "\"" + name + "\" is neither a host name nor an IP address", 2);
    }
  }
  if (!fs::is_directory(state)) {
    return refuse(err, "the directory " + state + " is not there; choose it with --state", 1);
  }
  const NewFiles files(fs::absolute(state).lexically_normal());
  const std::string fault = make(names.empty() ? own_names() : names, files);
  if (!fault.empty()) return refuse(err, fault, 1);
  std::fprintf(out, "certificate = %s\nprivate-key = %s\n", files.certificate().c_str(),
               files.key().c_str());
  return 0;
}

}  // namespace platen
