// Runs the tags of a page.
// SPDX-License-Identifier: MIT
#include "page_expansion.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "platform/log.h"
#include "platform/server.h"
#include "request_record.h"
#include "template_json.h"

namespace platen {
namespace {

constexpr const char* kSource = "page_expansion.cpp";

void log_error(const char* text, int line = __builtin_LINE()) {
  Log_Entry(LOG_LEVEL_ERROR, kSource, line, "%s", text);
}

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

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
  PageRun(const ParserModule& module, const std::vector<Field>& fields, const std::string& language)
      : module_(module), record_(fields, language) {
    record_.outfs = stream_.file();
  }

  // Whatever way the run ends, the next request finds no template open and no value held.
  ~PageRun() {
    discard_open_template();
    module_.release_values();
    log_failures();
  }
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
        return stream_.write(formatted_text(record_.Reason, tag.format));
      case TagKind::phrase:
        return stream_.write(formatted_text(phrase(tag.argument), tag.format));
      case TagKind::open_template:
        return stream_.write(json_text(template_json(module_, record_.parserTemplate)));
      case TagKind::include:
        return;  // resolved when the page was read
    }
  }

  // Calls a parser function with a copy of the argument, which it may cut in place.
  void call_function(const PageTag& tag) {
    const TemplateUse use = tag.function->use;
    if (use == TemplateUse::opens || use == TemplateUse::opens_own) discard_open_template();
    const auto reason = std::to_array(record_.Reason);
    TagOutput output(*tag.function, tag.format);
    std::string argument = tag.argument;
    record_.tag = &output;
    module_.output_function(tag.function->name)(&record_, argument.data());
    record_.tag = nullptr;
    stream_.write(output.finish());
    if (!output.fault().empty()) fault_ = fault_text({tag.at, output.fault()});
    if (use == TemplateUse::opens) log_open_error();
    if (use == TemplateUse::opens_own) {
      // What a listing met in templates of its own is no failure of the page.
      discard_open_template();
      std::ranges::copy(reason, record_.Reason);
    }
  }

  // Closes the open template without saving and without its hidden field in the page.
  void discard_open_template() {
    FILE* page = std::exchange(record_.outfs, nullptr);
    char discard[] = "FALSE";
    if (record_.parserTemplate != nullptr) module_.close_template(&record_, discard);
    record_.outfs = page;
  }

  // The token where the language has no such phrase, so that the gap shows in the page.
  std::string phrase(const std::string& token) {
    const char* text = Server_Translate_Phrase((token + '?').c_str(), record_.preferredLang);
    return text == nullptr ? token : text;
  }

  void log_open_error() {
    const auto* object = static_cast<const TemplateObject*>(record_.parserTemplate);
    if (const char* error = module_.error(object); error[0] != '\0') log_error(error);
  }

  void log_failures() {
    const std::unique_ptr<char, FreeDeleter> failures(module_.failures());
    if (failures == nullptr) return;
    for (std::string_view rest = failures.get(); !rest.empty();) {
      const std::string line(rest.substr(0, rest.find('\n')));
      log_error(line.c_str());
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
  }

  const ParserModule& module_;
  MemoryStream stream_;
  RequestRecord record_;
  std::string fault_;
};

}  // namespace

Expansion expand_page(const Page& page, const ParserModule& module,
                      const std::vector<Field>& fields, const std::string& language) {
  return PageRun(module, fields, language).expand(page);
}

}  // namespace platen
