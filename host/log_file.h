// The file that takes the log.
// SPDX-License-Identifier: MIT
#ifndef HOST_LOG_FILE_H_
#define HOST_LOG_FILE_H_

#include <string>

namespace platen {

// Has everything that this process and its later children write to standard error go to the end of
// `file`, which is made if it is missing. Returns false and sets `error` to a sentence naming the
// file when it cannot be written; standard error stays as it is then.
bool redirect_log(const std::string& file, std::string* error);

}  // namespace platen

#endif  // HOST_LOG_FILE_H_
