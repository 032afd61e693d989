/* The parser module: every function that pages and forms call by name, and the records of a
 * request. */
/* SPDX-License-Identifier: MIT

   How a web server uses the module:
   - It exports every function that platform/ declares, loads libhttp_parser.so with dlopen(), which
     brings the template store along, and calls HTTP_Parser_Init() once.
   - It finds a function by its name with dlsym(). A page's tag names an output function,
     void f(QVN_AppData*, char* arg). A form is sent to a handler,
     int f(QVN_AppData*, FormEntry*, int count), with 0 for done and 1 for refused or failed; two
     handlers of the mailbox return nothing.
   - For each request it fills a record of zeros: `outfs`, `entries` with `num_entries`, the
     visitor's language code in `preferredLang` and, after a login, `loginName`. A page that shows a
     template calls HTTP_Open_Parser_fn(), the functions that print, and HTTP_Close_Parser_fn().
   - After each request, in its thread, it calls HTTP_Close_Parser_fn() with "FALSE" when
     `parserTemplate` is not null, jt_failures() to learn of saves that failed, and
     jt_release_values() (both in templateWrapper.h).
   - Who may do something is asked nowhere but for an edit of the system's default template, and
     printed values are not escaped unless a declaration says so: both are the server's part.

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

/* The request record of the web server. The module uses `outfs`, `Reason`, `entries`,
   `num_entries`, `preferredLang`, `parserTemplate` and `loginName`; the other fields are the
   server's own. */
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

/* One edit of a form post. Owns no memory: the texts belong to the form entries, which are cut in
   place when a value is a list. */
typedef struct HTTP_PARSER_Set_Element {
  char* ServiceName;    /* never null in an element that HTTP_Parser_Set_fn gathered */
  char* InvocationName; /* null: none was named */
  char* AttributeName;  /* null: no such field in the run; "": the field said "NULL" or nothing */
  char* AttributeType;  /* null: not given */
  char* AttributeValue; /* null and "" as for AttributeName; a delete takes a list joined by "," */
  char* Action;         /* "update" or "delete"; any other text does nothing */
  bool_t Compulsory;
} HTTP_PARSER_Set_Element;

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Called once after the module was loaded. Has no effect but its two log lines. Returns AP_EC_OK.
 */
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

/* Applies the edits of a form to one template, saves and closes it. Fields, matched by exact name:
   "ParserFilename", or "DefaultParserFilename" when that is absent, is the full path of the
   template; "CopyParserFilename" (at most 226 bytes) or "CopyParserFilenameMailbox" (at most 221)
   is the bare file name of a copy in the web or mailbox pool, made first with HTTP_Parser_Copy_fn()
   and edited in place of the source. Then come runs of "ServiceName", "InvocationName",
   "AttributeName", "AttributeType", "AttributeValue" and "Compulsory" in any order (of repeated
   ones the last counts), each run closed by "Action". All runs are read before the first is
   applied; they are applied in their order, and a failed edit does not stop the next.
   - "update" writes the attribute. A run that names no invocation gets a new one; metadata runs
     whose "InvocationName" is "NULL" or empty share one new metadata invocation. "PhoneNumber" is a
     list joined by ";"; a value with a comma whose type begins with "enum_" is one joined by ",".
     A run without "AttributeValue" writes nothing.
   - "delete" deletes the listed values of an attribute, else the attribute, else the invocation,
     else the service: whichever the run names most closely. Of a service whose name begins with
     "qvn_dscrpt_metadata" it deletes the whole attribute, else the metadata invocation.
   At the end the template is marked with its device definition ("KLVDefinitionUsed" of
   "qvn_svc_general"), saved and closed.
   `udata` may not be null; `entries` holds `nEntries` fields, whose values may be cut in place.
   Returns 0 with `Reason` empty when the mark was written and no failure was recorded. Returns 1
   - before the template was opened for its edits: a path of more than 255 bytes, an over-long copy
     name, no path, the system's default template while nobody is logged in, a copy whose path is
     not valid, a copy that failed (its `Reason` stays, and so does a copy that only could not be
     named), an empty path;
   - with "Service name not found" in `Reason`, the template saved and closed without these edits,
     when a run has no service;
   - with "Couldn't set attribute : NAME,NAME" in `Reason`, cut to 200 bytes, the template saved and
     closed, when the mark or a recorded edit failed. Only the removal of listed values records,
     each the failure that it finds before it.
   Exits on a null record and an exhausted heap. */
int HTTP_Parser_Set_fn(QVN_AppData* udata, FormEntry* entries, int nEntries);

