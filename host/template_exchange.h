// Template files on their way to a visitor and back.
// SPDX-License-Identifier: MIT
#ifndef HOST_TEMPLATE_EXCHANGE_H_
#define HOST_TEMPLATE_EXCHANGE_H_

#include "downloads.h"
#include "parser_module.h"
#include "post.h"

namespace platen {

// The file of the template that the request names, or what it held before the change that "version"
// names, byte for byte under its own name. 404 where there is none, or one that is no regular file.
Response download_template(const DownloadContext& context);

// Puts the uploaded file where the form says, byte for byte. It is checked as a whole before: one
// that is no template is refused with its own name, the line, the column and the reason, and
// whatever the reason of a refusal, what was there stays. The store keeps what is replaced.
// Requires: a form that policy lets through.
Outcome upload_template(const Post& post, const ParserModule& module);

}  // namespace platen

#endif  // HOST_TEMPLATE_EXCHANGE_H_
