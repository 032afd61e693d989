/* Messages between the device's processes. */
/* SPDX-License-Identifier: MIT */
#ifndef PLATFORM_IPC_H_
#define PLATFORM_IPC_H_

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A reply that was received; its layout is the message service's own. */
typedef struct Ipc_message Ipc_message;

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Sends the `length` bytes of `text`, its terminator included, and waits for the reply; `a`, `b`
   and `c` identify the request. Neither pointer may be null; `text` is borrowed for the call.
   Returns 0 with the reply stored in `*reply`; the caller releases it with ipc_free_message(). That
   a reply came says nothing about what is in it. On failure returns a non-zero status and leaves
   `*reply` unchanged. */
int ipc_send_message_sync(int a, int b, const void* text, size_t length, int c,
                          Ipc_message** reply);

/* Returns the data of a reply, borrowed until it is released; never null. For an update request it
   is a ConfigResponse_t. */
void* ipc_message_data(Ipc_message* reply);

/* Releases a reply; a null one is nothing to release. `zero` is 0. */
void ipc_free_message(int zero, Ipc_message* reply);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* PLATFORM_IPC_H_ */
