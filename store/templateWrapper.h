/* C interface of the template store: pools of scan templates, and one open template. */
/* SPDX-License-Identifier: MIT */
#ifndef STORE_TEMPLATEWRAPPER_H_
#define STORE_TEMPLATEWRAPPER_H_

/*
 * Conventions of all functions:
 *
 *  1. A template holds services, a service holds invocations, an invocation holds attributes, and
 *     an attribute has a type, a compulsory mark and any number of values. All of them are texts of
 *     any bytes but NUL, compared exactly; invocation names have at most 255 bytes. FORMAT.md tells
 *     how they stand in a file.
 *  2. Strings passed in stay the caller's and are copied where they are kept. Lists handed out
 *     belong to their object and are never freed by the caller.
 *  3. Every function is safe on a NULL object, on a zero-filled one, and on one that is constructed
 *     but not open; it then fails, or does nothing.
 *  4. A NULL invocation is the first one of the service. A name that is not there is never found,
 *     the empty one included.
 *  5. m_erno tells the outcome of the last operation on an object that could fail; a plain read
 *     does not change it. jt_error() has the words.
 *  6. Writes, removals and deletes change memory only. A Close() with save writes them to the file.
 *     A refused operation changes nothing.
 *  7. No lock is held while a template is open, so it may be copied, edited or deleted by others. A
 *     save applies this object's edits to what the file holds by then: an update whose invocation
 *     was deleted meanwhile creates it again, a removal of what is gone is done, and a new
 *     invocation whose name was taken meanwhile gets the next free one.
 *  8. Saves, copies and deletes in one directory, by any process, come one after the other; each
 *     waits at most 5 seconds for its turn and then fails. They are atomic and durable: the file is
 *     the old or the new one, and a success survives a power cut. File systems must be local.
 *  9. Only regular files of at most 4 MiB are templates; a link is none.
 * 10. Out of memory is an error like any other (KWTERR_NOLMEM). Nothing is logged and no process
 *     ended.
 * 11. One object belongs to one thread at a time. Different objects may be used by different
 *     threads and processes at once.
 * 12. While jt_history() names a directory, no save, copy or delete takes bytes away before they
 *     are kept there; one whose old bytes cannot be kept fails (KWTERR_FILE_WRITE) and leaves the
 *     file as it is.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

/* A truth value: FALSE is 0, anything else is true. */
typedef int32_t bool_t;

/* Status codes; callers usually tell only zero, success, from the rest. */
typedef enum KWTSTATUS {
  KWT_SUCCESS = 0,
  KWTERR_FILE_OPEN,
  KWTERR_FILE_CREATE,
  KWTERR_FILE_EXISTS,
  KWTERR_FILE_DELETE,
  KWTERR_FILE_STAT,
  KWTERR_FILE_SIZE,
  KWTERR_FILE_READ,
  KWTERR_FILE_WRITE,
  KWTERR_FILE_SEEK,
  KWTERR_FILE_ACCES,
  KWTERR_NODATA,
  KWTERR_NOLMEM,
  KWTERR_SCANMGR_CREATE,
  KWTERR_SCANMGR_DELETE,
  KWTERR_INVALID,
  KWTERR_INVALID_DATA,
  KWTERR_LOCK_CREATE,
  KWTERR_LOCK_DELETE,
  KWTERR_INVALID_PARAMETER,
  KWTERR_INSUFFICIENT_BUFFER,
  KWTERR_NO_TOKEN
} KWTSTATUS;

/* One template file of a pool: its name without the directory. Owned by the pool. */
typedef struct TEMPLATELISTNODE_STRUCT {
  char* szFileName;
  struct TEMPLATELISTNODE_STRUCT* next; /* NULL at the end */
} TEMPLATELISTNODE_STRUCT;

/* A directory of templates. The storage is the caller's, what it points to is the pool's. */
typedef struct TemplatePoolObject {
  char* m_strPath;                          /* the directory, or NULL */
  TEMPLATELISTNODE_STRUCT* m_pTemplateList; /* what the last refresh found */
  KWTSTATUS m_erno;                         /* outcome of the last SetPath() or Refresh() */
  int count;                                /* nodes in the list */
} TemplatePoolObject;

/* One invocation of a service. A pointer to a node is also one to its name. Owned by the
 * template. */
typedef struct INVOCATION_STRUCT {
  char szInvocationName[256];     /* ends with a NUL */
  struct INVOCATION_STRUCT* next; /* NULL at the end */
} INVOCATION_STRUCT;

