// The plain pages that tell a user what went wrong.
// SPDX-License-Identifier: MIT
#ifndef HOST_ERROR_PAGE_H_
#define HOST_ERROR_PAGE_H_

#include <string>
#include <string_view>
#include <vector>

#include "http_message.h"

namespace platen {

// The name of an HTTP status, "Not Found"; "Error" for one that platend does not use.
std::string_view status_name(int status);

// The statuses of all errors that platend or its web server answers.
std::vector<int> error_statuses();

// A page with the status, `what` went wrong and, unless empty, what the user can do about it
// (`advice`). Both are plain text and are escaped here; the page needs no other file.
Response error_response(int status, std::string_view what, std::string_view advice);

// The same with the words that fit the status wherever nothing more is known.
Response error_response(int status);

// The same for visitors of whom nothing is known: one text below the other, in every language that
// is installed, the one that is spoken first.
Response error_response_for_all(int status);

}  // namespace platen

#endif  // HOST_ERROR_PAGE_H_
