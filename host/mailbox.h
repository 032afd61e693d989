// Who may see which folder and job of the mailbox, and what its pages show of them.
// SPDX-License-Identifier: MIT
#ifndef HOST_MAILBOX_H_
#define HOST_MAILBOX_H_

#include <optional>
#include <string>
#include <vector>

#include "http_message.h"
#include "mailbox_spool.h"
#include "output_format.h"
#include "parser_module.h"
#include "visit.h"

namespace platen {

// The names of the mailbox's settings.
inline constexpr const char* kMailboxSettings[] = {"promptOnPrivateScan", "publicPasswordEnabled",
                                                   "scanToPublic"};

// The key of a setting of the mailbox, of a folder's PIN, and of the session that has it open.
std::string mailbox_key(const std::string& setting);
std::string pin_key(const std::string& folder);
std::string sid_key(const std::string& folder);

// The addresses of the mailbox's pages.
std::string folder_page(const std::string& folder, const std::string& subf = "");
std::string pin_page(const std::string& folder);
std::string password_page(const JobAction& job);

class Mailbox {
 public:
  // Requires both to outlive the object.
  Mailbox(const ParserModule& module, Visitors& visitors) : module_(module), visitors_(visitors) {}

  // Returns the answer to a request for a page that the visitor may not see: that of a private
  // folder which the session has not opened leads to the PIN, that of a job without its password to
  // the password. Nothing when the page may be shown, and when its fields are refused anyway.
  std::optional<Response> refuse_page(const Request& request, const Visit& visit) const;

  // Whether the folder is public or opened by the visitor's session. A PIN that cannot be read
  // counts as one.
  bool is_open(const std::string& folder, const Visit& visit) const;
  static bool is_private(const std::string& folder);

  // Whether the visitor may act on the job: it is free, or there is a grant.
  bool may_act(const JobAction& job, const Visit& visit) const;

  // The same for once: a grant is used up.
  bool take_action(const JobAction& job, const Visit& visit) const;

  // Grants an action after a right job password.
  void grant(const JobAction& job, const Visit& visit) const;

  // Closes the folder for the session that has it open; false when the settings cannot be written.
  bool close_folder(const std::string& folder) const;

  // Closes all folders that the visitor's session has open.
  void close_folders(const Visit& visit) const;

  // What the host's tags show: the jobs of the folder that a page names, the visitor's session, and
  // the settings with all folders, for administrators.
  Json jobs(const std::vector<Field>& query, const Visit& visit) const;
  Json session(const Visit& visit) const;
  Json settings(const Visit& visit) const;

 private:
  std::string sid(const Visit& visit) const;
  Json job_value(const Job& job, const Visit& visit) const;

  const ParserModule& module_;
  Visitors& visitors_;
};

}  // namespace platen

#endif  // HOST_MAILBOX_H_
