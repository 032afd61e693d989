// The outcome of a store operation as a value: what went wrong, why, and where in the file.
// SPDX-License-Identifier: MIT
#ifndef STORE_TEMPLATE_STATUS_H_
#define STORE_TEMPLATE_STATUS_H_

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace store {

enum class Code : std::uint8_t {
  kOk,
  kOpen,
  kAccess,
  kNotRegular,
  kStat,
  kTooLarge,
  kRead,
  kSyntax,
  kLock,
  kCreate,
  kWrite,
  kSyncDirectory,
  kDelete,
  kHistory,
  kAbsent,
  kParameter,
  kBufferTooSmall,
  kNotOpen,
  kMemory,
};

struct [[nodiscard]] Status {
  Code code = Code::kOk;
  int error_number = 0;          // errno of the failed call, 0 when no call failed
  const char* reason = nullptr;  // fixed text that is more exact than the code's own
  std::uint32_t line = 0;        // 1 for the first line, 0 when the file as a whole is meant
  std::uint32_t column = 0;      // counted in bytes from 1

  [[nodiscard]] bool ok() const { return code == Code::kOk; }
};

}  // namespace store

#pragma GCC visibility pop

#endif  // STORE_TEMPLATE_STATUS_H_
