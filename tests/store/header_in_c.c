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
  return pool.count + (GetLastTemplateError(&tpl) == KWT_SUCCESS ? 1 : 0);
}
