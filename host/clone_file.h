// The clone file: chosen templates and settings of a device as one JSON document.
// SPDX-License-Identifier: MIT
//
//   {
//     "format": "platen-clone",
//     "version": 1,
//     "made": "2026-11-21T13:00:00Z",
//     "device": "platend:",
//     "groups": [{"token": 9101, "name": "Web templates"}],
//     "templates": [{"path": "/tmp/template/pool/web/Invoices.KTP", "group": 9101,
//                    "text": "...", "withheld": ["LoginPassword"]}],
//     "settings": [{"key": "network.name", "group": 9121, "value": "scanner-2"}],
//     "leftOut": [{"path": "/tmp/template/pool/web/Broken.KTP", "reason": "..."}],
//     "checksum": "sha256:..."
//   }
//
// A text that is not UTF-8 stands as "textBase64" or "valueBase64" instead, so that every byte is
// kept. The checksum is that of the document without it, written without blanks and line ends, and
// with every byte beyond ASCII as it is: it finds what was damaged or changed by accident.
#ifndef HOST_CLONE_FILE_H_
#define HOST_CLONE_FILE_H_

#include <string>
#include <string_view>
#include <vector>

#include "policy.h"

namespace platen {

struct CloneGroupName {
  int token;
  std::string name;
};

struct ClonedTemplate {
  std::string path;
  int group;
  std::string text;                   // the bytes of the file
  std::vector<std::string> withheld;  // attributes that are not in the text, as they are secret
};

struct ClonedSetting {
  std::string key;
  int group;
  std::string value;
};

struct LeftOutTemplate {
  std::string path;
  std::string reason;
};

struct CloneDocument {
  std::string made;    // UTC, "2026-11-21T13:00:00Z"
  std::string device;  // the context of the device's configuration
  std::vector<CloneGroupName> groups;
  std::vector<ClonedTemplate> templates;
  std::vector<ClonedSetting> settings;
  std::vector<LeftOutTemplate> left_out;
};

// The document as a file.
std::string clone_text(const CloneDocument& document);

// Reads a file into `document`. Returns why it is none, as a sentence for the user, or "": it is not
// complete, no JSON, nested too deep, of another format or version, a name stands twice in an
// object or is not known, a member is missing or of another kind, or the checksum is another.
// `document` is then unspecified. What the paths, keys and texts are is not judged.
std::string read_clone_text(std::string_view text, CloneDocument* document);

// The SHA-256 of a text, in 64 hexadecimal digits.
std::string sha256(std::string_view text);

}  // namespace platen

#endif  // HOST_CLONE_FILE_H_
