// Routes requests.
// SPDX-License-Identifier: MIT
#include "service.h"

#include <exception>
#include <utility>

#include "device/configuration.h"
#include "error_page.h"
#include "mailbox_upkeep.h"
#include "metrics.h"
#include "platform/log.h"
#include "policy.h"
#include "said.h"

namespace platen {
namespace {

constexpr const char* kSource = "service.cpp";

Response fail(const Request& request, const char* cause, Response response) {
  Log_Entry(LOG_LEVEL_ERROR, kSource, __LINE__, "%s: %s", request.path.c_str(), cause);
  return response;
}

Response refuse_method(const Request& request, const std::string& what, const char* allowed,
                       Visit* visit) {
  visit->record(visit->account().name, request.path, "", "refused: method " + request.method);
  Response refusal = error_response(405, what, said("Go back to the start page."));
  refusal.headers.emplace_back("Allow", allowed);
  return refusal;
}

bool is_form_path(std::string_view path) {
  return path.starts_with("/form/") || path.starts_with("/do/");
}

}  // namespace

Service::Desk::Desk(const std::string& database_file, const std::string& history_directory,
                    const ParserModule& module, Site& site, const ServerState* server)
    : visitors(database_file),
      mailbox(module, visitors),
      history(module, history_directory),
      views(site, visitors, mailbox, history,
            {server, module, database_file.substr(0, database_file.rfind('/'))}),
      posts(module, visitors, mailbox, history, views) {}

Service::Service(const std::string& pages, const ParserModule& module, std::string database_file,
                 std::string history)
    : module_(module),
      site_(pages, &module),
      database_file_(std::move(database_file)),
      history_(std::move(history)) {}

void Service::choose_pages(const std::string& pages) { site_ = Site(pages, &module_); }

void Service::join(ServerState* server, size_t number) {
  server_ = server;
  worker_ = &server->workers[number];
}

Response Service::serve(const Request& request) {
  if (request.monitors && server_ != nullptr) return answer_monitor(request, *server_, module_);
  try {
    speak(language_of(request));
    keep_history("");  // an upkeep that is resumed is nobody's
    Visit visit(desk().visitors, request);
    keep_history(visit.account().name);
    audit_ended_workers();
    set_configuration_author(visit.account().name);
    Response response = answer(request, &visit);
    visit.add_cookies(&response);
    return response;
  } catch (const DatabaseError& error) {
    end_audit("failed: the database cannot be used");
    return fail(request, error.what(),
                error_response(500, said("The database of the device cannot be used."),
                               said("Tell the administrator; the log says what is wrong.")));
  } catch (const std::exception& error) {
    end_audit("failed: an error of the program");
    return fail(request, error.what(), error_response(500));
  }
}

Response Service::answer(const Request& request, Visit* visit) {
  if (!request.fault.empty()) {
    visit->record(visit->account().name, request.path, "", "refused: " + request.fault);
    return error_response(400, request.fault, said("Check the address."));
  }
  const bool is_post = request.method == "POST";
  if (!is_form_path(request.path)) {
    if (!is_post && (request.method == "GET" || request.method == "HEAD")) {
      const Download* download = find_download(request.path);
      return download == nullptr ? desk().views.show(request, visit)
                                 : answer_download(*download, request, visit);
    }
    return refuse_method(request, said("This page can only be read."), "GET, HEAD", visit);
  }
  if (!is_post)
    return refuse_method(request, said("This is where a form is sent to, not a page."), "POST",
                         visit);
  const FormRule* form = find_form(request.path);
  if (form != nullptr) return desk().posts.answer(*form, request, visit);
  visit->record(visit->account().name, request.path, "", "refused: no such form");
  return error_response(404, said("There is no form {1}.", request.path),
                        said("Check the address."));
}

Response Service::answer_download(const Download& download, const Request& request, Visit* visit) {
  if (auto refused = PageViews::refuse_visitor(request, visit)) return *std::move(refused);
  const std::string fault = refuse_page_fields(request.path, request.query);
  if (!fault.empty()) {
    visit->record(visit->account().name, request.path, "", "refused: " + fault);
    return error_response(400, fault, said("Change the address, or go back to the start page."));
  }
  return download.make({request, module_, desk().visitors, *visit, desk().history});
}

// From now on the store keeps what a template held, with the name of whoever changes it.
void Service::keep_history(const std::string& who) const {
  module_.set_history(history_.c_str(), kKeptVersions, who.c_str());
}

// What a worker was carrying out when it ended is audited by the next request, whoever answers it.
void Service::audit_ended_workers() {
  if (server_ == nullptr) return;
  for (WorkerEnd& end : server_->ends) {
    if (end.is_audited.exchange(true)) continue;
    const std::string line = end.last_line.get();
    auto entry = ended_entry(end.post.get(), "failed: " + end.cause.get() +
                                                 (line.empty() ? "" : "; last logged: " + line));
    if (!entry) continue;
    entry->time = end.time;
    desk_->visitors.audit.record_or_keep(*entry);
  }
}

void Service::end_audit(const char* outcome) {
  if (desk_) desk_->visitors.audit.end_announced(outcome);
}

Service::Desk& Service::desk() {
  if (!desk_) {
    desk_.emplace(database_file_, history_, module_, site_, server_);
    if (worker_ != nullptr) {
      desk_->visitors.audit.watch([this](std::string_view form) { worker_->post.set(form); });
    }
    resume_upkeep(module_, database_file_);
  }
  return *desk_;
}

}  // namespace platen
