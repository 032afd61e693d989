/* A web server of its own that loads the parser module: prints one value of a template. */
/* SPDX-License-Identifier: MIT */
/* usage: foreign_host TEMPLATE SERVICE ATTRIBUTE */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <http_parser.h>
#include <platform/configapi.h>
#include <platform/ipc.h>
#include <platform/log.h>
#include <platform/server.h>
#include <platform/xpaths.h>
#include <stdarg.h>
#include <stdio.h>
#include <templateWrapper.h>

/* The services that the module asks of its web server; this device has no settings, no phrases and
   no directories. */

int adiprintf(QVN_AppData* udata, const char* format, ...) {
  va_list values;
  va_start(values, format);
  int count = vfprintf(udata->outfs, format, values);
  va_end(values);
  return count;
}

void Log_Entry(int level, const char* source, int line, const char* format, ...) {
  if (level > LOG_LEVEL_TRACE) return;
  va_list values;
  va_start(values, format);
  fprintf(stderr, "%d %s:%d ", level, source, line);
  vfprintf(stderr, format, values);
  fputc('\n', stderr);
  va_end(values);
}

char* Server_Translate_Phrase(const char* phrase, const char* language) {
  (void)phrase, (void)language;
  return NULL;
}

int Cfg_GetAttrValue(const char* key, char* value, int size) {
  (void)key, (void)value, (void)size;
  return CFG_NO_VALUE;
}

int Cfg_SetAttrValue(const char* key, const char* value) {
  (void)key, (void)value;
  return CFG_UNAVAILABLE;
}

int Cfg_GetBoolAttrValue(const char* key, bool_t* value) {
  (void)key, (void)value;
  return CFG_NO_VALUE;
}

int Cfg_SetBoolAttrValue(const char* key, bool_t value) {
  (void)key, (void)value;
  return CFG_UNAVAILABLE;
}

const char* Cfg_GetContext(void) { return "foreign:"; }

int ipc_send_message_sync(int a, int b, const void* text, size_t length, int c,
                          Ipc_message** reply) {
  (void)a, (void)b, (void)text, (void)length, (void)c, (void)reply;
  return 1;
}

void* ipc_message_data(Ipc_message* reply) { return reply; }

void ipc_free_message(int zero, Ipc_message* reply) { (void)zero, (void)reply; }

const char* xpaths_get_path(const char* key) {
  (void)key;
  return NULL;
}

FILE* xpaths_open_file(const char* directory, const char* name, const char* mode) {
  (void)directory, (void)name, (void)mode;
  return NULL;
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  void* module = dlopen(MODULE, RTLD_NOW | RTLD_LOCAL);
  if (module == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  ap_status_t (*init)(void) = (ap_status_t(*)(void))dlsym(module, "HTTP_Parser_Init");
  void (*get)(QVN_AppData*, char*) =
      (void (*)(QVN_AppData*, char*))dlsym(module, "HTTP_Parser_Get_fn");
  if (init == NULL || get == NULL || init() != AP_EC_OK) return 1;

  TemplateObject template = {0};
  CKwtTemplate(&template);
  if (!Open(&template, argv[1], O_RDONLY)) {
    fprintf(stderr, "%s\n", jt_error(&template));
    return 1;
  }
  static QVN_AppData request;
  char address[256];
  snprintf(address, sizeof(address), "%s NULL %s string", argv[2], argv[3]);
  request.outfs = stdout;
  request.parserTemplate = &template;
  get(&request, address);
  putchar('\n');
  Close(&template, 0);
  DestructorCKwtTemplate(&template);
  return 0;
}
