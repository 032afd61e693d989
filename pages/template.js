// The values of one template as script strings, and the words of the template page.
// SPDX-License-Identifier: MIT
<!--#parser fn="HTTP_Open_Parser_fn"-->
globalThis.platen = {
  values: {
    JobTemplateName: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_general NULL JobTemplateName string" format="js"-->",
    JobTemplateCreator: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_general NULL JobTemplateCreator string" format="js"-->",
    KLVDefinitionUsed: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_general NULL KLVDefinitionUsed string" format="js"-->",
    DocumentFormat: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_document NULL DocumentFormat string" format="js"-->",
    Keywords: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_document NULL Keywords string" format="js"-->",
    UserData: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_document NULL UserData string" format="js"-->",
    PhoneNumber: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_fax NULL PhoneNumber string" format="js"-->",
    DocumentPath: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_file NULL DocumentPath string" format="js"-->",
    LoginName: "<!--#parser fn="HTTP_Parser_JS_Get_fn" arg="qvn_svc_file NULL LoginName string" format="js"-->",
  },
  words: {
    identical: "<!--#phrase id="template.identical" format="js"-->",
    different: "<!--#phrase id="template.different" format="js"-->",
    compulsory: "<!--#phrase id="template.compulsory" format="js"-->",
    noValue: "<!--#phrase id="template.no-value" format="js"-->",
    empty: "<!--#phrase id="template.empty" format="js"-->",
  },
};
