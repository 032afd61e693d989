/* Services of the web server that loads the module. */
/* SPDX-License-Identifier: MIT */
#ifndef PLATFORM_SERVER_H_
#define PLATFORM_SERVER_H_

#include "http_parser.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Appends printf-style formatted text to the response of the request that `udata` describes.
   The format is text of the page; the values are data, which the server may render for the place in
   the page where they are to stand. Returns the number of bytes appended, or a negative number when
   nothing could be written. */
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
int adiprintf(QVN_AppData* udata, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_SERVER_H_ */
