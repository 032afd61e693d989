/* The parser module: every function that pages and forms call by name, and the records of a request. */
/* SPDX-License-Identifier: MIT

   Conventions of all functions below, unless a declaration says otherwise:
   1. The web server owns the request record and its form entries; the module borrows them for one
      call. Calls of one request come one after the other; the module keeps no state of its own.
   2. An output function prints into the page with adiprintf() and returns nothing; trouble shows in
      the log only. `arg` may be null or empty; it is cut in place, so it must be writable.
   3. Every parser function logs "ENTER %s" and "EXIT %s" with its own name at level 8.
   4. A null request record and an exhausted heap are logged at level 3 and end the process with
      status 1 (*Exits*); "EXIT %s" is not logged then.
   5. Names are compared exactly and case-sensitively.
   6. Text that does not fit its buffer is refused or cut as the declaration says; nothing is ever
      written past a buffer. */
#ifndef INCLUDE_HTTP_PARSER_H_
#define INCLUDE_HTTP_PARSER_H_

#include <stdint.h>
#include <stdio.h>

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
typedef uint32_t Pm_token;
typedef int Config_tag_type;

typedef struct Ipc_queue Ipc_queue;
typedef struct Ipc_sender Ipc_sender;

/* One page tag; belongs to the server. */
typedef struct mod_loa_request {
  char* default_val;
  char* object;
  char* id;
  char* attrs;
  char* format;
  char* fnName; /* name of the parser function */
  char* fnArg;  /* its argument */
  char* context;
} mod_loa_request;

/* One decoded form field. The module reads `name` and `val` only. */
typedef struct FormEntry {
  char* name;
  char* val; /* parser functions may cut it in place */
  bool_t processed;
  Pm_token token;
  Config_tag_type tag;
  char* filename;
  char* filedata;
  int filesize;
} FormEntry;

/* The request record of the web server. The module uses `outfs`, `Reason`, `entries`, `num_entries`,
   `preferredLang`, `parserTemplate` and `loginName`; the other fields are the server's own. */
typedef struct QVN_AppData {
  char data[1024];
  int infd;    /* descriptor of the request body */
  FILE* outfs; /* stream of the response; null when no page is produced */
  char filepath[256];
  char filename[128];
  int filesize;
  char* buffer;
  int buffersize;
  int bufferlen;
  char Reason[201]; /* why a request failed, shown to the user by the server */
  Ipc_queue* queue;
  Ipc_sender* send;
  bool_t content_complete;
  mod_loa_request loareq;
  mod_loa_request qstr_req;
  FormEntry* entries; /* posted form fields, or query fields */
  int num_entries;
  char preferredLang[256];
  void* parserTemplate; /* the template that the request has open (a TemplateObject), or null */
  int httpError;
  bool_t saveDataStore;
  char* loginName; /* null when nobody is logged in */
  char* sessionId;
  bool_t userIsAdmin;
  bool_t userIsAccountAdmin;
} QVN_AppData;

/* Status of the web server's own operations; the module returns AP_EC_OK only. */
typedef enum apache_error_codes_t {
  AP_EC_OK = 0,
  AP_EC_GENERAL_ERR,
  AP_EC_INVALID_NULL_PTR,
  AP_EC_MISSING_REQD_ENVVAR,
  AP_EC_INVALID_ENVVAR,
  AP_EC_INVALID_PARAMETER,
  AP_EC_DSTORE_INIT_ERR,
  AP_EC_SVC_MON_INIT_ERR,
  AP_EC_LOG_INIT_ERR,
  AP_EC_LOG_ADD_ENTRY_ERR,
  AP_EC_MEM_ALLOC_ERR,
  AP_EC_PARSE_ERROR,
  AP_EC_LOA_TAG_ERROR,
  AP_EC_ADIPUTC_FAILED,
  AP_EC_INVALID_QUERY_TYPE,
  AP_EC_LOA_OPEN_FAILED,
  AP_EC_UNKNOWN_CON_OBJECT,
  AP_EC_STRDUP_ERROR,
  AP_EC_UPLOAD_REQUEST_ERR,
  AP_EC_IPP_MEMORY_ERR,
  AP_EC_IPP_RESPONSE_ERR,
  AP_EC_JOB_SUBMIT_CPI_INIT_ERR,
  AP_EC_JOB_SUBMIT_CPI_CREATE_JOB_ERR,
  AP_EC_JOB_SUBMIT_CPI_CREATE_DOC_ERR,
  AP_EC_JOB_SUBMIT_CPI_ATTR_ADD_ERR,
  AP_EC_JOB_SUBMIT_CPI_DOC_SUBMIT,
  AP_EC_JOB_SUBMIT_CPI_SEND_DATA_ERR,
  AP_EC_JOB_SUBMIT_CPI_COMPLETE_DOC_ERR,
  AP_EC_JOB_SUBMIT_CPI_COMPLETE_JOB_ERR,
  AP_EC_ACCOUNT_OPERATION_ERR,
  AP_EC_ACCOUNT_PROCESS_REQUEST_ERR,
  AP_EC_ACCOUNT_SET_QUEUE_ERR,
  AP_EC_DPA_SVR_UNAVAILABLE,
  AP_EC_DSTORE_ERR,
  AP_EC_POST_ERROR,
  AP_EC_SET_ATTR_CPI_INIT_ERR,
  AP_EC_GET_ATTR_CPI_EXIT_ERR,
  AP_EC_GET_ATTR_CPI_ERR,
  AP_EC_GET_JOB_ID_ERR,
  AP_EC_RETRIEVE_ATTR_ERR,
  AP_EC_UPDATE_ATTR_ERR,
  AP_EC_RETRIEVE_SA_PASSWD_ERR,
  AP_EC_SET_SA_PASSWD_ERR,
  AP_EC_LOGIN_REQUIRED,
  AP_EC_LOGGED_IN_NOT_SA,
  AP_EC_INVALID_CHAR_ERR
} apache_error_codes_t;