/* Writes one list value: cuts `AttributeValue` in place at the characters of `inSeparator` and
   writes the first piece as the attribute's only value, the others after it; empty pieces are
   skipped, a value without pieces changes nothing. A piece that cannot be written is logged, and
   the attribute's name is appended to `Reason` (cut to 200 bytes), after a "," when it is not the
   first failure of this call; the pieces after it are still written. Writes to the open template of
   `inUdata`; all pointers must be valid. */
void PrivSaveMultiValue(QVN_AppData* inUdata, HTTP_PARSER_Set_Element* inElement,
                        char* inSeparator);

/* Copies a template file and writes the new file name into the copy as "JobTemplateName" of
   "qvn_svc_general". Of repeated fields and of fields of one meaning the last counts. Source:
   "ParserFilename" or "DefaultParserFilename", a full path. Destination: "CopyParserFilename", a
   bare file name in "/tmp/template/pool/web", or "CopyParserFilenameMailbox", in
   "/tmp/template/pool/mailbox"; an existing file is replaced; without one the destination is
   "(Copy)" followed by the source path. Neither path is checked with ValidTemplatePath(). A
   template that the request has open is closed without saving. Returns 0 when the copy was made and
   named; a copy that cannot be reopened for its name counts as made. Returns 1
   - before anything was copied: no source, a destination of more than 254 bytes, the system's
     default template as destination;
   - with "Couldn't Copy Template from: FROM to TO." and a line end in `Reason`, cut to 200 bytes,
     when the copy failed (the destination is untouched) or the name could not be written (the copy
     stays).
   Exits on null `udata` or `entries` and on an exhausted heap. */
int HTTP_Parser_Copy_fn(QVN_AppData* udata, FormEntry* entries, int nEntries);

/* As HTTP_Parser_Copy_fn(), for putting a factory template back into service: "ParserFilename" is a
   bare file name in "/tmp/template/pool/factory" and "CopyParserFilename" one in
   "/tmp/template/pool/system"; a source path of more than 254 bytes is refused like a destination.
   The system's default template cannot be restored. */
int HTTP_Parser_Restore_Defaults_fn(QVN_AppData* udata, FormEntry* entries, int nEntries);

/* Deletes the template file that the first field "ParserFilename" names. Returns 0 when it was
   deleted; 1 without that field, for a path that ValidTemplatePath() refuses, for the system's
   default template, and when the store could not delete it. Exits on a null record. */
int HTTP_Parser_Delete_fn(QVN_AppData* udata, FormEntry* entries, int nEntries);

/* Prints the names of the template files in a pool directory, joined by single blanks, with a
   backslash in front of each backslash and double quote; nothing when the directory is empty or
   unreadable. `arg`, or when it is null or empty the first form entry "TemplateDir", is the
   directory. Exits on a null record and an exhausted heap. */
void HTTP_Parser_List_fn(QVN_AppData* udata, char* arg);

/* As HTTP_Parser_List_fn, without the templates whose "JobTemplateCreator" (first invocation of
   "qvn_svc_general") is exactly "WIA" or "TWAIN". Opens each template in turn; one that the request
   has open is closed without saving. A full path of 255 bytes or more cannot be looked into, its
   template is listed. Without a directory logs that and prints nothing. Exits on a null record and
   an exhausted heap. */
void HTTP_Parser_List_Non_WIA_fn(QVN_AppData* udata, char* arg);

/* Prints the names of the invocations of a service of the open template, in file order, joined by
   ",", unescaped; nothing when there are none or no template is open. `arg`, or when it is null or
   empty the last form entry "InvocationName", is the name of the service. Exits on a null record.
 */
void HTTP_Parser_List_Invocations_fn(QVN_AppData* udata, char* arg);

/* Prints the document-metadata fields of the open template as statements of a script: seven empty
   arrays, then for each invocation of "qvn_dscrpt_metadata" one element of each. Values are escaped
   for double-quoted strings; of the default value, label and name the slashes too; an absent value
   is the empty string. `arg` is not used. Without a record or an open template logs that and prints
   nothing. Leaves the values it read to jt_release_values(). Exits on an exhausted heap. */
void HTTP_Parser_Print_Meta_Data_Attributes_fn(QVN_AppData* udata, char* arg);

/* Prints the filing destinations of the open template (invocations of "qvn_svc_file"), joined by
   "&": invocation name, "FilingProtocol", "RepositoryName", "DocumentPath", "RepositoryAlias",
   "RepositoryVolume", "LoginName" and "DocumentFilingPolicy", joined by ",", unescaped; an absent
   value is empty. `arg` is not used. Logs its exit only. Leaves the values it read to
   jt_release_values(). Exits on a null record. */
void HTTP_Parser_List_Destinations_fn(QVN_AppData* udata, char* arg);

