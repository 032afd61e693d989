// Builds the JSON of a template from the store's walk.
// SPDX-License-Identifier: MIT
#include "template_json.h"

namespace platen {
namespace {

std::string json_name(const char* text) { return valid_utf8(text == nullptr ? "" : text); }

// Collects one template.
class TemplateCollector {
 public:
  static int visit(void* context, const char* service, const char* invocation,
                   const char* attribute, const char* type, bool_t compulsory, int /*line*/,
                   const char* value) {
    auto* self = static_cast<TemplateCollector*>(context);
    Json& in_service = self->services_.member(self->services, service, "invocations");
    Json& in_invocation =
        self->invocations_.member(in_service["invocations"], invocation, "attributes");
    Json& found = self->attributes_.member(in_invocation["attributes"], attribute, "values");
    found["type"] = json_name(type);
    found["compulsory"] = compulsory != FALSE;
    if (value != nullptr) found["values"].push_back(json_name(value));
    return 0;
  }

  Json services = Json::array();

 private:
  // The objects of one kind. The latest name is kept as it is stored, as several that are not UTF-8
  // look the same in JSON.
  class Members {
   public:
    // The object of that name in `list`, added when it is not there. It is the last one or new: the
    // walk goes in the order of the file, in which no name stands twice.
    Json& member(Json& list, const char* name, const char* content) {
      const std::string_view text = name == nullptr ? "" : name;
      if (list.empty() || latest_ != text) {
        list.push_back({{"name", valid_utf8(text)}, {content, Json::array()}});
        latest_ = text;
      }
      return list.back();
    }

   private:
    std::string latest_;
  };

  Members services_;
  Members invocations_;
  Members attributes_;
};

}  // namespace

Json template_json(const ParserModule& module, void* open_template) {
  auto* object = static_cast<TemplateObject*>(open_template);
  if (object == nullptr || object->m_filename == nullptr) return nullptr;
  TemplateCollector collector;
  if (module.walk(object, &TemplateCollector::visit, &collector) != 0) return nullptr;
  return {{"file", json_name(object->m_filename)}, {"services", collector.services}};
}

}  // namespace platen
