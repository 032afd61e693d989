// The template files of one directory, as the store lists them.
// SPDX-License-Identifier: MIT
#ifndef SRC_POOL_H_
#define SRC_POOL_H_

#include "templateWrapper.h"

#pragma GCC visibility push(hidden)

// A pool that is open as long as the object lives; its list lasts as long.
class TemplatePool {
 public:
  explicit TemplatePool(const char* directory) {
    CKwtPool(&pool_);
    SetPath(&pool_, directory);
    readable_ = Refresh(&pool_) != 0;
    if (readable_) first_ = GetTemplateList(&pool_);
  }
  ~TemplatePool() { DestructorCKwtPool(&pool_); }

  TemplatePool(const TemplatePool&) = delete;
  TemplatePool& operator=(const TemplatePool&) = delete;

  bool readable() const { return readable_; }
  const TEMPLATELISTNODE_STRUCT* first() const { return first_; }

 private:
  TemplatePoolObject pool_{};
  bool readable_ = false;
  const TEMPLATELISTNODE_STRUCT* first_ = nullptr;
};

#pragma GCC visibility pop

#endif  // SRC_POOL_H_
