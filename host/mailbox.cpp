// The rules of access to folders and jobs.
// SPDX-License-Identifier: MIT
#include "mailbox.h"

#include <algorithm>
#include <ctime>

#include "error_page.h"
#include "field_rules.h"
#include "next_page.h"
#include "page_views.h"
#include "platform/configapi.h"
#include "policy.h"
#include "said.h"

namespace platen {
namespace {

constexpr std::string_view kPinPage = "/mailbox/pin.php";
constexpr std::string_view kFolderPage = "/mailbox/folder.php";
constexpr std::string_view kPasswordPage = "/mailbox/action.php";
constexpr std::string_view kActionPage = "/mailbox/do_action.php";
constexpr const char* kOpen = "opn";

struct PageNeeds {
  std::string_view path;
  std::vector<std::string_view> fields;
};

const PageNeeds kNeeds[] = {
    {kPinPage, {"name"}},
    {kFolderPage, {"name"}},
    {kPasswordPage, {"name", "file", "action"}},
    {kActionPage, {"name", "file", "action"}},
};

const std::string* find_field(const std::vector<Field>& query, std::string_view name) {
  const auto found = std::ranges::find(query, name, &Field::first);
  return found == query.end() ? nullptr : &found->second;
}

std::string field(const std::vector<Field>& query, std::string_view name) {
  const std::string* value = find_field(query, name);
  return value == nullptr ? "" : *value;
}

std::optional<Response> refuse_missing(const Request& request) {
  const auto* page = std::ranges::find(kNeeds, request.path, &PageNeeds::path);
  if (page == std::end(kNeeds)) return std::nullopt;
  for (const std::string_view name : page->fields) {
    if (find_field(request.query, name) != nullptr) continue;
    return error_response(400, said("The address lacks the field \"{1}\".", name),
                          said("Start from the list of folders."));
  }
  return std::nullopt;
}

// A password opens a job as a whole; in a directory of its own the file does not matter.
JobAction grant_key(JobAction job) {
  if (job.action != kOpen) return job;
  if (!job.subf.empty()) {
    job.file.clear();
  } else if (const size_t dot = job.file.rfind('.'); dot != std::string::npos) {
    job.file.resize(dot);
  }
  return job;
}

JobName job_name(const JobAction& job) { return {job.folder, job.subf, job.file}; }

// The stored text; "" also when there is none. `unreadable` is set when it cannot be told.
std::string stored(const std::string& key, bool* unreadable) {
  ConfigAVP_t value = "";
  const int status = Cfg_GetAttrValue(key.c_str(), value, sizeof value);
  *unreadable = status != CFG_OK && status != CFG_NO_VALUE;
  return status == CFG_OK ? value : "";
}

std::string time_text(int64_t seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

bool setting(const std::string& name, bool otherwise) {
  bool_t value = otherwise ? TRUE : FALSE;
  Cfg_GetBoolAttrValue(mailbox_key(name).c_str(), &value);
  return value != FALSE;
}

}  // namespace

std::string mailbox_key(const std::string& setting) { return "scanToMailbox." + setting; }

std::string pin_key(const std::string& folder) { return mailbox_key(folder + ".password"); }

std::string sid_key(const std::string& folder) { return mailbox_key(folder + ".sid"); }

std::string folder_page(const std::string& folder, const std::string& subf) {
  std::vector<Field> query = {{"name", folder}};
  if (!subf.empty()) query.emplace_back("subf", subf);
  return page_address(kFolderPage, query);
}

std::string pin_page(const std::string& folder) {
  return page_address(kPinPage, {{"name", folder}});
}

std::string password_page(const JobAction& job) {
  return page_address(
      kPasswordPage,
      {{"name", job.folder}, {"subf", job.subf}, {"file", job.file}, {"action", job.action}});
}

std::optional<Response> Mailbox::refuse_page(const Request& request, const Visit& visit) const {
  if (!refuse_page_fields(request.path, request.query).empty()) return std::nullopt;
  if (auto refusal = refuse_missing(request)) return refusal;
  const std::string* folder = find_field(request.query, "name");
  if (folder == nullptr) return std::nullopt;
  if (!folder_exists(*folder)) {
    return error_response(404, said("There is no folder \"{1}\".", *folder),
                          said("Start from the list of folders."));
  }
  if (request.path == kPinPage) return std::nullopt;
  if (!is_open(*folder, visit)) return redirection(pin_page(*folder));
  JobAction job = {*folder, field(request.query, "subf"), field(request.query, "file"),
                   field(request.query, "action")};
  if (request.path == kFolderPage && !job.subf.empty()) {
    job.file = directory_job(job.folder, job.subf).file;
    job.action = kOpen;
  } else if (request.path != kActionPage) {
    return std::nullopt;
  }
  if (may_act(job, visit)) return std::nullopt;
  return redirection(password_page(job));
}

bool Mailbox::is_private(const std::string& folder) {
  bool unreadable = false;
  return !stored(pin_key(folder), &unreadable).empty() || unreadable;
}

bool Mailbox::is_open(const std::string& folder, const Visit& visit) const {
  if (!is_private(folder)) return true;
  bool unreadable = false;
  const std::string opened_by = stored(sid_key(folder), &unreadable);
  return visit.has_session() && is_same_secret(opened_by, sid(visit));
}

bool Mailbox::may_act(const JobAction& job, const Visit& visit) const {
  return is_free_job(module_, job_name(job)) ||
         (visit.has_session() && visitors_.grants.has(sid(visit), grant_key(job)));
}

bool Mailbox::take_action(const JobAction& job, const Visit& visit) const {
  return is_free_job(module_, job_name(job)) ||
         (visit.has_session() && visitors_.grants.use(sid(visit), grant_key(job)));
}

void Mailbox::grant(const JobAction& job, const Visit& visit) const {
  visitors_.grants.grant(sid(visit), grant_key(job));
}

bool Mailbox::close_folder(const std::string& folder) const {
  visitors_.grants.forget_folder(folder);
  return Cfg_SetAttrValue(sid_key(folder).c_str(), "") == CFG_OK;
}

void Mailbox::close_folders(const Visit& visit) const {
  if (!visit.has_session()) return;
  visitors_.grants.forget_session(sid(visit));
  for (const std::string& folder : folder_names()) {
    bool unreadable = false;
    if (stored(sid_key(folder), &unreadable) == sid(visit)) {
      Cfg_SetAttrValue(sid_key(folder).c_str(), "");
    }
  }
}

Json Mailbox::jobs(const std::vector<Field>& query, const Visit& visit) const {
  const std::string folder = field(query, "name");
  if (folder.empty() || !is_open(folder, visit)) return nullptr;
  const std::string subf = field(query, "subf");
  Json list = Json::array();
  for (const Job& job : list_jobs(folder)) {
    if (subf.empty() || job.address.subf == subf) list.push_back(job_value(job, visit));
  }
  return list;
}

Json Mailbox::job_value(const Job& job, const Visit& visit) const {
  const JobName& name = job.address;
  const bool is_free = is_free_job(module_, name);
  const bool is_seen = is_free || may_act({name.folder, name.subf, name.file, kOpen}, visit);
  Json files;
  if (is_seen) {
    files = Json::array();
    for (const JobFile& file : job.files) {
      files.push_back({{"name", valid_utf8(file.name)},
                       {"size", file.size},
                       {"modified", time_text(file.modified)}});
    }
  }
  return {{"job", valid_utf8(job.name)},
          {"subf", valid_utf8(name.subf)},
          {"file", valid_utf8(name.file)},
          {"state", is_free   ? "free"
                    : is_seen ? "open"
                              : "locked"},
          {"files", std::move(files)}};
}

Json Mailbox::session(const Visit& visit) const {
  return {{"sid", visit.has_session() ? sid(visit) : ""}};
}

Json Mailbox::settings(const Visit& visit) const {
  if (visit.role() != Role::administrator) return nullptr;
  const FieldRule may_have_pin = {"", Kind::folder, kFolderLimit};
  Json folders = Json::array();
  for (const std::string& folder : folder_names()) {
    folders.push_back({{"name", valid_utf8(folder)},
                       {"private", is_private(folder)},
                       {"pin", value_fault(may_have_pin, folder).empty()},
                       {"jobs", list_jobs(folder).size()}});
  }
  return {{kMailboxSettings[0], setting(kMailboxSettings[0], true)},
          {kMailboxSettings[1], setting(kMailboxSettings[1], false)},
          {kMailboxSettings[2], setting(kMailboxSettings[2], true)},
          {"folders", std::move(folders)}};
}

std::string Mailbox::sid(const Visit& visit) const { return visitors_.grants.sid(visit.cookie()); }

}  // namespace platen
