// The module under test, loaded as a server loads it.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_LOADED_MODULE_H_
#define TESTS_MODULE_LOADED_MODULE_H_

#include "http_parser.h"

#define FOR_EACH_EXPORT(USE)                     \
  USE(HTTP_Parser_Init)                          \
  USE(HTTP_Open_Parser_fn)                       \
  USE(HTTP_Close_Parser_fn)                      \
  USE(HTTP_Parser_Get_fn)                        \
  USE(HTTP_Parser_JS_Get_fn)                     \
  USE(HTTP_Parser_Set_fn)                        \
  USE(PrivSaveMultiValue)                        \
  USE(HTTP_Parser_Copy_fn)                       \
  USE(HTTP_Parser_Restore_Defaults_fn)           \
  USE(HTTP_Parser_Delete_fn)                     \
  USE(HTTP_Parser_List_fn)                       \
  USE(HTTP_Parser_List_Non_WIA_fn)               \
  USE(HTTP_Parser_List_Invocations_fn)           \
  USE(HTTP_Parser_Print_Meta_Data_Attributes_fn) \
  USE(HTTP_Parser_List_Destinations_fn)          \
  USE(HTTP_Parser_Clone_fn)                      \
  USE(FnGetGroupTokens)                          \
  USE(FnGetSubStringTokens)                      \
  USE(FnGetOptionalConditon)                     \
  USE(HTTP_Parser_Mailbox_List_fn)               \
  USE(HTTP_Parser_Folder_Passwords_List_fn)      \
  USE(HTTP_Parser_Job_Passwords_List_fn)         \
  USE(HTTP_Parser_Verify_Mbox_Password_fn)       \
  USE(HTTP_Parser_Verify_Job_Password_fn)        \
  USE(HTTP_Parser_Mbox_Set_Pass_SA_fn)           \
  USE(HTTP_Parser_Mbox_Set_Pass_Usr_fn)          \
  USE(HTTP_Parser_Update_Templates_fn)           \
  USE(PrivMakeDefaultPublicTemplate)             \
  USE(PrivMetaDataAddPassForPrivate)             \
  USE(PrivMetaDataAddPassForPublic)              \
  USE(PrivMetaDataRemoveAll)                     \
  USE(PrivBuildMboxCfgString)                    \
  USE(PrivBuildPasswordCfgString)                \
  USE(PrivBuildMboxOutputFilesPath)              \
  USE(GetPrivFolderSid)                          \
  USE(PrivIsFolderPrivate)                       \
  USE(PrivSetPasswordForUser)                    \
  USE(PrivForceTemplateUpdate)                   \
  USE(TempSuppGetArgument)                       \
  USE(ValidTemplatePath)                         \
  USE(TempSuppGetTempFullPath)                   \
  USE(TempSuppGetTempNameSansSuffix)             \
  USE(TempSuppGetAttributeValue)

#define DECLARE_EXPORT(name) decltype(&::name) name;  // NOLINT(bugprone-macro-parentheses)

struct LoadedModule {
  FOR_EACH_EXPORT(DECLARE_EXPORT)
};

#undef DECLARE_EXPORT

// Loads the module at the first call; ends the test program when it cannot be loaded.
const LoadedModule& parser();

#endif  // TESTS_MODULE_LOADED_MODULE_H_