/* A service node; its layout is the store's own. */
typedef struct SERVICE_STRUCT SERVICE_STRUCT;

/* One open template. The storage is the caller's, what it points to is the object's. */
typedef struct TemplateObject {
  void* m_hTemplate;              /* the loaded template, NULL when none is open */
  int m_filehandle;               /* always -1: no descriptor is kept between calls */
  char* m_filename;               /* path it was opened from; a caller may free() and clear it */
  void* m_hParser;                /* text of the last error, or NULL */
  SERVICE_STRUCT* m_pServiceList; /* always NULL: services are kept behind m_hTemplate */
  INVOCATION_STRUCT* m_pInvocationList; /* what the last ListInvocations() found */
  KWTSTATUS m_erno;                     /* outcome of the last operation */
} TemplateObject;

/* What jt_walk() calls. The strings live for the call only. `line` is where the value stands in the
 * file, or the attribute if it has none, counted from 1; 0 = not saved yet. `value` is NULL for an
 * attribute without values. Returns 0 to go on. The visitor must not edit or close the template. */
typedef int (*jt_visit)(void* context, const char* service, const char* invocation,
                        const char* attribute, const char* type, bool_t compulsory, int line,
                        const char* value);

/* What a file held before a change. Owned by its list. */
typedef struct JT_VERSION {
  struct JT_VERSION* next; /* the one before it; NULL at the end */
  char* path;              /* a file with these bytes, that Open() and CopyCKwtTemplate() take */
  char* id;                /* a number, not given again for the same template */
  long long time;          /* when the change was, in seconds since 1970 */
  char* who;               /* who made it, as jt_history() was told; "" = nobody was named */
  char* act;               /* what it was: "save", "copy" (of another file over it), "delete" */
  long long size;          /* how many bytes */
} JT_VERSION;

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/* Makes an empty pool without a directory in the caller's storage, whatever that held. */
void CKwtPool(TemplatePoolObject* pool);

/* Sets the directory that the next refresh reads; the list stays. Returns TRUE, or FALSE with no
 * directory set: KWTERR_INVALID_PARAMETER (NULL) or KWTERR_NOLMEM. */
bool_t SetPath(TemplatePoolObject* pool, const char* directory);

/* Reads the directory and builds the list anew: the regular files whose suffix is ".KTP" in any
 * case, without hidden ones and those that are nothing but the suffix, sorted by bytes. Returns
 * TRUE, also for a directory without templates. On failure returns FALSE with an empty list:
 * KWTERR_INVALID_PARAMETER (no path set), KWTERR_FILE_OPEN (missing or no directory),
 * KWTERR_FILE_READ, KWTERR_NOLMEM. */
bool_t Refresh(TemplatePoolObject* pool);

/* Returns the list of the last refresh, valid until the next or the destruction; NULL = no
 * templates. */
TEMPLATELISTNODE_STRUCT* GetTemplateList(TemplatePoolObject* pool);

/* Releases list and path. The pool is then as newly made; the storage stays the caller's. */
void DestructorCKwtPool(TemplatePoolObject* pool);

/* Makes an unopened template in the caller's storage, whatever that held. Its m_erno is not zero
 * until it is opened. */
void CKwtTemplate(TemplateObject* tpl);

/* Reads the template file `path`. `mode` is O_RDONLY or O_RDWR and changes nothing: every open
 * template can be edited and saved. A template that the object had open is dropped without saving.
 * Returns 1 with m_filename set and m_erno 0. On failure returns 0 with nothing open and m_filename
 * NULL: KWTERR_INVALID_PARAMETER (NULL path), KWTERR_FILE_OPEN (missing, or a link),
 * KWTERR_FILE_ACCES (no permission, or no regular file), KWTERR_FILE_STAT, KWTERR_FILE_SIZE (above
 * 4 MiB), KWTERR_FILE_READ, KWTERR_INVALID_DATA (does not parse), KWTERR_NOLMEM. */
int Open(TemplateObject* tpl, const char* path, int mode);

