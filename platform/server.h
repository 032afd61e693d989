/* Services of the web server that loads the module. */
/* SPDX-License-Identifier: MIT */
#ifndef PLATFORM_SERVER_H_
#define PLATFORM_SERVER_H_

#include "http_parser.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Appends printf-style formatted text to the response of the request that `udata` describes.
   The format is text of the page; the values are data, which the server may render for the place in
   the page where they are to stand. Returns the number of bytes appended, or a negative number when
   nothing could be written. */
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
int adiprintf(QVN_AppData* udata, const char* format, ...);

/* Translates a phrase: `phrase` is a token followed by "?", `language` the code of a language, such
   as "de-de", compared exactly. The phrase "9998?" gives the language's own code. Neither may be
   null. Returns the text, borrowed for the life of the process and not to be changed, or null when
   the language is not installed, has no such token, or `phrase` does not end in "?". Logs nothing.
 */
char* Server_Translate_Phrase(const char* phrase, const char* language);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_SERVER_H_ */
