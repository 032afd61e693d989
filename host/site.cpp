// Finds, checks and serves pages.
// SPDX-License-Identifier: MIT
#include "site.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <unordered_set>

#include "device/phrases.h"
#include "error_page.h"
#include "next_page.h"
#include "php_runtime.h"
#include "platform/log.h"
#include "policy.h"
#include "said.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSource = "site.cpp";
constexpr std::string_view kStaticFiles = "static/";
constexpr Sentence kTellAdministrator("Tell the administrator; the log says what is wrong.");

void log_line(int level, const std::string& text, int line = __builtin_LINE()) {
  Log_Entry(level, kSource, line, "%s", text.c_str());
}

void log_refusal(const Request& request) {
  const Speaking to_the_log(kDefaultLanguage);
  log_line(LOG_LEVEL_WARNING,
           "refused " + request.path + ": " + refuse_page_fields(request.path, request.query));
}

bool is_page(std::string_view name) {
  return (is_html_page(name) || is_script_page(name) || is_php_page(name)) &&
         !name.starts_with(kStaticFiles);
}

// The names that the page for a request's path may have.
std::vector<std::string> page_names_for(const std::string& path) {
  if (!path.starts_with('/')) return {};
  const std::string name = path.substr(1);
  if (!path.ends_with('/')) return {name};
  return {name + "index.html", name + "index.php"};
}

// The names of all pages, sorted. Throws fs::filesystem_error when a directory cannot be read.
std::vector<std::string> page_names(const std::string& root) {
  std::vector<std::string> names;
  for (auto entry = fs::recursive_directory_iterator(root); entry != fs::end(entry); ++entry) {
    const std::string name = entry->path().lexically_relative(root);
    if (entry->path().filename().string().starts_with('.')) {
      entry.disable_recursion_pending();
    } else if (!entry->is_directory() && is_page(name)) {
      names.push_back(name);
    }
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace

Site::Site(std::string pages, const ParserModule* module)
    : pages_(std::move(pages)), module_(module) {}

std::vector<std::string> Site::check() const {
  std::vector<std::string> faults;
  std::unordered_set<std::string> seen;  // a fault in an included file shows in several pages
  try {
    for (const std::string& name : page_names(pages_)) {
      for (const Fault& fault : load_page(pages_, name).faults) {
        const std::string text = fault_text(fault);
        if (seen.insert(text).second) faults.push_back(text);
      }
    }
  } catch (const fs::filesystem_error& error) {
    faults.push_back(pages_ + ": cannot be read: " + error.code().message());
  }
  return faults;
}

Response Site::serve(const Request& request, const HostValues& values) {
  try {
    return answer(request, values);
  } catch (const std::exception& error) {
    log_line(LOG_LEVEL_ERROR, request.path + ": " + error.what());
    return error_response(500);
  }
}

Response Site::answer(const Request& request, const HostValues& values) {
  const std::string name = find_page(request.path);
  if (name.empty()) {
    return error_response(404, said("There is no page {1}.", request.path),
                          said("Check the address."));
  }
  if (const std::string refusal = refuse_page_fields(request.path, request.query);
      !refusal.empty()) {
    log_refusal(request);
    return error_response(400, refusal, said("Change the address, or go back to the start page."));
  }
  return answer_page(name, request, values);
}

std::string Site::find_page(const std::string& path) const {
  for (const std::string& name : page_names_for(path)) {
    if (is_page(name) && !find_page_file(pages_, name).path.empty()) return name;
  }
  return "";
}

Response Site::answer_page(const std::string& name, const Request& request,
                           const HostValues& values) {
  const std::shared_ptr<const Page> source = page(name);
  for (const Fault& fault : source->faults) log_line(LOG_LEVEL_ERROR, fault_text(fault));
  if (!source->faults.empty()) {
    return error_response(500, said("The page {1} has a fault.", request.path),
                          said(kTellAdministrator));
  }
  Expansion expansion =
      expand_page(*source, *module_, request.query, best_language(request.language), values);
  if (!expansion.fault.empty()) {
    log_line(LOG_LEVEL_ERROR, expansion.fault);
    return error_response(500, said("The page {1} failed.", request.path),
                          said(kTellAdministrator));
  }
  Response response;
  response.status = expansion.reason.empty() ? 200 : 404;
  if (is_script_page(name)) response.content_type = "text/javascript; charset=utf-8";
  response.body = std::move(expansion.text);
  return is_php_page(name) ? run_page(name, request, std::move(response)) : response;
}

Response Site::run_page(const std::string& name, const Request& request, Response response) {
  PhpResult result = run_php(name, response.body, page_address("", request.query).erase(0, 1));
  if (!result.fault.empty()) {
    log_line(LOG_LEVEL_ERROR, result.fault);
    return error_response(500, said("The page {1} failed.", request.path),
                          said(kTellAdministrator));
  }
  response.body = std::move(result.output);
  return response;
}

std::shared_ptr<const Page> Site::page(const std::string& name) {
  std::shared_ptr<const Page>& cached = cache_[name];
  if (cached == nullptr || !is_fresh(*cached)) {
    cached = std::make_shared<const Page>(load_page(pages_, name));
  }
  return cached;
}

}  // namespace platen
