// Lines of the journal that several tests of the mailbox functions expect.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_MAILBOX_LINES_H_
#define TESTS_MODULE_MAILBOX_LINES_H_

#include <string>

#include "journal.h"
#include "template_lines.h"

inline std::string logged(int level, const std::string& text) {
  return "log " + mailbox_log(level, text);
}

inline std::string support_logged(int level, const std::string& text) {
  return "log " + support_log(level, text);
}

inline std::string entering(const std::string& function) { return logged(8, "ENTER " + function); }

inline std::string leaving(const std::string& function) { return logged(8, "EXIT " + function); }

inline std::string asked(const std::string& key) { return "Cfg_GetAttrValue('" + key + "', 1064)"; }

inline std::string password_key(const std::string& folder) {
  return "scanToMailbox." + folder + ".password";
}

// The key of a folder's password is built and looked up.
inline Lines password_asked(const std::string& folder) {
  return {entering("PrivBuildPasswordCfgString"), leaving("PrivBuildPasswordCfgString"),
          logged(102, "Looking for config server value of '" + password_key(folder) + "'."),
          asked(password_key(folder))};
}

inline std::string not_retrieved(const std::string& key) {
  return logged(102, "Value for '" + key + "' could not be retrieved from the Config Server");
}

// The password of a job is read from its log, whose metadata service has no invocation.
inline Lines job_password_read(const std::string& path) {
  return joined({opening(path, 0),
                 {"GetLastTemplateError(tpl)", "ListInvocations(tpl, 'qvn_dscrpt_metadata')",
                  "Read(tpl, 'qvn_dscrpt_metadata', NULL, 'MetaDataValue', 1)"},
                 closing(0)});
}

#endif  // TESTS_MODULE_MAILBOX_LINES_H_
