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

template <typename Codes>
void expect_counted_from_zero(const Codes& codes) {
  int number = 0;
  for (const auto code : codes) EXPECT_EQ(code, number++);
}

TEST(Headers, StatusCodesKeepTheirNumbers) {
  expect_counted_from_zero(std::array{AP_EC_OK,
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
                                      AP_EC_INVALID_CHAR_ERR});
  expect_counted_from_zero(
      std::array{KWT_SUCCESS,        KWTERR_FILE_OPEN,         KWTERR_FILE_CREATE,
                 KWTERR_FILE_EXISTS, KWTERR_FILE_DELETE,       KWTERR_FILE_STAT,
                 KWTERR_FILE_SIZE,   KWTERR_FILE_READ,         KWTERR_FILE_WRITE,
                 KWTERR_FILE_SEEK,   KWTERR_FILE_ACCES,        KWTERR_NODATA,
                 KWTERR_NOLMEM,      KWTERR_SCANMGR_CREATE,    KWTERR_SCANMGR_DELETE,
                 KWTERR_INVALID,     KWTERR_INVALID_DATA,      KWTERR_LOCK_CREATE,
                 KWTERR_LOCK_DELETE, KWTERR_INVALID_PARAMETER, KWTERR_INSUFFICIENT_BUFFER,
                 KWTERR_NO_TOKEN});
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
