/* The client of the device's configuration server: settings by key. */
/* SPDX-License-Identifier: MIT

   Conventions of all functions below:
   1. A key is a text of 1 to 255 bytes; a value has at most 1063 bytes and any of them but NUL. The
      empty text is a value; a key that was never set has none.
   2. A function returns CFG_OK (0), or another Cfg_status and has changed nothing then, neither the
      setting nor the caller's variable.
   3. A set has reached the disk when it returns CFG_OK. Several processes may read and set at once;
      of two sets of one key the later one stays.
   4. A server that cannot be reached is logged at level 3 with the reason. A key without a value is
      not logged: what that means is the caller's to judge. */
#ifndef PLATFORM_CONFIGAPI_H_
#define PLATFORM_CONFIGAPI_H_

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "ipc.h"
#include "log.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

typedef int32_t bool_t;

/* Status of an operation; 0 is success. */
typedef int32_t status_t;

/* The text of one value, its terminator included. */
typedef char ConfigAVP_t[1064];

/* The server's reply to an update request. */
typedef struct ConfigResponse_t {
  status_t status; /* 0: the value is stored */
  ConfigAVP_t AVP;
} ConfigResponse_t;

enum Cfg_status {
  CFG_OK = 0,
  CFG_NO_VALUE,   /* the key was never set, or its value is none of the asked kind */
  CFG_INVALID,    /* a null pointer, or a key, value or buffer outside the limits */
  CFG_UNAVAILABLE /* the configuration cannot be read or written now */
};

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Copies the value of `key`, terminated, into `value`, a buffer of `size` bytes.
   Returns CFG_OK, CFG_NO_VALUE, CFG_INVALID (also when the value does not fit `size`; nothing is
   cut), or CFG_UNAVAILABLE. */
int Cfg_GetAttrValue(const char* key, char* value, int size);

/* Sets `key` to a copy of `value`; a null `value` is the empty text.
   Returns CFG_OK, CFG_INVALID or CFG_UNAVAILABLE. */
int Cfg_SetAttrValue(const char* key, const char* value);

/* Stores the boolean value of `key` in `*value`: TRUE for the texts "TRUE" and "1", FALSE for
   "FALSE" and "0". Returns CFG_OK, CFG_NO_VALUE (also for any other text), CFG_INVALID or
   CFG_UNAVAILABLE. */
int Cfg_GetBoolAttrValue(const char* key, bool_t* value);

/* Sets `key` to the text "FALSE" for 0, else to "TRUE".
   Returns CFG_OK, CFG_INVALID or CFG_UNAVAILABLE. */
int Cfg_SetBoolAttrValue(const char* key, bool_t value);

/* Returns the text that stands in front of `key="value"` in an update request. A constant. */
const char* Cfg_GetContext(void);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

/* Has the server set one value: sends the context followed by `AVP`, a text `key="value"` in which
   nothing is escaped, and waits for the reply. `AVP` may not be null; what passes 1064 bytes with
   its context is cut. Logs the request, with the value, at level 9. Returns the status of the
   reply, 0 when the value is stored; or the non-zero status of a send that failed, logged at
   level 5. */
static inline status_t ConfigUpdate(char* AVP) {
  Ipc_message* reply = NULL; /* NOLINT(modernize-use-nullptr): C reads this too */
  char l_AVP[sizeof(ConfigAVP_t) + 1];
  memset(l_AVP, 0, sizeof(l_AVP));
  snprintf(l_AVP, sizeof(l_AVP), "%s%s", Cfg_GetContext(), AVP);
  Log_Entry(LOG_LEVEL_UPDATE, "configapi.h", 344, "%s: %s", "ConfigUpdate", l_AVP);
  status_t status = ipc_send_message_sync(2000, 13001, l_AVP, strlen(l_AVP) + 1, 7000, &reply);
  if (status == 0) {
    status = ((const ConfigResponse_t*)ipc_message_data(reply))->status;
  } else {
    Log_Entry(LOG_LEVEL_WARNING, "configapi.h", 360, "%s: IPC send failure\n\t\tstatus = %ld",
              "ConfigUpdate", (long)status);
  }
  if (reply) ipc_free_message(0, reply);
  return status;
}

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_CONFIGAPI_H_ */
