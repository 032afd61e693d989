/* The public header is C11: this file has to compile, and its records have to be usable. */
/* SPDX-License-Identifier: MIT */
#include "templateWrapper.h"

int store_header_in_c(void);

int store_header_in_c(void) {
  TemplatePoolObject pool;
  TemplateObject tpl;
  CKwtPool(&pool);
  CKwtTemplate(&tpl);
  DestructorCKwtTemplate(&tpl);
  DestructorCKwtPool(&pool);
  jt_history(0, 1, 0);
  jt_free_versions(jt_versions("none"));
  return pool.count + (GetLastTemplateError(&tpl) == KWT_SUCCESS ? 1 : 0);
}
