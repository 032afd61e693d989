/* The sizes and offsets that C and C++ have to agree about. */
/* SPDX-License-Identifier: MIT */
#ifndef TESTS_MODULE_HEADERS_LAYOUT_H_
#define TESTS_MODULE_HEADERS_LAYOUT_H_

#define HEADERS_LAYOUT                                                                            \
  sizeof(bool_t), sizeof(ap_status_t), sizeof(mod_loa_request), offsetof(mod_loa_request, fnArg), \
      sizeof(FormEntry), offsetof(FormEntry, filesize), sizeof(QVN_AppData),                      \
      offsetof(QVN_AppData, outfs), offsetof(QVN_AppData, Reason), offsetof(QVN_AppData, loareq), \
      offsetof(QVN_AppData, entries), offsetof(QVN_AppData, preferredLang),                       \
      offsetof(QVN_AppData, parserTemplate), offsetof(QVN_AppData, loginName),                    \
      offsetof(QVN_AppData, userIsAccountAdmin), sizeof(ParserObject),                            \
      sizeof(HTTP_PARSER_Set_Element), offsetof(HTTP_PARSER_Set_Element, Compulsory),             \
      sizeof(TemplatePoolObject), offsetof(TemplatePoolObject, count), sizeof(TemplateObject),    \
      offsetof(TemplateObject, m_filename), offsetof(TemplateObject, m_erno),                     \
      sizeof(INVOCATION_STRUCT), offsetof(INVOCATION_STRUCT, next),                               \
      sizeof(TEMPLATELISTNODE_STRUCT), sizeof(ConfigAVP_t), sizeof(ConfigResponse_t),             \
      offsetof(ConfigResponse_t, AVP)

#endif /* TESTS_MODULE_HEADERS_LAYOUT_H_ */