/* Releases the loaded template, its invocation list and m_filename; with `save` not 0 writes its
 * edits to the file first. Comments, order and untouched lines of the file stay byte for byte; when
 * the result equals what the file holds, file, inode and times stay. Values read stay valid.
 * Returns 1. Returns 0 when nothing was open, and when the save failed; the failure is then also
 * remembered for jt_failures(), the edits are gone and the file is as it was: the codes of Open(),
 * KWTERR_FILE_SIZE (the result is above 4 MiB), KWTERR_LOCK_CREATE, KWTERR_FILE_CREATE,
 * KWTERR_FILE_WRITE. A file that is gone is not created again. If only the directory could not be
 * synced, the save fails though the file is new. */
int Close(TemplateObject* tpl, int save);

/* Releases everything, without saving. The object is then as newly made; the storage stays the
 * caller's. */
void DestructorCKwtTemplate(TemplateObject* tpl);

/* Returns m_filename: the path that is open, owned by the object; NULL when none is. */
char* GetFileName(TemplateObject* tpl);

/* Returns the outcome of the last operation; never 0 for an object that is not open. */
KWTSTATUS GetLastTemplateError(TemplateObject* tpl);

/* Returns the service's invocations in file order, valid until the next call, Open() or Close() of
 * the object. NULL = none, no such service, a NULL service, or out of memory. */
INVOCATION_STRUCT* ListInvocations(TemplateObject* tpl, const char* service);

/* Returns the attribute's first value (`first` TRUE), or the one after that returned last for the
 * same attribute of the same invocation (`first` FALSE). NULL = no such attribute, no further
 * value, no walk begun, or the attribute was edited since; also when memory is out, with m_erno
 * set. The value is a malloc string that outlives the template. It is the caller's until
 * jt_destroy_value_string() or jt_release_values() in the same thread. */
char* ReadAttributeStringWInvocUseFirstAsString(TemplateObject* tpl, const char* service,
                                                const char* invocation, const char* attribute,
                                                bool_t first);

/* Frees a value that this thread has read and not yet released; any other pointer is left alone.
 * `tpl` is not used and may be NULL or closed. */
void jt_destroy_value_string(TemplateObject* tpl, char* value);

/* Replaces all values of the attribute by `value` (`first` TRUE), or adds it after them (FALSE),
 * and sets the compulsory mark as told. `type` replaces the attribute's type; NULL or empty keeps
 * it, or is "string" for a new attribute. Attributes are created as needed; so are service and
 * invocation, but only for a NULL invocation of a service that has none. Returns TRUE, or FALSE
 * with nothing changed: KWTERR_NODATA (no such invocation), KWTERR_INVALID_PARAMETER (service or
 * attribute NULL or empty, value NULL, or a text above 4 MiB), KWTERR_NOLMEM. A refused write is
 * remembered for jt_failures(). */
bool_t WriteAttributeFromStringUseFirst(TemplateObject* tpl, const char* service,
                                        const char* invocation, const char* attribute,
                                        const char* type, const char* value, bool_t first,
                                        bool_t compulsory);

/* Replaces all values of the attribute by `value` and keeps type and mark; a new attribute is a
 * "string" and not compulsory. Otherwise as WriteAttributeFromStringUseFirst(). */
bool_t WriteAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                  const char* attribute, const char* value);

/* Replaces all values of the attribute by the digits of `value`, sets its type to `type` (NULL or
 * empty keeps it) and keeps the mark. Otherwise as WriteAttributeFromStringUseFirst(). */
bool_t WriteAttributeEnumWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                const char* type, const char* attribute, int value);

/* Removes the first value that equals `value`; the attribute stays, if need be without values.
 * Returns TRUE when there was one. FALSE: KWTERR_NODATA, KWTERR_INVALID_PARAMETER,
 * KWTERR_NOLMEM. */
bool_t RemoveAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                   const char* attribute, const char* value);

/* Deletes the attribute from every invocation of the service. Returns TRUE when there was one; the
 * failures are those of RemoveAttributeStringWInvoc(). */
bool_t DeleteAttribute(TemplateObject* tpl, const char* service, const char* attribute);

/* Deletes the attribute of one invocation. Returns and failures as DeleteAttribute(). */
bool_t DeleteAttributeWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                             const char* attribute);

/* Deletes one invocation with its attributes; the service stays. Returns and failures as
 * DeleteAttribute(). */
bool_t DeleteInvocation(TemplateObject* tpl, const char* service, const char* invocation);

/* Deletes the service with all its invocations. Returns and failures as DeleteAttribute(). */
bool_t DeleteService(TemplateObject* tpl, const char* service);

