/* The public headers as C11 reads them: the layout of every record. */
/* SPDX-License-Identifier: MIT */
#include <stddef.h>

#include "configapi.h"
#include "headers_layout.h"
#include "http_parser.h"
#include "ipc.h"
#include "log.h"
#include "server.h"
#include "templateWrapper.h"
#include "xpaths.h"

const size_t kLayoutInC[] = {HEADERS_LAYOUT};
