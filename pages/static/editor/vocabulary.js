// The attributes and enumeration values that this device's templates use, as suggestions.
// SPDX-License-Identifier: MIT

/** Per service, its attributes with their types. */
const ATTRIBUTES = {
  qvn_svc_general: {
    JobTemplateName: "string",
    JobTemplateCreator: "string",
    JobTemplateDescription: "string",
  },
  qvn_document: {
    DocumentName: "string",
    DocumentFormat: "enum_document_format",
    Keywords: "string",
    SearchableText: "boolean",
    UserData: "string",
  },
  qvn_dscrpt_image: {
    ColorMode: "enum_color_mode",
    Resolution: "enum_resolution",
    OriginalSize: "enum_original_size",
    Sides: "enum_sides",
    BlankPageRemoval: "boolean",
    Sharpness: "integer",
    Contrast: "integer",
  },
  qvn_svc_file: {
    DocumentPath: "string",
    DocumentFilingPolicy: "enum_filing_policy",
    FilingProtocol: "enum_filing_protocol",
    RepositoryAlias: "string",
    LoginName: "string",
    RepositoryName: "string",
    RepositoryVolume: "string",
  },
  qvn_svc_email: {
    EmailRecipient: "string",
    EmailSubject: "string",
    EmailBody: "string",
    AttachmentLimit: "integer",
  },
  qvn_svc_fax: {
    PhoneNumber: "string",
    FaxResolution: "enum_fax_resolution",
    DelayedStart: "boolean",
  },
  qvn_dscrpt_metadata: {
    MetaDataPrompt: "string",
    MetaDataFieldName: "string",
    MetaDataRequiredEntry: "boolean",
    MetaDataMaskingRequired: "enum_metadatamaskingrequired",
    MetaDataValidationRequired: "boolean",
    MetaDataType: "string",
    MetaDataDefaultValue: "string",
  },
};

const VALUES = {
  enum_color_mode: ["FULL_COLOR", "GREYSCALE", "BLACK_AND_WHITE"],
  enum_document_format: ["PDF", "PDF_A", "JPEG", "TIFF"],
  enum_fax_resolution: ["STANDARD", "FINE"],
  enum_filing_policy: ["NEW_AUTO_GENERATE", "NEW_ERROR", "APPEND", "OVERWRITE"],
  enum_filing_protocol: ["FTP", "SMB", "HTTP", "HTTPS"],
  enum_metadatamaskingrequired: ["NO_MASK", "MASK_AND_OMIT"],
  enum_original_size: ["A4", "A5", "LETTER"],
  enum_resolution: ["200", "300", "400", "600"],
  enum_sides: ["ONE_SIDED", "TWO_SIDED"],
};

export const SERVICE_NAMES = Object.keys(ATTRIBUTES);

export const TYPES = ["string", "boolean", "integer", ...Object.keys(VALUES)];

/** The attributes of a service, as a map of types by name. */
export function knownAttributes(service) {
  return new Map(Object.entries(ATTRIBUTES[service] ?? {}));
}

/** The values of an enumeration type. */
export function knownValues(type) {
  return VALUES[type] ?? [];
}