/* Prints the groups of settings that can be cloned, in the user's language, as one text of at most
   2046 bytes (cut at that): for each group its token, ",", its name, ",", and its sub-groups' names
   each followed by "?"; then "," when any sub-group was printed so far. The last character of the
   whole is left off. A group without a name, and one whose condition does not hold, is left out; at
   most 50 groups, and 50 sub-groups of each, are read. `arg` is not used. Exits on a null record.
 */
void HTTP_Parser_Clone_fn(QVN_AppData* udata, char* arg);

/* Readers of the clone file: lines of comma-separated fields, of which the second is the group's
   token, the third its condition ("KEY == VALUE" or nothing) and the others the tokens of its
   sub-groups. A line of 200 bytes or more (2048 for conditions) is read as several lines. A file
   that cannot be opened is logged at level 3 and holds no groups. */

/* Stores the tokens of all groups in `tokens`, room for 50, in file order. Returns their number. */
int FnGetGroupTokens(int* tokens);

/* Stores the sub-group tokens of the first record of `tokenEntered` in `tokens`, room for 50,
   leaving out those that are 0 or no number. Returns their number, 0 when there is no such record.
 */
int FnGetSubStringTokens(int tokenEntered, int* tokens);

/* Splits the condition of the first record of `tokenEntered` into `optCondStr`, at most 1064 bytes,
   and `optCondVal`, at most 20 bytes; both are terminated only when shorter, and both are empty
   when there is no condition. The last field of a line keeps its line end. Returns 1, or 0 with
   nothing written when there is no such record. */
int FnGetOptionalConditon(int tokenEntered, char* optCondStr, char* optCondVal);

/* Prints the mailbox folders as statements of a page's script, one line each: a call of
   `$gFolderList->AddFolderToList` with a new `FolderInfo` of the template's file name, true or
   false for whether the folder has a password, and the session id that last opened it, or "T" when
   there is none; unescaped. The folders are the templates in a pool directory, named without their
   suffix; a name of 63 characters or more counts as one without a password. `arg`, or when it is
   null or empty the first form entry "TemplateDir", is the directory. Exits on a null record. */
void HTTP_Parser_Mailbox_List_fn(QVN_AppData* udata, char* arg);

/* Prints the passwords of the jobs that lie in directories of a folder's spool directory, as
   statements of a page's script, one line each: `$gJobPasswords[JOB] = PASSWORD;`, both in single
   quotes, unescaped. A job is named as its directory without its suffix, which is also the name of
   its log there; one whose log has no password or a path of more than 254 bytes is left out. `arg`,
   or when it is null or empty the first form entry "name", is the folder; none means the public
   one. Opens each log in turn; a template that the request has open is closed without saving. A
   directory that cannot be read is logged at level 5. Leaves the values it read to
   jt_release_values(). Exits on a null record and an exhausted heap. */
void HTTP_Parser_Folder_Passwords_List_fn(QVN_AppData* udata, char* arg);

/* As HTTP_Parser_Folder_Passwords_List_fn, for jobs whose logs lie in the folder's directory
   itself; a job is named as its log without the suffix, and a log's name of 64 bytes or more is
   left out. Logs nothing for a directory that cannot be read. Keeps 64 bytes of memory for each
   log. Without memory for them the standard error stream is told as well. */
void HTTP_Parser_Job_Passwords_List_fn(QVN_AppData* udata, char* arg);

/* Checks the password of a mailbox folder and chooses the next page. Reads the form entries of
   `inUdata` ("name", "pass" and "sid", of repeated ones the last); `inEntries` and `inNumEntries`
   are not used. A password that equals the stored one opens the folder: "sid" becomes its session
   id, and the next page is "/mailbox/folder.php". Any other, one that cannot be read, and a session
   id that cannot be stored lead to "/mailbox/pin.php" again. The address with its query, unescaped
   and of any length, replaces the value of the last entry "NextPage": the old one is released with
   free(), the new one is malloc memory of the entry's owner. Without such an entry only the check
   is done. Returns 0. Exits on a null record and an exhausted heap. */
int HTTP_Parser_Verify_Mbox_Password_fn(QVN_AppData* inUdata, FormEntry* inEntries,
                                        int inNumEntries);

/* As HTTP_Parser_Verify_Mbox_Password_fn, for the password of a job; changes nothing but the next
   page. Reads the first form entries "file", "name", "pass", "subf" and "action". The job's log is
   "NAME/SUBF/JOB.KTP" in the spool directory, JOB being "subf", or "file" when there is no "subf",
   without its suffix; "name" and "subf" are left out of it when they have 64 bytes or more. A right
   password leads to "/mailbox/folder.php" for the action "opn" and to "/mailbox/do_action.php" for
   every other; a wrong one, and a log that has none, to "/mailbox/action.php". Closes a template
   that the request has open without saving; leaves the value it read to jt_release_values(). */
