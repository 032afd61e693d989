// Answers every request that a worker gets: pages and forms.
// SPDX-License-Identifier: MIT
#ifndef HOST_SERVICE_H_
#define HOST_SERVICE_H_

#include <optional>
#include <string>

#include "downloads.h"
#include "http_message.h"
#include "mailbox.h"
#include "page_views.h"
#include "posts.h"
#include "server_state.h"
#include "site.h"
#include "visit.h"

namespace platen {

class Service {
 public:
  // Visitors are kept in the database `database_file`, which is opened at the first request: the
  // process that answers must not be forked afterwards. What templates held before they are changed
  // is kept in the directory `history`. Requires `module` to outlive the object.
  Service(const std::string& pages, const ParserModule& module, std::string database_file,
          std::string history);

  // Serves the pages of another directory from the next request on.
  void choose_pages(const std::string& pages);

  // Makes the process that worker of the server: pages show what all of them do, and what a form is
  // doing stands there for as long as it lasts. To be called after the fork, at most once.
  void join(ServerState* server, size_t number);

  // Answers one request. Never throws; what fails is told by a page and logged with its cause.
  Response serve(const Request& request);

 private:
  // Made together, as each needs the ones before it.
  struct Desk {
    Desk(const std::string& database_file, const std::string& history_directory,
         const ParserModule& module, Site& site, const ServerState* server);

    Visitors visitors;
    Mailbox mailbox;
    TemplateHistory history;
    PageViews views;
    Posts posts;
  };

  Response answer(const Request& request, Visit* visit);
  void audit_ended_workers();
  void end_audit(const char* outcome);
  Response answer_download(const Download& download, const Request& request, Visit* visit);
  Desk& desk();
  void keep_history(const std::string& who) const;

  const ParserModule& module_;
  Site site_;
  std::string database_file_;
  std::string history_;
  ServerState* server_ = nullptr;
  WorkerState* worker_ = nullptr;
  std::optional<Desk> desk_;
};

}  // namespace platen

#endif  // HOST_SERVICE_H_
