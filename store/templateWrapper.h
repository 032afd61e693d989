/* The template store: pools of scan templates, and one open template. C interface of
 * libtemplateWrapper.so. */
/* SPDX-License-Identifier: MIT */
#ifndef STORE_TEMPLATEWRAPPER_H_
#define STORE_TEMPLATEWRAPPER_H_

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

typedef int32_t bool_t;

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

typedef struct TEMPLATELISTNODE_STRUCT {
  char* szFileName;
  struct TEMPLATELISTNODE_STRUCT* next;
} TEMPLATELISTNODE_STRUCT;

typedef struct TemplatePoolObject {
  char* m_strPath;
  TEMPLATELISTNODE_STRUCT* m_pTemplateList;
  KWTSTATUS m_erno;
  int count;
} TemplatePoolObject;

typedef struct INVOCATION_STRUCT {
  char szInvocationName[256];
  struct INVOCATION_STRUCT* next;
} INVOCATION_STRUCT;

/* A service node; its layout is the store's own. */
typedef struct SERVICE_STRUCT SERVICE_STRUCT;

typedef struct TemplateObject {
  void* m_hTemplate;
  int m_filehandle;
  char* m_filename;
  void* m_hParser;
  SERVICE_STRUCT* m_pServiceList;
  INVOCATION_STRUCT* m_pInvocationList;
  KWTSTATUS m_erno;
} TemplateObject;

/* Called by jt_walk(), see there. */
typedef int (*jt_visit)(void* context, const char* service, const char* invocation,
                        const char* attribute, const char* type, bool_t compulsory, int line,
                        const char* value);

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

void CKwtPool(TemplatePoolObject* pool);
bool_t SetPath(TemplatePoolObject* pool, const char* directory);
bool_t Refresh(TemplatePoolObject* pool);
TEMPLATELISTNODE_STRUCT* GetTemplateList(TemplatePoolObject* pool);
void DestructorCKwtPool(TemplatePoolObject* pool);

void CKwtTemplate(TemplateObject* tpl);
int Open(TemplateObject* tpl, const char* path, int mode);
int Close(TemplateObject* tpl, int save);
void DestructorCKwtTemplate(TemplateObject* tpl);
char* GetFileName(TemplateObject* tpl);
KWTSTATUS GetLastTemplateError(TemplateObject* tpl);
INVOCATION_STRUCT* ListInvocations(TemplateObject* tpl, const char* service);
char* ReadAttributeStringWInvocUseFirstAsString(TemplateObject* tpl, const char* service,
                                                const char* invocation, const char* attribute,
                                                bool_t first);
void jt_destroy_value_string(TemplateObject* tpl, char* value);
bool_t WriteAttributeFromStringUseFirst(TemplateObject* tpl, const char* service,
                                        const char* invocation, const char* attribute,
                                        const char* type, const char* value, bool_t first,
                                        bool_t compulsory);
bool_t WriteAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                  const char* attribute, const char* value);
bool_t WriteAttributeEnumWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                const char* type, const char* attribute, int value);
bool_t RemoveAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                   const char* attribute, const char* value);
bool_t DeleteAttribute(TemplateObject* tpl, const char* service, const char* attribute);
bool_t DeleteAttributeWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                             const char* attribute);
bool_t DeleteInvocation(TemplateObject* tpl, const char* service, const char* invocation);
bool_t DeleteService(TemplateObject* tpl, const char* service);
int CreateInvocationWSize(TemplateObject* tpl, const char* service, char* name, int size);
int CreateMetaDataInvocation(TemplateObject* tpl, char* name, int size);
bool_t DeleteMetaDataInvocation(TemplateObject* tpl, const char* invocation);

KWTSTATUS CopyCKwtTemplate(const char* from, const char* to);
int DeleteCKwtTemplateWFilename(const char* path);
char* StringReplace(const char* text, const char* what, const char* replacement);

const char* jt_error(const TemplateObject* tpl);
char* jt_failures(void);
void jt_release_values(void);
int jt_walk(TemplateObject* tpl, jt_visit visit, void* context);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* STORE_TEMPLATEWRAPPER_H_ */