int HTTP_Parser_Verify_Job_Password_fn(QVN_AppData* inUdata, FormEntry* inEntries,
                                       int inNumEntries);

/* Stores the password "saPasswd" of the folder "saUser", both the first form entries of their name
   in `inUdata`: PrivSetPasswordForUser(). Without "saUser", or a record, does nothing. The other
   parameters are not used. Logs neither entry nor exit; never exits. */
void HTTP_Parser_Mbox_Set_Pass_SA_fn(QVN_AppData* inUdata, FormEntry* inEntries, int inNumEntries);

/* As HTTP_Parser_Mbox_Set_Pass_SA_fn, with the entries "unsafePasswd" and "unsafeUser". */
void HTTP_Parser_Mbox_Set_Pass_Usr_fn(QVN_AppData* inUdata, FormEntry* inEntries, int inNumEntries);

/* Brings the mailbox templates in line with the mailbox settings: takes out their metadata prompts
   and adds those that the settings ask for, makes or deletes the template of the public folder, and
   in these two cases has the template pools reloaded. A setting that cannot be read counts as its
   default. Opens each template in turn; one that the request has open is closed without saving. At
   the end, whatever happened, sets "scanToMailbox.webUpdate" to 0. Failures are logged only and
   stop nothing. `inArg` is not used. Prints nothing of its own; the close of a template prints its
   hidden field when `outfs` is not null. Exits on a null record and an exhausted heap. */
void HTTP_Parser_Update_Templates_fn(QVN_AppData* inUdata, char* inArg);

/* Copies the factory's mailbox template to the one of the public folder, replacing it, and adds the
   job prompts when `inPasswordForPublic` is TRUE. A copy that fails is logged at level 5. */
void PrivMakeDefaultPublicTemplate(QVN_AppData* inUdata, bool_t inPasswordForPublic);

/* These three open a template, change its metadata prompts, save and close it; a file that cannot
   be opened stays as it is. `inTemplatePath` is a full path. They exit as the open does.

   Adds the prompt for the folder's password. */
void PrivMetaDataAddPassForPrivate(QVN_AppData* inUdata, char* inTemplatePath);

/* Adds the prompts for the job's password and the document's name. */
void PrivMetaDataAddPassForPublic(QVN_AppData* inUdata, char* inTemplatePath);

/* Deletes the service "qvn_dscrpt_metadata" and the attribute "UserData" of "qvn_document". */
void PrivMetaDataRemoveAll(QVN_AppData* inUdata, char* inTemplatePath);

/* Writes the configuration key of a mailbox-wide setting, "scanToMailbox." and `inPref`, into
   `ioCfgString`, a buffer of 256 bytes of which the first 255 are cleared before. A null or empty
   `inPref`, a null buffer and a key of more than 255 characters are logged at level 5 and leave the
   buffer unchanged. Logs its entry and exit. */
void PrivBuildMboxCfgString(char* inPref, char* ioCfgString);

/* As PrivBuildMboxCfgString(), the key of a folder's password: "scanToMailbox.", the folder's name
   and ".password". Does not clear the buffer. */
void PrivBuildPasswordCfgString(char* inUserName, char* ioCfgString);

/* Writes the spool directory of a folder, "/" at its end, into `ioFolderPath`, a buffer of 255
   bytes. A null name, and one with ".." in it, is the public folder's; a name of more than 217
   characters gives the empty text. */
void PrivBuildMboxOutputFilesPath(char* inFolderName, char* ioFolderPath);

/* Reads the session id that last opened a folder into `outSid`, a buffer of 1064 bytes, which stays
   as it is when there is none. Logs its entry and exit. */
void GetPrivFolderSid(char* inFolderName, char* outSid);

/* Tells whether a folder has a password that is not empty; FALSE also when it cannot be read. */
bool_t PrivIsFolderPrivate(char* inFolderName);

/* Stores the password of a folder; a null one is the empty text, which makes the folder public.
   Neither is checked or escaped: both together must stay below 1,000 bytes and the name may not
   hold `="`. `inUser` may not be null. A failure is logged at level 5, without the folder's name.
 */
void PrivSetPasswordForUser(char* inUser, char* inPass);

/* Has the template pools reloaded. A failure is logged at level 5. */
void PrivForceTemplateUpdate(void);

/* Returns `inArg` when it is neither null nor empty, else the value of the first form entry named
   `inParamName`, else null. The result is borrowed. */
char* TempSuppGetArgument(QVN_AppData* inUdata, char* inArg, char* inParamName);

/* Tells whether a page may open, change or delete the file: TRUE when the path begins with the
   text of a pool root (no "/" need follow it) and holds no ".." anywhere. A null path is refused.
 */
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
