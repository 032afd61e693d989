// Measures the editor in process against the bare system calls for the same files.
// SPDX-License-Identifier: MIT
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "comparison.h"
#include "device/configuration.h"
#include "module_forms.h"
#include "module_request.h"
#include "options.h"
#include "out_of_date.h"
#include "parser_module.h"
#include "platform/configapi.h"
#include "policy.h"
#include "raw_files.h"
#include "sandbox.h"
#include "site.h"

namespace platen {
namespace {

namespace fs = std::filesystem;

// The first argument of the program in the sandbox; the device tree follows it.
constexpr std::string_view kInside = "--inside";

const std::string kPool = "/tmp/template/pool";
const std::string kMailbox = kPool + "/mailbox";
constexpr char kSetHandler[] = "HTTP_Parser_Set_fn";
constexpr int kAttributes = 200;
constexpr int kEdits[] = {1, 20, 200};
constexpr int kTemplates[] = {10, 1000, 10000};
constexpr int kFolders[] = {10, 100, 1000};

// What the benchmarks of one process share.
struct Device {
  Device(const std::string& data, const ParserModule& loaded)
      : pages(data + "/pages"),
        module(loaded),
        site(pages, &module),
        visitors(data + "/state/configuration.db"),
        visit(visitors, {}) {}

  std::string pages;
  const ParserModule& module;
  Site site;
  Visitors visitors;
  Visit visit;
};

[[noreturn]] void give_up(const std::string& why) {
  std::fprintf(stderr, "editor_bench: %s\n", why.c_str());
  std::exit(1);
}

FormField text_field(std::string name, std::string value) {
  FormField field;
  field.name = std::move(name);
  field.value = std::move(value);
  return field;
}

// What an edit page posts, and what the host makes of it for the handler.
struct Form {
  std::vector<FormField> posted;
  std::vector<Field> handed_over;

  void add(const std::string& name, const std::string& value) {
    posted.push_back(text_field(name, value));
    if (name != "was") handed_over.emplace_back(name, value);
  }
};

// Changes attributes of a template of template_of(), evenly spread, each in a run of its own, from
// one wording to another.
Form form_of(const std::string& path, int edits, const std::string& from, const std::string& to) {
  const std::string type = "enum_setting";
  Form form;
  form.add("ParserFilename", path);
  for (int i = 0; i < edits; ++i) {
    const std::string number = std::to_string((2 * i + 1) * kAttributes / (2 * edits));
    form.add("ServiceName", "qvn_svc_general");
    form.add("InvocationName", "general_1");
    form.add("AttributeName", "JobAttribute" + number);
    form.add("AttributeType", type);
    form.add("AttributeValue", to + number);
    form.add("Compulsory", "FALSE");
    form.add("was", was_field({from + number, type, false}));
    form.add("Action", "update");
  }
  return form;
}

// A template and posts that change it back and forth, so that each of them has something to save.
class Posts {
 public:
  Posts(const std::string& directory, const std::string& name, int edits)
      : path_(
            write_file(directory, name + std::to_string(edits) + ".KTP", template_of(kAttributes))),
        forms_{form_of(path_, edits, "a value of usual length ", "another value "),
               form_of(path_, edits, "another value ", "a value of usual length ")} {}

  const Form& next() { return forms_[turn_++ % forms_.size()]; }

 private:
  std::string path_;
  std::array<Form, 2> forms_;
  std::size_t turn_ = 0;
};

void post_to_module(const ParserModule& module, const Form& form) {
  ModuleRequest request(module, form.handed_over, "");
  RequestRecord& record = request.record();
  const int result = module.form_handler(kSetHandler)(&record, record.entries, record.num_entries);
  if (result != 0 || !request.take_failures().empty()) give_up("a post to the module has failed");
}

void post_to_host(const Device& device, const Form& form) {
  const FormRule* rule = find_form(std::string("/form/") + kSetHandler);
  const Outcome outcome = run_module_form(device.module, {*rule, form.posted, ""}, device.visit);
  if (!outcome.done()) give_up(outcome.text);
}

void add_posts(const std::shared_ptr<Device>& device, const std::string& directory) {
  const std::string bytes = template_of(kAttributes);
  const std::string raw = write_file(directory, "raw.KTP", bytes);
  const auto read_and_save = [=] {
    read_raw(raw);
    save_raw(directory, "raw.KTP", bytes);
  };
  for (const int edits : kEdits) {
    const auto posts = std::make_shared<Posts>(directory, "module", edits);
    add({"post to the module", [=] { post_to_module(device->module, posts->next()); },
         read_and_save, edits});
  }
  for (const int edits : kEdits) {
    const auto posts = std::make_shared<Posts>(directory, "host", edits);
    add({"post to the host", [=] { post_to_host(*device, posts->next()); },
         [=] {
           read_raw(raw);  // whether the post comes from an out-of-date page
           read_and_save();
         },
         edits});
  }
}

// A page that lists a pool by that function, as the pages of the device do.
void write_list_page(const std::string& pages, const std::string& name,
                     const std::string& function) {
  write_file(pages, name,
             "<!DOCTYPE html><title>list</title><script type=\"application/json\">"
             "<!--#parser fn=\"" +
                 function + "\" format=\"json\"--></script>\n");
}

void show_list(Device* device, const std::string& page, const std::string& directory) {
  Request request;
  request.method = "GET";
  request.path = "/" + page;
  request.query = {{"TemplateDir", directory}};
  const Response response = device->site.serve(request);
  if (response.status != 200 || response.body.find("template9.KTP") == std::string::npos) {
    give_up("the page " + page + " does not list " + directory);
  }
}

std::string make_pool(int templates) {
  std::string directory = kPool + "/web/of" + std::to_string(templates);
  fs::create_directory(directory);
  const std::string bytes = template_of(20) + "    JobTemplateCreator (string) = front panel\n";
  for (int i = 0; i < templates; ++i) {
    write_file(directory, "template" + std::to_string(i) + ".KTP", bytes);
  }
  return directory;
}

struct ListPage {
  const char* series;
  const char* page;
  const char* function;
  void (*baseline)(const std::string& directory);
};

constexpr ListPage kListPages[] = {
    {"list page", "list.html", "HTTP_Parser_List_fn",
     [](const std::string& directory) { list_raw(directory); }},
    {"list page, no scan drivers", "people.html", "HTTP_Parser_List_Non_WIA_fn", list_and_read_raw},
};

void add_lists(const std::shared_ptr<Device>& device) {
  std::vector<std::string> directories;
  for (const int templates : kTemplates) directories.push_back(make_pool(templates));
  for (const ListPage& list : kListPages) {
    write_list_page(device->pages, list.page, list.function);
    for (std::size_t i = 0; i < directories.size(); ++i) {
      add({list.series, [=, page = list.page] { show_list(device.get(), page, directories[i]); },
           [=, baseline = list.baseline] { baseline(directories[i]); }, kTemplates[i]});
    }
  }
}

// The mailbox's directory holds the templates of one size at a time; the others wait beside it.
class Mailboxes {
 public:
  void make(int folders) {
    const std::string directory = beside(folders);
    fs::create_directory(directory);
    const std::string bytes = template_of(20);
    for (int i = 1; i < folders; ++i) {
      write_file(directory, "folder" + std::to_string(i) + ".KTP", bytes);
    }
    write_file(directory, "_PUBLIC.KTP", bytes);
  }

