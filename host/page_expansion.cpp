// Runs the tags of a page.
// SPDX-License-Identifier: MIT
#include "page_expansion.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "device/phrases.h"
#include "module_request.h"
#include "platform/log.h"
#include "platform/server.h"
#include "template_json.h"

namespace platen {
namespace {

constexpr const char* kSource = "page_expansion.cpp";

void log_error(const char* text, int line = __builtin_LINE()) {
  Log_Entry(LOG_LEVEL_ERROR, kSource, line, "%s", text);
}

// A response stream that grows in memory.
class MemoryStream {
 public:
  MemoryStream() : file_(::open_memstream(&data_, &size_)) {
    if (file_ == nullptr) throw std::bad_alloc();
  }
  ~MemoryStream() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(data_);
  }
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  FILE* file() { return file_; }
  void write(std::string_view text) { std::fwrite(text.data(), 1, text.size(), file_); }

  // Ends the stream. Throws std::bad_alloc when not everything found room.
  std::string take() {
    const bool complete = std::ferror(file_) == 0;
    if (std::fclose(std::exchange(file_, nullptr)) != 0 || !complete) throw std::bad_alloc();
    return {data_, size_};
  }

 private:
  char* data_ = nullptr;
  size_t size_ = 0;
  FILE* file_;
};

// One request's run through a page.
class PageRun {
 public:
  PageRun(ModuleRequest* request, const HostValues& values)
      : request_(*request), record_(request->record()), values_(values) {
    record_.outfs = stream_.file();
  }
  ~PageRun() { record_.outfs = nullptr; }
  PageRun(const PageRun&) = delete;
  PageRun& operator=(const PageRun&) = delete;

  Expansion expand(const Page& page) {
    for (const PageItem& item : page.items) {
      if (const auto* text = std::get_if<PageText>(&item)) {
        stream_.write(text->text);
      } else {
        expand_tag(std::get<PageTag>(item));
      }
      if (!fault_.empty()) break;
    }
    return {stream_.take(), fault_, record_.Reason};
  }

 private:
  void expand_tag(const PageTag& tag) {
    switch (tag.kind) {
      case TagKind::parser:
        return call_function(tag);
      case TagKind::reason:
        return print_reason(tag);
      case TagKind::phrase:
        return print(phrase(tag.argument), tag.format);
      case TagKind::open_template:
        return print(template_json(request_.module(), record_.parserTemplate), tag.format);
      case TagKind::token:
        return print_token(tag);
      case TagKind::languages:
        return print_languages();
      case TagKind::login:
      case TagKind::posted:
      case TagKind::notice:
      case TagKind::page:
      case TagKind::audit:
      case TagKind::status:
      case TagKind::accounts:
      case TagKind::jobs:
      case TagKind::mailbox:
      case TagKind::session:
      case TagKind::difference:
      case TagKind::versions:
      case TagKind::factory:
      case TagKind::deleted:
      case TagKind::clone:
      case TagKind::upload:
        return print(host_value(tag), tag.format);
      case TagKind::include:
        return;  // resolved when the page was read
    }
  }

  Json host_value(const PageTag& tag) const { return values_ ? values_(tag) : Json(); }

  void print(const Json& value, Format format) {
    stream_.write(format == Format::json ? json_text(value)
                                         : formatted_text(text_of(value, format), format));
  }

  // What is no text stands in a PHP literal as JSON.
  static std::string text_of(const Json& value, Format format) {
    if (value.is_string()) return value.get<std::string>();
    return format == Format::php ? value.dump() : "";
  }

  // What a form was refused for is of more use than what the page met meanwhile.
  void print_reason(const PageTag& tag) {
    const Json refused = host_value(tag);
    if (refused.is_string()) return print(refused, tag.format);
    std::string reason = record_.Reason;
    if (refused == Json(true) && !open_error_.empty()) reason += "\n" + open_error_;
    print(valid_utf8(reason), tag.format);
  }

  void print_token(const PageTag& tag) {
    const Json token = host_value(tag);
    if (!token.is_string()) return;
    stream_.write("<input type=\"hidden\" name=\"token\" value=\"" +
                  html_text(token.get<std::string>()) + "\">");
  }

  // A button for each language but the visitor's, with the name that it gives itself.
  void print_languages() {
    for (const std::string& code : languages()) {
      if (code == record_.preferredLang) continue;
      const char* name = Server_Translate_Phrase("language.name?", code.c_str());
      std::string button = "<button class=\"link\" name=\"language\" value=\"";
      button.append(code).append("\" lang=\"").append(code).append("\">");
      button.append(html_text(name == nullptr ? code : name)).append("</button>\n");
      stream_.write(button);
    }
  }

  // Calls a parser function with a copy of the argument, which it may cut in place.
  void call_function(const PageTag& tag) {
    const TemplateUse use = tag.function->use;
    if (use == TemplateUse::opens || use == TemplateUse::opens_own) {
      request_.discard_open_template();
    }
    const auto reason = std::to_array(record_.Reason);
    TagOutput output(*tag.function, tag.format);
    std::string argument = tag.argument;
    record_.tag = &output;
    request_.module().output_function(tag.function->name)(&record_, argument.data());
    record_.tag = nullptr;
    stream_.write(output.finish());
    if (!output.fault().empty()) fault_ = fault_text({tag.at, output.fault()});
    if (use == TemplateUse::opens) note_open_error();
    if (use == TemplateUse::opens_own) {
      // What a listing met in templates of its own is no failure of the page.
      request_.discard_open_template();
      std::ranges::copy(reason, record_.Reason);
    }
  }

  // The token where the language has no such phrase, so that the gap shows in the page.
  std::string phrase(const std::string& token) {
    const char* text = Server_Translate_Phrase((token + '?').c_str(), record_.preferredLang);
    return text == nullptr ? token : text;
  }

  void note_open_error() {
    open_error_ = request_.open_error();
    if (!open_error_.empty()) log_error(open_error_.c_str());
  }

  ModuleRequest& request_;
  RequestRecord& record_;
  const HostValues& values_;
  MemoryStream stream_;
  std::string fault_;
  std::string open_error_;  // why the template of the last open tag is not open
};

}  // namespace

Expansion expand_page(const Page& page, const ParserModule& module,
                      const std::vector<Field>& fields, const std::string& language,
                      const HostValues& values) {
  ModuleRequest request(module, fields, language);
  return PageRun(&request, values).expand(page);
}

}  // namespace platen