typedef apache_error_codes_t ap_status_t;

/* The address of one attribute. Borrows its texts; a null field is one that was not given. */
typedef struct ParserObject {
  char* serviceName;
  char* invocationName;
  char* attributeName;
  char* attributeType;
} ParserObject;

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Called once after the module was loaded. Has no effect but its two log lines. Returns AP_EC_OK. */
ap_status_t HTTP_Parser_Init(void);

/* Opens a template into `udata->parserTemplate`, closing without saving the one that is open.
   `arg` is PATH or PATH|MODE; only the mode "O_RDWR" opens for writing. With a null or empty `arg`
   the last form entry named "ParserFilename" gives it; without one nothing changes. The text is cut
   at the first "|" after the path. Prints nothing of its own; the close of a template that was open
   may print its hidden field.
   On failure (a path that ValidTemplatePath() refuses, a file that the store cannot open) a
   constructed, unopened object stays in `parserTemplate`; a failed open also writes
   "Template not available : PATH", cut to 200 bytes, into `Reason`. An argument of separators only
   leaves a zero-filled object there. Exits on a null record and an exhausted heap. */
void HTTP_Open_Parser_fn(QVN_AppData* udata, char* arg);

/* Closes the open template and sets `parserTemplate` to null. It is saved when `arg` is "TRUE",
   discarded otherwise; the outcome of a save is not told here (the store remembers it). When the
   template has a file name and `outfs` is not null, prints a hidden form field
   "DefaultParserFilename" with that name, unescaped. Exits on a null record. */
void HTTP_Close_Parser_fn(QVN_AppData* udata, char* arg);

/* Prints the values of one attribute of the open template as they are stored, joined by ",", or by
   ";" for the attribute "PhoneNumber"; nothing when there is none. `arg` holds up to four words
   separated by blanks: service, invocation, attribute, type. A word that is missing or "NULL" is
   taken from the last form entry named "ServiceName", "InvocationName", "AttributeName" or
   "AttributeType"; an invocation that is still missing is the service's first. The type does not
   matter. Exits on a null record. */
void HTTP_Parser_Get_fn(QVN_AppData* udata, char* arg);

/* As HTTP_Parser_Get_fn, for a quoted string of a script: backslashes, single quotes, double quotes
   and slashes get a backslash in front; in the second and later values slashes do not.
   Exits on a null record and an exhausted heap. */
void HTTP_Parser_JS_Get_fn(QVN_AppData* udata, char* arg);

/* Returns `inArg` when it is neither null nor empty, else the value of the first form entry named
   `inParamName`, else null. The result is borrowed. */
char* TempSuppGetArgument(QVN_AppData* inUdata, char* inArg, char* inParamName);

/* Tells whether a page may open, change or delete the file: TRUE when the path begins with the
   text of a pool root (no "/" need follow it) and holds no ".." anywhere. A null path is refused. */
bool_t ValidTemplatePath(char* checkPath);

/* Joins a folder and a file name into `ioFullPath`, a buffer of 255 bytes; the result is empty when
   it would be longer than 254 characters. */
void TempSuppGetTempFullPath(char* inFolderPath, char* inTempName, char* ioFullPath);

/* Copies the name up to its last "." into `ioSansSuffix`, a buffer of 64 bytes; the result is empty
   when there is no "." or when the part before it has 63 characters or more. */
void TempSuppGetTempNameSansSuffix(char* inTempName, char* ioSansSuffix);

/* Returns the first value of an attribute of the first invocation of a service in the template file
   `inTempName`, opening, reading and closing it (a template that the request has open is closed
   without saving first), or null. The value is the caller's; jt_destroy_value_string() or
   jt_release_values() releases it. When the file cannot be opened the object stays in
   `parserTemplate`. `inTempName` is an argument of HTTP_Open_Parser_fn() and is cut as such. */
char* TempSuppGetAttributeValue(QVN_AppData* inUdata, char* inTempName, char* inServiceName,
                                char* inAttributeName);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* INCLUDE_HTTP_PARSER_H_ */
