// The public headers: C and C++ see the same records, and their fixed numbers are what they were.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>

#include "configapi.h"
#include "headers_layout.h"
#include "http_parser.h"
#include "templateWrapper.h"

extern "C" const std::size_t kLayoutInC[];

namespace {

TEST(Headers, RecordsAreLaidOutAlikeInCAndCpp) {
  const std::size_t layout[] = {HEADERS_LAYOUT};
  for (std::size_t i = 0; i < std::size(layout); ++i) EXPECT_EQ(layout[i], kLayoutInC[i]) << i;
}

TEST(Headers, FixedSizesAndNumbersStay) {
  EXPECT_EQ(sizeof(bool_t), 4U);
  EXPECT_EQ(sizeof(QVN_AppData::data), 1024U);
  EXPECT_EQ(sizeof(QVN_AppData::filepath), 256U);
  EXPECT_EQ(sizeof(QVN_AppData::filename), 128U);
  EXPECT_EQ(sizeof(QVN_AppData::Reason), 201U);
  EXPECT_EQ(sizeof(QVN_AppData::preferredLang), 256U);
  EXPECT_EQ(sizeof(INVOCATION_STRUCT::szInvocationName), 256U);
  EXPECT_EQ(sizeof(ConfigAVP_t), 1064U);
  EXPECT_EQ(sizeof(ConfigResponse_t), 1068U);
  EXPECT_EQ(AP_EC_OK, 0);
  EXPECT_EQ(AP_EC_LOGIN_REQUIRED, 43);
  EXPECT_EQ(AP_EC_INVALID_CHAR_ERR, 45);
  EXPECT_EQ(KWTERR_NO_TOKEN, 21);
}

}  // namespace
