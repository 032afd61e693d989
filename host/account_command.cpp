// The command line "platend account": accounts from the shell.
// SPDX-License-Identifier: MIT
#include "account_command.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>

#include "accounts.h"
#include "audit.h"
#include "command.h"
#include "device/database.h"
#include "sessions.h"

namespace platen {
namespace {

constexpr char kUsage[] =
    "usage: platend account list\n"
    "       platend account add NAME [--role user|administrator]\n"
    "       platend account reset NAME      give a new password\n"
    "       platend account disable NAME\n"
    "       platend account enable NAME\n";

struct Request {
  std::string verb;
  std::string name;
  Role role = Role::user;
};

// What the verbs do. Each returns why not, or "", and sets the password that it made.
struct Verb {
  const char* word;
  std::string (*run)(Accounts& accounts, const Request& request, std::string* password);
};

constexpr Verb kVerbs[] = {
    {"add",
     [](Accounts& accounts, const Request& request, std::string* password) {
       return accounts.add(request.name, request.role, password);
     }},
    {"reset", [](Accounts& accounts, const Request& request,
                 std::string* password) { return accounts.reset(request.name, password); }},
    {"disable", [](Accounts& accounts, const Request& request,
                   std::string*) { return accounts.set_disabled(request.name, true); }},
    {"enable", [](Accounts& accounts, const Request& request,
                  std::string*) { return accounts.set_disabled(request.name, false); }},
};

const Verb* find_verb(const std::string& word) {
  const auto* verb = std::find_if(std::begin(kVerbs), std::end(kVerbs),
                                  [&word](const Verb& row) { return word == row.word; });
  return verb == std::end(kVerbs) ? nullptr : verb;
}

// Reads the role from "--role ROLE" or "--role=ROLE" at `*next` and moves on behind it. Returns
// what is wrong, or "".
std::string read_role(const std::vector<std::string>& words, size_t* next, Role* role) {
  const std::string& word = words[*next];
  std::string value = word.substr(std::min(word.size(), std::strlen("--role=")));
  if (word == "--role" && ++*next < words.size()) value = words[*next];
  const std::optional<Role> found = account_role(value);
  if (!found) return "--role must be user or administrator, not \"" + value + "\"";
  *role = *found;
  return "";
}

// Reads the words. Returns what is wrong, or "".
std::string read_request(const std::vector<std::string>& words, Request* request) {
  if (words.empty()) return "say what to do";
  request->verb = words[0];
  const bool is_list = request->verb == "list";
  if (!is_list && find_verb(request->verb) == nullptr) {
    return "\"" + request->verb + "\" is not known";
  }
  for (size_t i = 1; i < words.size(); ++i) {
    std::string fault;
    if (request->verb == "add" && (words[i] == "--role" || words[i].starts_with("--role="))) {
      fault = read_role(words, &i, &request->role);
    } else if (is_list || words[i].starts_with("-") || !request->name.empty()) {
      fault = "\"" + words[i] + "\" is one word too many";
    } else {
      request->name = words[i];
    }
    if (!fault.empty()) return fault;
  }
  return is_list || !request->name.empty() ? "" : "the account's name is missing";
}

void print_list(Accounts& accounts, std::FILE* out) {
  for (const Account& account : accounts.list()) {
    std::fprintf(out, "%-24s %-13s%s%s\n", account.name.c_str(), role_name(account.role),
                 account.disabled ? " disabled" : "",
                 account.must_change ? " must choose a password" : "");
  }
}

int run_request(const Request& request, Database& database, PasswordCost cost, std::FILE* out,
                std::FILE* err) {
  Sessions sessions(database);
  Accounts accounts(database, sessions, cost);
  if (request.verb == "list") {
    print_list(accounts, out);
    return 0;
  }
  std::string password;
  const std::string refusal = find_verb(request.verb)->run(accounts, request, &password);
  const std::string outcome = refusal.empty() ? "done" : "refused: " + refusal;
  Audit(database).record({"", "", "account " + request.verb, request.name, outcome});
  if (!refusal.empty()) {
    std::fprintf(err, "platend account: %s\n", refusal.c_str());
    return 1;
  }
  if (!password.empty()) {
    std::fprintf(out, "The password of %s is %s and must be changed at the first login.\n",
                 request.name.c_str(), password.c_str());
    wipe(&password);
  }
  return 0;
}

}  // namespace

int account_command(const std::vector<std::string>& words, const std::string& database_file,
                    std::FILE* out, std::FILE* err, PasswordCost cost) {
  Request request;
  const std::string fault = read_request(words, &request);
  if (!fault.empty()) {
    std::fprintf(err, "platend account: %s\n%s", fault.c_str(), kUsage);
    return 2;
  }
  if (!has_database(database_file, "platend account", err)) return 1;
  try {
    Database database(database_file);
    return run_request(request, database, cost, out, err);
  } catch (const std::exception& failure) {
    std::fprintf(err, "platend account: %s\n", failure.what());
    return 1;
  }
}

}  // namespace platen
