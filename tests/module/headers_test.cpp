// The public headers: C and C++ see the same records, and their order and numbers stay.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

template <typename Record, typename... Fields>
bool in_order(Fields Record::*... fields) {
  static const Record record{};
  const std::array<const void*, sizeof...(fields)> places = {&(record.*fields)...};
  return places[0] == &record && std::is_sorted(places.begin(), places.end());
}

TEST(Headers, FieldsStandInTheirOrder) {
  EXPECT_TRUE(in_order(&mod_loa_request::default_val, &mod_loa_request::object,
                       &mod_loa_request::id, &mod_loa_request::attrs, &mod_loa_request::format,
                       &mod_loa_request::fnName, &mod_loa_request::fnArg,
                       &mod_loa_request::context));
  EXPECT_TRUE(in_order(&FormEntry::name, &FormEntry::val, &FormEntry::processed, &FormEntry::token,
                       &FormEntry::tag, &FormEntry::filename, &FormEntry::filedata,
                       &FormEntry::filesize));
  using Request = QVN_AppData;
  EXPECT_TRUE(in_order(&Request::data, &Request::infd, &Request::outfs, &Request::filepath,
                       &Request::filename, &Request::filesize, &Request::buffer,
                       &Request::buffersize, &Request::bufferlen, &Request::Reason, &Request::queue,
                       &Request::send, &Request::content_complete, &Request::loareq,
                       &Request::qstr_req, &Request::entries, &Request::num_entries,
                       &Request::preferredLang, &Request::parserTemplate, &Request::httpError,
                       &Request::saveDataStore, &Request::loginName, &Request::sessionId,
                       &Request::userIsAdmin, &Request::userIsAccountAdmin));
  EXPECT_TRUE(in_order(&ParserObject::serviceName, &ParserObject::invocationName,
                       &ParserObject::attributeName, &ParserObject::attributeType));
  using Element = HTTP_PARSER_Set_Element;
  EXPECT_TRUE(in_order(&Element::ServiceName, &Element::InvocationName, &Element::AttributeName,
                       &Element::AttributeType, &Element::AttributeValue, &Element::Action,
                       &Element::Compulsory));
}

TEST(Headers, StatusCodesKeepTheirNumbers) {
  const int store[] = {KWT_SUCCESS,        KWTERR_FILE_OPEN,         KWTERR_FILE_CREATE,
                       KWTERR_FILE_EXISTS, KWTERR_FILE_DELETE,       KWTERR_FILE_STAT,
                       KWTERR_FILE_SIZE,   KWTERR_FILE_READ,         KWTERR_FILE_WRITE,
                       KWTERR_FILE_SEEK,   KWTERR_FILE_ACCES,        KWTERR_NODATA,
                       KWTERR_NOLMEM,      KWTERR_SCANMGR_CREATE,    KWTERR_SCANMGR_DELETE,
                       KWTERR_INVALID,     KWTERR_INVALID_DATA,      KWTERR_LOCK_CREATE,
                       KWTERR_LOCK_DELETE, KWTERR_INVALID_PARAMETER, KWTERR_INSUFFICIENT_BUFFER,
                       KWTERR_NO_TOKEN};
  for (int i = 0; i < static_cast<int>(std::size(store)); ++i) EXPECT_EQ(store[i], i);
  EXPECT_EQ(AP_EC_OK, 0);
  EXPECT_EQ(AP_EC_MEM_ALLOC_ERR, 10);
  EXPECT_EQ(AP_EC_JOB_SUBMIT_CPI_INIT_ERR, 21);
  EXPECT_EQ(AP_EC_DPA_SVR_UNAVAILABLE, 32);
  EXPECT_EQ(AP_EC_LOGIN_REQUIRED, 43);
  EXPECT_EQ(AP_EC_INVALID_CHAR_ERR, 45);
}

TEST(Headers, FixedSizesStay) {
  EXPECT_EQ(sizeof(bool_t), 4U);
  EXPECT_EQ(sizeof(QVN_AppData::data), 1024U);
  EXPECT_EQ(sizeof(QVN_AppData::filepath), 256U);
  EXPECT_EQ(sizeof(QVN_AppData::filename), 128U);
  EXPECT_EQ(sizeof(QVN_AppData::Reason), 201U);
  EXPECT_EQ(sizeof(QVN_AppData::preferredLang), 256U);
  EXPECT_EQ(sizeof(INVOCATION_STRUCT::szInvocationName), 256U);
  EXPECT_EQ(sizeof(ConfigAVP_t), 1064U);
  EXPECT_EQ(sizeof(ConfigResponse_t), 1068U);
}

}  // namespace
