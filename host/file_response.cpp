// The headers of a file.
// SPDX-License-Identifier: MIT
#include "file_response.h"

#include <strings.h>

#include <algorithm>

#include "next_page.h"
#include "output_format.h"

namespace platen {
namespace {

struct FileType {
  std::string_view suffix;
  const char* type;
};

constexpr FileType kTypes[] = {
    {".pdf", "application/pdf"}, {".tif", "image/tiff"},  {".tiff", "image/tiff"},
    {".jpg", "image/jpeg"},      {".jpeg", "image/jpeg"}, {".png", "image/png"},
};

const char* type_of(const std::string& name) {
  const auto* row = std::ranges::find_if(kTypes, [&](const FileType& type) {
    return name.size() > type.suffix.size() &&
           ::strcasecmp(name.c_str() + name.size() - type.suffix.size(), type.suffix.data()) == 0;
  });
  return row == std::end(kTypes) ? "application/octet-stream" : row->type;
}

}  // namespace

// The web server decodes the path; every byte that it could take for something else is encoded.
Response file_response(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  Response response;
  response.content_type = type_of(name);
  response.headers.emplace_back("X-Sendfile", page_address(path, {}));
  response.headers.emplace_back(
      "Content-Disposition", "attachment; filename*=UTF-8''" + page_address(valid_utf8(name), {}));
  return response;
}

}  // namespace platen