/* Adds an invocation to the service, which is created if need be, and writes its name into `name`,
 * which has room for `size` bytes. The name is the service's, cut to fit, "_" and the lowest free
 * number. Returns 1, or 0 with nothing created and `name` untouched: KWTERR_INSUFFICIENT_BUFFER
 * (also for a NULL buffer), KWTERR_INVALID_PARAMETER (no service), KWTERR_NOLMEM; the refusal is
 * remembered for jt_failures(). */
int CreateInvocationWSize(TemplateObject* tpl, const char* service, char* name, int size);

/* Does the same for the service "qvn_dscrpt_metadata". */
int CreateMetaDataInvocation(TemplateObject* tpl, char* name, int size);

/* Deletes one invocation of the service "qvn_dscrpt_metadata", as DeleteInvocation(). */
bool_t DeleteMetaDataInvocation(TemplateObject* tpl, const char* invocation);

/* Copies the template file `from` over `to`. The source must parse. A file that is replaced keeps
 * its mode and owner, a new one gets the mode of the source. A copy onto itself changes nothing.
 * Returns 0, or the code of what failed with `to` untouched: those of Open() and of a save. If only
 * the directory could not be synced, the copy fails though `to` is new. */
KWTSTATUS CopyCKwtTemplate(const char* from, const char* to);

/* Deletes a regular file. Returns 1, or 0: it is missing or no regular file, its directory could
 * not be locked, or it could not be deleted; also when only the directory could not be synced
 * afterwards. */
int DeleteCKwtTemplateWFilename(const char* path);

/* Returns a new string, to be released with free(): `text` with every `what` replaced, from left to
 * right, never rescanning what was put in. A NULL or empty `what` makes a plain copy, a NULL
 * `replacement` is empty. NULL = `text` is NULL, or out of memory. */
char* StringReplace(const char* text, const char* what, const char* replacement);

/* Returns the words for the last failure: "FILE:LINE:COLUMN: reason" when the file does not parse,
 * else "FILE: reason"; "" = none. Lines, and columns in bytes, count from 1. Owned by the object,
 * valid until the next operation on it. */
const char* jt_error(const TemplateObject* tpl);

/* Returns the failed saves and refused writes of this process since the last call, one line each,
 * "PATH: edit: reason", with control characters escaped, and forgets them. A refused write is a
 * write or create that failed, or any edit of an object that is not open; a removal or delete that
 * found nothing is none. Values are never shown. At most 100 are kept; a last line then counts the
 * others. Released by the caller with free(). NULL = none, or no memory, in which case they
 * stay. */
char* jt_failures(void);

/* Frees all values that this thread has read and not yet released. */
void jt_release_values(void);

/* Calls `visit` in file order, unsaved edits included, once per value, and once for an attribute
 * without any. Returns 0 after the last; what `visit` returned, if that was not 0, at once; -1 when
 * nothing is open, `visit` is NULL, or memory is out (with m_erno set). */
int jt_walk(TemplateObject* tpl, jt_visit visit, void* context);

/* Sets, for all threads of the process, where saves, copies and deletes keep what they replace:
 * below `directory`, which has to be there, in the layout that FORMAT.md tells; NULL or "" =
 * nowhere, as at the start. `keep` is the most versions that are kept of one template, the oldest
 * making room; less than 1 is 1. `who` is noted with each; NULL is "", and only the first 64 bytes
 * count. The strings are copied.
 * From then on a save, a copy onto an existing file and a delete first keep the old bytes, with the
 * file's mode, and its owner if that is permitted (else for the user of this process alone). A new
 * file, a change that leaves the bytes as they are, and a file above 4 MiB, which is no template,
 * keep nothing. A version that is too much but cannot be dropped is dropped by a later change. A
 * copy or delete that fails over its history is remembered for jt_failures(), as a save is. */
void jt_history(const char* directory, int keep, const char* who);

/* Returns what the history keeps of the template `path`, newest first, also when the file itself
 * was deleted; its directory must be there. A file that is named in two ways, over links or "..",
 * is one template. Released by the caller with jt_free_versions(). NULL = nothing is kept, no
 * history is set, it cannot be read, or out of memory. To bring a version back, copy its path over
 * the template's, which keeps what is there now. */
JT_VERSION* jt_versions(const char* path);

/* Releases a list of jt_versions(), with its strings; NULL is allowed. */
void jt_free_versions(JT_VERSION* versions);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* STORE_TEMPLATEWRAPPER_H_ */
