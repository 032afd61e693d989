// The table of the module's parser functions.
// SPDX-License-Identifier: MIT
#include "parser_functions.h"

#include <algorithm>

namespace platen {
namespace {

constexpr Value kPlain[] = {Value::plain};
constexpr Value kSeparatorPlain[] = {Value::separator, Value::plain};
constexpr Value kBackslashed[] = {Value::backslashed};
constexpr Value kSeparatorBackslashed[] = {Value::separator, Value::backslashed};
constexpr Value kCountedPlain[] = {Value::counter, Value::plain};
constexpr Value kCountedBackslashed[] = {Value::counter, Value::backslashed};
constexpr Value kThreePlain[] = {Value::plain, Value::plain, Value::plain};
constexpr Value kFivePlain[] = {Value::plain, Value::plain, Value::plain, Value::plain,
                                Value::plain};
constexpr Value kNameAndPath[] = {Value::plain, Value::plain};
constexpr Value kDestination[] = {Value::separator, Value::plain, Value::plain,
                                  Value::plain,     Value::plain, Value::plain,
                                  Value::plain,     Value::plain, Value::plain};

constexpr Print kHiddenField[] = {
    {"<input type=\"hidden\" name=\"%s\" value=\"%s\">", kNameAndPath},
};
constexpr Print kValues[] = {
    {"%s", kPlain},
    {"%s%s", kSeparatorPlain},
};
constexpr Print kScriptValues[] = {
    {"%s", kBackslashed},
    {"%s%s", kSeparatorBackslashed},
};
constexpr Print kTemplateNames[] = {
    {"%s", kBackslashed},
    {" %s", kBackslashed},
};
constexpr Print kInvocationNames[] = {
    {"%s", kPlain},
    {",", {}},
};
constexpr Print kDestinations[] = {
    {"%s%s,%s,%s,%s,%s,%s,%s,%s", kDestination, Gather::record},
};

// A field of metadata: the lines that declare its arrays, then one line for each of its members.
constexpr Print kMetadataStatements[] = {
    {"var defaultValue       = new Array();\n", {}},
    {"var fieldLabel         = new Array();\n", {}},
    {"var fieldName          = new Array();\n", {}},
    {"var invocationName     = new Array();\n", {}},
    {"var maskUserInput      = new Array();\n", {}},
    {"var requireUserInput   = new Array();\n", {}},
    {"var validateData\t      = new Array();\n", {}},
    {"defaultValue[%d]        = \"%s\";\n", kCountedBackslashed, Gather::member, "defaultValue"},
    {"fieldLabel[%d]          = \"%s\";\n", kCountedBackslashed, Gather::member, "fieldLabel"},
    {"fieldName[%d]           = \"%s\";\n", kCountedBackslashed, Gather::member, "fieldName"},
    {"maskUserInput[%d]       = \"%s\";\n", kCountedBackslashed, Gather::member, "maskUserInput"},
    {"requireUserInput[%d]    = \"%s\";\n", kCountedBackslashed, Gather::member,
     "requireUserInput"},
    {"validateData[%d]        = \"%s\";\n", kCountedBackslashed, Gather::member, "validateData"},
    {"invocationName[%d]      = \"%s\";\n", kCountedPlain, Gather::member, "invocationName"},
};

constexpr Print kCloneGroups[] = {
    {"%s", kPlain, Gather::groups},
};

constexpr Print kFolderStatements[] = {
    {"$%s->AddFolderToList( new %s( \"%s\", %s, \"%s\" ));\n", kFivePlain},
};
constexpr Print kJobPasswordStatements[] = {
    {"\t$%s['%s']\t= '%s';\n", kThreePlain},
};

constexpr unsigned kAnywhere = kHtmlText | kHtmlAttribute | kScriptString | kJsonBlock;

// The hidden field of a close is markup of its own, so it stands between tags only. What comes with
// backslashes has no place in HTML, where they would be shown.
constexpr ParserFunction kFunctions[] = {
    {"HTTP_Open_Parser_fn", Shape::output, TemplateUse::opens, 0, Format::none, {}},
    {"HTTP_Close_Parser_fn", Shape::output, TemplateUse::closes, kHtmlText, Format::html,
     kHiddenField},
    {"HTTP_Parser_Get_fn", Shape::output, TemplateUse::reads, kAnywhere, Format::none, kValues},
    {"HTTP_Parser_JS_Get_fn", Shape::output, TemplateUse::reads, kScriptString | kJsonBlock,
     Format::none, kScriptValues},
    {"HTTP_Parser_List_fn", Shape::output, TemplateUse::none, kScriptString | kJsonBlock,
     Format::none, kTemplateNames},
    {"HTTP_Parser_List_Non_WIA_fn", Shape::output, TemplateUse::opens_own,
     kScriptString | kJsonBlock, Format::none, kTemplateNames},
    {"HTTP_Parser_List_Invocations_fn", Shape::output, TemplateUse::reads, kAnywhere, Format::none,
     kInvocationNames},
    {"HTTP_Parser_List_Destinations_fn", Shape::output, TemplateUse::reads, kAnywhere, Format::none,
     kDestinations},
    {"HTTP_Parser_Print_Meta_Data_Attributes_fn", Shape::output, TemplateUse::reads,
     kScriptCode | kJsonBlock, Format::none, kMetadataStatements},
    {"HTTP_Parser_Clone_fn", Shape::output, TemplateUse::none, kAnywhere, Format::none,
     kCloneGroups},
    {"HTTP_Parser_Mailbox_List_fn", Shape::output, TemplateUse::none, kPhpCode, Format::php,
     kFolderStatements},
    {"HTTP_Parser_Folder_Passwords_List_fn", Shape::output, TemplateUse::opens_own, kPhpCode,
     Format::php, kJobPasswordStatements},
    {"HTTP_Parser_Job_Passwords_List_fn", Shape::output, TemplateUse::opens_own, kPhpCode,
     Format::php, kJobPasswordStatements},
    {"HTTP_Parser_Update_Templates_fn", Shape::upkeep, TemplateUse::opens_own, 0, Format::none, {}},
    {"HTTP_Parser_Set_fn", Shape::form, TemplateUse::opens, 0, Format::none, {}},
    {"HTTP_Parser_Copy_fn", Shape::form, TemplateUse::opens, 0, Format::none, {}},
    {"HTTP_Parser_Restore_Defaults_fn", Shape::form, TemplateUse::opens, 0, Format::none, {}},
    {"HTTP_Parser_Delete_fn", Shape::form, TemplateUse::none, 0, Format::none, {}},
    {"HTTP_Parser_Verify_Mbox_Password_fn", Shape::form, TemplateUse::none, 0, Format::none, {}},
    {"HTTP_Parser_Verify_Job_Password_fn", Shape::form, TemplateUse::opens, 0, Format::none, {}},
    {"HTTP_Parser_Mbox_Set_Pass_SA_fn", Shape::silent_form, TemplateUse::none, 0, Format::none, {}},
    {"HTTP_Parser_Mbox_Set_Pass_Usr_fn",
     Shape::silent_form,
     TemplateUse::none,
     0,
     Format::none,
     {}},
};

}  // namespace

std::span<const ParserFunction> parser_functions() { return kFunctions; }

const ParserFunction* find_parser_function(std::string_view name) {
  const auto* found =
      std::ranges::find_if(kFunctions, [&](const ParserFunction& row) { return row.name == name; });
  return found == std::end(kFunctions) ? nullptr : found;
}

}  // namespace platen
