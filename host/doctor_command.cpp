// What an engineer from afar needs to know of this device, gathered section by section.
// SPDX-License-Identifier: MIT
#include "doctor_command.h"

#include <fcntl.h>
#include <poll.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <regex>
#include <system_error>

#include "audit.h"
#include "clock.h"
#include "clone_secrets.h"
#include "device/configuration.h"
#include "device/database.h"
#include "device/log.h"
#include "device_directories.h"
#include "doctor_texts.h"
#include "moment.h"
#include "parser_module.h"
#include "php_runtime.h"
#include "platend_conf.h"
#include "process.h"
#include "served_files.h"
#include "status.h"

namespace platen {
namespace {

constexpr size_t kMostErrors = 50;
constexpr int kMostRefusals = 50;
constexpr std::streamoff kLongestLog = std::streamoff{1024} * 1024;
constexpr uint64_t kMebibyte = uint64_t{1024} * 1024;

// What a section is made of, and where it writes.
struct Case {
  const Options& options;
  size_t configuration_faults;
  std::string text;

  void line(const std::string& words) { text += one_line(words) + '\n'; }
  void line(const std::string& name, const std::string& value) { line(name + ": " + value); }
};

std::string database_file(const Options& options) { return options.state + "/configuration.db"; }

// What a program prints of itself; empty when it is not there.
std::string output_of(const std::string& program, const std::string& argument) {
  int ends[2];
  if (program.empty() || pipe2(ends, O_CLOEXEC) != 0) return "";
  const pid_t child = fork_child();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    run_program(program, {argument});
    _exit(1);
  }
  close(ends[1]);
  std::string text(200, '\0');
  const ssize_t length = child < 0 ? 0 : read(ends[0], text.data(), text.size());
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  text.resize(static_cast<size_t>(std::max<ssize_t>(length, 0)));
  return text;
}

std::string program_version(const std::string& name, const std::string& argument) {
  static const std::regex kVersion(R"(\d+(\.\d+)+)");
  const std::string program = find_program(name);
  if (program.empty()) return "not installed";
  std::smatch found;
  const std::string text = output_of(program, argument);
  return std::regex_search(text, found, kVersion) ? found.str() : "does not tell its version";
}

void tell_versions(Case* told) {
  utsname system{};
  uname(&system);
  told->line("platend", PLATEN_VERSION);
  told->line("lighttpd", program_version("lighttpd", "-v"));
  told->line("libphp", php_engine_version());
  told->line("sqlite", sqlite3_libversion());
  told->line("bubblewrap", program_version("bwrap", "--version"));
  told->line("kernel", std::string(system.sysname) + ' ' + system.release + ' ' + system.machine);
  told->line("time", utc_text(system_time()));
}

void tell_options(Case* told) {
  const std::string file = configuration_file(told->options);
  told->line("configuration file", file.empty() ? "none" : file);
  if (told->configuration_faults > 0) {
    told->line("faults in it", std::to_string(told->configuration_faults) +
                                   ", so nothing of it is below; platend --check tells them");
  }
  for (const auto& [name, value] : setting_values(told->options)) {
    told->line(std::string(name).append(" = ").append(value));
  }
  if (told->configuration_faults > 0) return;
  told->line(
      "faults of pages and phrases",
      std::to_string(served_file_faults(told->options).size()) + " (platend --check tells them)");
}

// Whether a setting is on or off is no secret; all else might be.
std::string told_value(const ConfigurationSetting& setting) {
  if (setting.value.empty()) return "empty";
  const bool is_switch = setting.value == "TRUE" || setting.value == "FALSE";
  return is_switch && !is_secret_name(setting.key) ? setting.value : "set";
}

void tell_settings(Case* told) {
  const std::string file = database_file(told->options);
  std::string fault;
  if (access(file.c_str(), R_OK) != 0) {
    told->line(file, strerror(errno));
    return;
  }
  if (!open_configuration(file, &fault)) {
    told->line(fault);
    return;
  }
  const auto settings = configuration_settings();
  if (!settings) told->line("the settings cannot be read");
  for (const auto& setting : settings.value_or(std::vector<ConfigurationSetting>{})) {
    told->line(setting.key, told_value(setting));
  }
}

// How platend uses a directory or file.
enum class Use { changed_directory, read_directory, changed_file, read_file, secret_file };

struct Place {
  std::string path;
  std::string holds;
  Use use;
};

std::vector<Place> places_of(const Options& options) {
  std::vector<Place> places;
  for (const DeviceDirectory& directory : kDeviceDirectories) {
    const std::string path =
        options.data.empty() ? directory.path : options.data + '/' + directory.part;
    places.push_back({path, directory.holds, Use::changed_directory});
  }
  const Place others[] = {
      {options.state, "accounts and settings", Use::changed_directory},
      {database_file(options), "database", Use::changed_file},
      {options.history, "history of templates", Use::changed_directory},
      {options.settings, "settings of the device", Use::read_directory},
      {options.pages, "pages", Use::read_directory},
      {options.module, "parser module", Use::read_file},
      {options.log_file, "log", Use::changed_file},
      {options.certificate, "certificate", Use::read_file},
      {options.private_key, "private key", Use::secret_file},
  };
  std::ranges::copy_if(others, std::back_inserter(places),
                       [](const Place& place) { return !place.path.empty(); });
  return places;
}

// Mode and owner, as numbers.
std::string rights_of(const struct stat& status) {
  char text[80];
  snprintf(text, sizeof(text), "mode %04o, user %u, group %u", status.st_mode & 07777U,
           status.st_uid, status.st_gid);
  return text;
}

// What is wrong with the rights of a place that is there, and what to do.
std::string rights_fault(const Place& place, const struct stat& status) {
  const bool is_directory = place.use == Use::changed_directory || place.use == Use::read_directory;
  if (S_ISDIR(status.st_mode) != is_directory) {
    return is_directory ? "it is no directory; move away what is there" : "it is a directory";
  }
  if (place.use == Use::changed_directory) return directory_fault(place.path);
  const int needed = place.use == Use::changed_file     ? R_OK | W_OK
                     : place.use == Use::read_directory ? R_OK | X_OK
                                                        : R_OK;
  if (access(place.path.c_str(), needed) != 0) {
    return std::string(strerror(errno)) + "; let the user that platend runs as use it";
  }
  const bool is_open = place.use == Use::secret_file && (status.st_mode & 077U) != 0;
  return is_open ? "others may use it; chmod 600 " + place.path : "";
}

void tell_rights(Case* told) {
  told->line("looked at by user " + std::to_string(geteuid()) +
             "; platend may run as another, who has rights of its own");
  for (const Place& place : places_of(told->options)) {
    struct stat status {};
    const std::string name = place.path + " (" + place.holds + ')';
    if (stat(place.path.c_str(), &status) != 0) {
      const std::string reason = strerror(errno);
      const bool is_made = place.use == Use::changed_directory;
      told->line(name, is_made ? directory_fault(place.path) : reason);
      continue;
    }
    const std::string fault = rights_fault(place, status);
    told->line(name, rights_of(status) + (fault.empty() ? "; in order" : "; WRONG: " + fault));
  }
}

void tell_disks(Case* told) {
  std::vector<StoragePlace> directories;
  for (const Place& place : places_of(told->options)) {
    if (place.use == Use::changed_directory) directories.push_back({place.path, place.path});
  }
  for (const Json& disk : disks_json(directories)) {
    std::string names;
    for (const Json& name : disk["names"]) names += name.get<std::string>() + ' ';
    told->line(names + "have " + std::to_string(disk["free"].get<uint64_t>() / kMebibyte) +
               " MiB free of " + std::to_string(disk["size"].get<uint64_t>() / kMebibyte) +
               (disk["isLow"].get<bool>() ? ": LOW" : ""));
  }
}

void tell_templates(Case* told) {
  ParserModule module;
  std::string fault;
  if (!module.load(told->options.module, &fault)) {
    told->line(fault);
    return;
  }
  const std::vector<Place> places = places_of(told->options);
  for (const std::string& directory : pool_directories({places[0].path, places[1].path})) {
    const Json templates = templates_json(module, {directory});
    const size_t checked = templates["checked"];
    if (checked == 0) continue;
    told->line(directory, std::to_string(checked) + " templates, " +
                              std::to_string(templates["broken"].size()) + " broken" +
                              (templates["isComplete"].get<bool>() ? "" : ", not all looked at"));
    for (const Json& broken : templates["broken"]) {
      told->line("  " + broken["reason"].get<std::string>());
    }
  }
}

// The end of a file, as much as is looked at.
std::string end_of(std::ifstream& stream) {
  stream.seekg(0, std::ios::end);
  const std::streamoff size = stream.tellg();
  stream.seekg(std::max(std::streamoff{0}, size - kLongestLog));
  return {std::istreambuf_iterator<char>(stream), {}};
}

void tell_log(Case* told) {
  const std::string& file = told->options.log_file;
  if (file.empty()) {
    told->line("none in a file; a service manager keeps it (journalctl -u platend)");
    return;
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream.is_open()) {
    told->line(file, strerror(errno));
    return;
  }
  const LoggedErrors errors = logged_errors(end_of(stream), kMostErrors);
  told->line("workers that ended before their time", std::to_string(errors.worker_ends));
  for (const std::string& line : errors.lines) told->line(line);
}

void tell_refusals(Case* told) {
  const std::string file = database_file(told->options);
  if (access(file.c_str(), R_OK) != 0) {
    told->line(file, strerror(errno));
    return;
  }
  try {
    Database database(file);
    AuditFilter filter;
    filter.is_done = false;
    filter.limit = kMostRefusals;
    for (const AuditEntry& entry : Audit(database).list(filter)) told->line(told_entry(entry));
  } catch (const DatabaseError& fault) {
    told->line(fault.what());
  }
}

struct Section {
  const char* title;
  void (*tell)(Case* told);
};

constexpr Section kSections[] = {
    {"Versions", tell_versions},
    {"Options", tell_options},
    {"Settings of the device (switches with their value)", tell_settings},
    {"Directories and files", tell_rights},
    {"Disks", tell_disks},
    {"Templates", tell_templates},
    {"Latest errors of the log (texts only as far as they hold nothing typed)", tell_log},
    {"Latest refusals and failures", tell_refusals},
};

std::string report(const Options& options, size_t configuration_faults) {
  Case told{options, configuration_faults, "Report of platend. It holds no passwords.\n"};
  for (const Section& section : kSections) {
    told.text += std::string("\n== ") + section.title + "\n";
    try {
      section.tell(&told);
    } catch (const std::exception&) {
      told.line("this cannot be found out");
    }
  }
  return told.text;
}

// Writes a new file for its owner alone. Returns why not, or "".
std::string write_new(const std::string& path, const std::string& text) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) return strerror(errno);
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(file, text.data() + written, text.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<size_t>(count);
  }
  const bool is_whole = written == text.size();
  const int fault = errno;
  if (close(file) == 0 && is_whole) return "";
  unlink(path.c_str());
  return strerror(is_whole ? errno : fault);
}

}  // namespace

int doctor_command(const std::vector<std::string>& words, const Options& options,
                   size_t configuration_faults, std::FILE* out, std::FILE* err) {
  if (words.size() > 1 || (words.size() == 1 && words[0].starts_with("-"))) {
    std::fputs("usage: platend doctor [FILE]\n", err);
    return 2;
  }
  const std::string text = report(options, configuration_faults);
  if (words.empty()) return std::fputs(text.c_str(), out) >= 0 && std::fflush(out) == 0 ? 0 : 1;
  const std::string fault = write_new(words[0], text);
  if (fault.empty()) return 0;
  std::fprintf(err, "platend doctor: %s: %s; name another file\n", words[0].c_str(), fault.c_str());
  return 1;
}

}  // namespace platen