  void choose(int folders) {
    if (folders == chosen_) return;
    if (chosen_ != 0) fs::rename(kMailbox, beside(chosen_));
    fs::rename(beside(folders), kMailbox);
    chosen_ = folders;
  }

 private:
  static std::string beside(int folders) { return kMailbox + std::to_string(folders); }

  int chosen_ = 0;
};

void run_upkeep(const ParserModule& module) {
  ModuleRequest request(module, {}, "");
  std::string no_argument;
  module.upkeep_function("HTTP_Parser_Update_Templates_fn")(&request.record(), no_argument.data());
  if (!request.take_failures().empty()) give_up("an upkeep has failed");
}

// Each template is saved twice: without its prompts, and with those that the settings ask for.
void save_twice_raw(const std::string& directory, const std::string& bytes) {
  for (const std::string& name : list_raw(directory)) {
    const std::string path = std::string(directory).append("/").append(name);
    for (int i = 0; i < 2; ++i) {
      read_raw(path);
      save_raw(directory, name.c_str(), bytes);
    }
  }
}

void add_upkeep(const std::shared_ptr<Device>& device) {
  if (Cfg_SetBoolAttrValue("scanToMailbox.publicPasswordEnabled", TRUE) != CFG_OK) {
    give_up("the mailbox cannot be set to ask for passwords");
  }
  const auto mailboxes = std::make_shared<Mailboxes>();
  for (const int folders : kFolders) {
    mailboxes->make(folders);
    const std::string raw = kPool + "/web/raw" + std::to_string(folders);
    fs::create_directory(raw);
    const std::string bytes = template_of(20);
    for (int i = 0; i < folders; ++i) write_file(raw, std::to_string(i) + ".KTP", bytes);
    add({"upkeep",
         [=] {
           mailboxes->choose(folders);
           run_upkeep(device->module);
         },
         [=] { save_twice_raw(raw, bytes); }, folders});
  }
}

void load(ParserModule* module) {
  std::string fault;
  if (!module->load(PLATEN_MODULE, &fault)) give_up(fault);
}

int measure(const std::string& data, int argc, char** argv) {
  ParserModule module;
  load(&module);
  module.init();
  std::string fault;
  if (!open_configuration(data + "/state/configuration.db", &fault)) give_up(fault);
  const auto device = std::make_shared<Device>(data, module);
  add_posts(device, kPool + "/web");
  add_lists(device);
  add_upkeep(device);
  return run_comparisons(argc, argv);
}

// The program again, in a sandbox where the device's paths lead into a directory of its own.
int run_inside(const std::vector<std::string>& arguments) {
  ParserModule module;
  load(&module);
  const Workspace workspace(fs::canonical(temporary_directory()));
  const std::string& data = workspace.path();
  std::string fault;
  if (!prepare_data(data, &fault)) give_up(fault);
  fs::create_directories(data + "/pool/web");
  fs::create_directory(data + "/pages");
  SandboxedProgram program;
  program.program = fs::read_symlink("/proc/self/exe");
  program.arguments = {std::string(kInside), data};
  program.arguments.insert(program.arguments.end(), arguments.begin(), arguments.end());
  program.readable = {program.program, PLATEN_MODULE, fs::canonical(module.store_file())};
  program.writable = {data + "/state"};
  return run_sandboxed(data, program);
}

}  // namespace
}  // namespace platen

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 2 || arguments[0] != platen::kInside) {
      return platen::run_inside(arguments);
    }
    argv[2] = argv[0];
    return platen::measure(arguments[1], argc - 2, argv + 2);
  } catch (const std::exception& fault) {
    platen::give_up(fault.what());
  }
}
