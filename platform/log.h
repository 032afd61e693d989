/* The system log of the device. */
/* SPDX-License-Identifier: MIT */
#ifndef PLATFORM_LOG_H_
#define PLATFORM_LOG_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Levels in use: what a line of that level tells. The log service filters, its callers never do. */
enum {
  LOG_LEVEL_INCONSISTENT = 1, /* mailbox folder data that contradicts itself */
  LOG_LEVEL_ERROR = 3,        /* the request cannot be served; every line before the process ends */
  LOG_LEVEL_WARNING = 5,      /* a value or parameter is missing, a buffer is too small */
  LOG_LEVEL_NOTICE = 6,       /* a noteworthy but handled condition or change */
  LOG_LEVEL_TRACE = 8,        /* entry to and exit from a parser function */
  LOG_LEVEL_UPDATE = 9,       /* update request sent to the configuration server; shows passwords */
  LOG_LEVEL_LANGUAGE = 12,    /* language in use */
  LOG_LEVEL_SUCCESS = 100,    /* summary of a template open or close */
  LOG_LEVEL_UNUSUAL = 101,    /* unusual path taken, trace of edits */
  LOG_LEVEL_VALUES = 102      /* detailed trace of values */
};

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Writes one line into the system log: printf-style `format` and its values, with the name of the
   source unit and the line of the call. Does not fail towards the caller. */
#if defined(__GNUC__)
__attribute__((format(printf, 4, 5)))
#endif
void Log_Entry(int level, const char* source, int line, const char* format, ...);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_LOG_H_ */
