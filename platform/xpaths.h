/* The device's directories by key. */
/* SPDX-License-Identifier: MIT */
#ifndef PLATFORM_XPATHS_H_
#define PLATFORM_XPATHS_H_

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Returns the directory of `key`, without a "/" at its end, borrowed for the life of the process,
   or null when the key is null or unknown. */
const char* xpaths_get_path(const char* key);

/* Opens the file `name` below `directory`, as fopen() does with `mode`; programs started later do
   not inherit it. Returns the stream, which the caller closes, or null with errno set (EINVAL when
   an argument is null). */
FILE* xpaths_open_file(const char* directory, const char* name, const char* mode);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_XPATHS_H_ */
