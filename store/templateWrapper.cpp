// The C interface: turns C records and strings into the store's own types and back.
// SPDX-License-Identifier: MIT
#include "templateWrapper.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

#include "template_document.h"
#include "template_failures.h"
#include "template_file.h"
#include "template_history.h"
#include "template_open.h"
#include "template_pool.h"
#include "template_status.h"
#include "template_syntax.h"
#include "template_text.h"
#include "template_values.h"

namespace {

using store::Act;
using store::Code;
using store::Edit;
using store::Entry;
using store::Kind;
using store::Mark;
using store::OpenTemplate;
using store::Operation;
using store::Status;
using store::Text;
using store::Version;

static_assert(std::is_standard_layout_v<TemplatePoolObject>);
static_assert(offsetof(TemplatePoolObject, m_strPath) == 0);
static_assert(offsetof(TemplatePoolObject, m_pTemplateList) == sizeof(void*));
static_assert(offsetof(TemplatePoolObject, m_erno) == 2 * sizeof(void*));
static_assert(offsetof(TemplatePoolObject, count) == 2 * sizeof(void*) + sizeof(KWTSTATUS));
static_assert(offsetof(TEMPLATELISTNODE_STRUCT, szFileName) == 0);
static_assert(offsetof(INVOCATION_STRUCT, szInvocationName) == 0);
static_assert(sizeof(INVOCATION_STRUCT::szInvocationName) == store::kMaxInvocationName + 1);
static_assert(std::is_standard_layout_v<TemplateObject>);
static_assert(offsetof(TemplateObject, m_hTemplate) == 0);
static_assert(offsetof(TemplateObject, m_filehandle) == sizeof(void*));
static_assert(offsetof(TemplateObject, m_filename) == 2 * sizeof(void*));
static_assert(offsetof(TemplateObject, m_hParser) == 3 * sizeof(void*));
static_assert(offsetof(TemplateObject, m_pServiceList) == 4 * sizeof(void*));
static_assert(offsetof(TemplateObject, m_pInvocationList) == 5 * sizeof(void*));
static_assert(offsetof(TemplateObject, m_erno) == 6 * sizeof(void*));
static_assert(KWTERR_NO_TOKEN == 21);

constexpr char kMetaDataService[] = "qvn_dscrpt_metadata";
constexpr char kNoFile[] = "(no template open)";

struct CodeRow {
  Code code;
  KWTSTATUS number;
  const char* text;
};
constexpr CodeRow kCodes[] = {
    {Code::kOk, KWT_SUCCESS, ""},
    {Code::kOpen, KWTERR_FILE_OPEN, "it cannot be opened"},
    {Code::kAccess, KWTERR_FILE_ACCES, "there is no permission to read it"},
    {Code::kNotRegular, KWTERR_FILE_ACCES, "it is no regular file"},
    {Code::kStat, KWTERR_FILE_STAT, "its size and kind cannot be found out"},
    {Code::kTooLarge, KWTERR_FILE_SIZE, "a template has at most 4 MiB"},
    {Code::kRead, KWTERR_FILE_READ, "it cannot be read"},
    {Code::kSyntax, KWTERR_INVALID_DATA, "it is no template"},
    {Code::kLock, KWTERR_LOCK_CREATE, "its directory cannot be locked"},
    {Code::kCreate, KWTERR_FILE_CREATE, "no temporary file can be made in its directory"},
    {Code::kWrite, KWTERR_FILE_WRITE, "it cannot be written"},
    {Code::kSyncDirectory, KWTERR_FILE_WRITE, "it was written, but its directory cannot be synced"},
    {Code::kDelete, KWTERR_FILE_DELETE, "it cannot be deleted"},
    {Code::kHistory, KWTERR_FILE_WRITE, "its old content cannot be kept in the history"},
    {Code::kAbsent, KWTERR_NODATA, "there is nothing of that name"},
    {Code::kParameter, KWTERR_INVALID_PARAMETER, "a name or value is missing or too long"},
    {Code::kBufferTooSmall, KWTERR_INSUFFICIENT_BUFFER, "the buffer for the name is too small"},
    {Code::kNotOpen, KWTERR_INVALID, "no template is open"},
    {Code::kMemory, KWTERR_NOLMEM, "out of memory"},
};

constexpr const CodeRow& row_of(Code code) { return kCodes[static_cast<std::size_t>(code)]; }

constexpr bool codes_are_in_order() {
  std::size_t index = 0;
  for (const CodeRow& row : kCodes) {
    if (static_cast<std::size_t>(row.code) != index++) return false;
  }
  return row_of(Code::kMemory).number == KWTERR_NOLMEM;
}
static_assert(codes_are_in_order());

// What an edit needs, and whether it is a write, so that a refusal is remembered.
struct EditRow {
  const char* verb;
  Operation operation;
  bool needs_attribute;
  bool needs_value;
  bool is_write;
};
constexpr EditRow kEdits[] = {
    {"write", Operation::kSet, true, true, true},
    {"add a value to", Operation::kAdd, true, true, true},
    {"remove a value from", Operation::kRemoveValue, true, true, false},
    {"delete", Operation::kRemoveAttribute, true, false, false},
    {"delete everywhere", Operation::kRemoveAttributeEverywhere, true, false, false},
    {"delete", Operation::kRemoveInvocation, false, false, false},
    {"delete", Operation::kRemoveService, false, false, false},
    {"create an invocation of", Operation::kCreateInvocation, false, false, true},
};

constexpr bool edits_are_in_order() {
  std::size_t index = 0;
  for (const EditRow& row : kEdits) {
    if (static_cast<std::size_t>(row.operation) != index++) return false;
  }
  return index == static_cast<std::size_t>(Operation::kCreateInvocation) + 1;
}
static_assert(edits_are_in_order());

constexpr const EditRow& row_of(Operation operation) {
  return kEdits[static_cast<std::size_t>(operation)];
}

std::string_view view(const char* text) {
  return text ? std::string_view(text) : std::string_view();
}

OpenTemplate* opened(const TemplateObject* tpl) {
  return tpl ? static_cast<OpenTemplate*>(tpl->m_hTemplate) : nullptr;
}

// Runs `work`; running out of memory becomes a status like any other.
template <typename Work>
Status guarded(Work work) noexcept {
  try {
    return work();
  } catch (...) {
    return {Code::kMemory, 0, nullptr, 0, 0};
  }
}

std::string explain(const Status& status) {
  std::string text = status.reason ? status.reason : row_of(status.code).text;
  if (status.error_number != 0) {
    text += ": " + std::generic_category().message(status.error_number);
  }
  return text;
}

std::string explain_with_place(std::string_view path, const Status& status) {
  std::string text(path);
  if (status.line > 0) {
    text += ":" + std::to_string(status.line) + ":" + std::to_string(status.column);
  }
  return text + ": " + explain(status);
}

// Keeps the outcome in the object: its number in m_erno, its text behind the parser handle. The
// text is lost when memory is out; jt_error() then has a fixed one.
void set_outcome(TemplateObject* tpl, std::string_view path, const Status& status) noexcept {
  std::free(tpl->m_hParser);
  tpl->m_hParser = nullptr;
  tpl->m_erno = row_of(status.code).number;
  if (status.ok()) return;
  static_cast<void>(guarded([&] {
    tpl->m_hParser = ::strdup(explain_with_place(path, status).c_str());
    return Status();
  }));
}

void append_escaped(std::string& line, std::string_view text) {
  store::append_encoded(line, text, store::Place::kHeader);
}

std::string describe(const Edit& edit) {
  std::string text = row_of(edit.operation).verb;
  text += ' ';
  append_escaped(text, edit.service);
  text += '/';
  append_escaped(text, edit.invocation);
  text += '/';
  append_escaped(text, edit.attribute);
  return text;
}

std::string describe(Act act) { return std::string(store::text_of(act)); }

// Remembers a refused edit, or a change of the whole file that failed, for jt_failures().
template <typename Change>
void remember_failure(std::string_view path, const Change& change, const Status& status) noexcept {
  Status noted = guarded([&] {
    std::string line;
    append_escaped(line, path.empty() ? kNoFile : path);
    line += ": " + describe(change) + ": ";
    if (status.line > 0) {
      line += "line " + std::to_string(status.line) + ", column " + std::to_string(status.column);
      line += ": ";
    }
    store::note_failure(line + explain(status));
    return Status();
  });
  if (!noted.ok()) store::note_lost_failure();
}

bool too_long(const Edit& edit) {
  for (std::string_view text :
       {edit.service, edit.invocation, edit.attribute, edit.type, edit.value}) {
    if (text.size() > store::kMaxFileSize) return true;
  }
  return false;
}

Status check(const Edit& edit) {
  const EditRow& row = row_of(edit.operation);
  bool missing = edit.service.empty() || (row.needs_attribute && edit.attribute.empty()) ||
                 (row.needs_value && edit.value.data() == nullptr);
  if (missing || too_long(edit)) return {Code::kParameter, 0, nullptr, 0, 0};
  return {};
}

// Keeps the outcome of an edit in the object, and remembers a refused one.
bool_t finish_edit(TemplateObject* tpl, const Edit& edit, const Status& status) noexcept {
  OpenTemplate* open = opened(tpl);
  std::string_view path = open ? open->path() : std::string_view();
  bool nothing_found = status.code == Code::kAbsent || status.code == Code::kParameter;
  bool tell = row_of(edit.operation).is_write || !nothing_found;
  if (!status.ok() && tell) remember_failure(path, edit, status);
  if (open) set_outcome(tpl, path, status);
  return status.ok() ? TRUE : FALSE;
}

// The one road of every edit: checks it, applies it and keeps the outcome.
bool_t make_edit(TemplateObject* tpl, const Edit& edit) noexcept {
  OpenTemplate* open = opened(tpl);
  Status status = guarded([&] {
    if (!open) return Status{Code::kNotOpen, 0, nullptr, 0, 0};
    Status checked = check(edit);
    return checked.ok() ? open->apply(edit) : checked;
  });
  return finish_edit(tpl, edit, status);
}

void free_invocations(TemplateObject* tpl) {
  std::free(tpl->m_pInvocationList);
  tpl->m_pInvocationList = nullptr;
}

// Releases the loaded data and the file name; the outcome of the last operation stays.
void release_loaded(TemplateObject* tpl) {
  free_invocations(tpl);
  std::free(tpl->m_filename);
  tpl->m_filename = nullptr;
  delete opened(tpl);
  tpl->m_hTemplate = nullptr;
}

void construct(TemplateObject* tpl) {
  *tpl = TemplateObject{};
  tpl->m_filehandle = -1;
  tpl->m_erno = row_of(Code::kNotOpen).number;
}

Status open_template(TemplateObject* tpl, const char* path) {
  if (!path) return {Code::kParameter, 0, "no file is named", 0, 0};
  std::unique_ptr<OpenTemplate> loaded;
  Status status = OpenTemplate::open(path, &loaded);
  if (!status.ok()) return status;
  tpl->m_filename = ::strdup(path);
  if (!tpl->m_filename) return {Code::kMemory, 0, nullptr, 0, 0};
  tpl->m_hTemplate = loaded.release();
  return {};
}

// Fills one block with a node per invocation, linked in file order.
Status list_invocations(TemplateObject* tpl, const store::Entries& entries, std::size_t begin,
                        std::size_t end) {
  std::vector<const Text*> names;
  for (std::size_t i = begin; i < end; ++i) {
    if (entries[i].kind == Kind::kInvocation) names.push_back(&entries[i].text);
  }
  if (names.empty()) return {};
  auto* nodes =
      static_cast<INVOCATION_STRUCT*>(std::calloc(names.size(), sizeof(INVOCATION_STRUCT)));
  if (!nodes) return {Code::kMemory, 0, nullptr, 0, 0};
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i]->decode(nodes[i].szInvocationName);
    nodes[i].next = i + 1 < names.size() ? &nodes[i + 1] : nullptr;
  }
  tpl->m_pInvocationList = nodes;
  return {};
}

int create_invocation(TemplateObject* tpl, const char* service, char* name, int size) noexcept {
  std::string created;
  Status status = guarded([&] {
    if (opened(tpl) && service) created = opened(tpl)->document().free_invocation_name(service);
    return Status();
  });
  Edit edit{Operation::kCreateInvocation, view(service), created, {}, {}, {}, Mark::kKeep};
  if (opened(tpl) && status.ok() &&
      (!name || size < 0 || created.size() >= static_cast<std::size_t>(size))) {
    status = {Code::kBufferTooSmall, 0, nullptr, 0, 0};
  }
  if (!status.ok()) return finish_edit(tpl, edit, status);
  if (!make_edit(tpl, edit)) return 0;
  std::memcpy(name, created.c_str(), created.size() + 1);
  return 1;
}

// Returns the code of a copy or delete. Their callers see that they failed, but would look in vain
// for the reason when it lies in the history.
KWTSTATUS finish_change(const char* path, Act act, const Status& status) noexcept {
  if (status.code == Code::kHistory) remember_failure(path, act, status);
  return row_of(status.code).number;
}

void forget_list(TemplatePoolObject* pool) {
  std::free(pool->m_pTemplateList);
  pool->m_pTemplateList = nullptr;
  pool->count = 0;
}

// Fills one block: the nodes, linked in order, and behind them the names.
Status fill_list(TemplatePoolObject* pool, const std::vector<std::string>& names) {
  if (names.empty()) return {};
  std::size_t size = names.size() * sizeof(TEMPLATELISTNODE_STRUCT);
  for (const std::string& name : names) size += name.size() + 1;
  auto* nodes = static_cast<TEMPLATELISTNODE_STRUCT*>(std::malloc(size));
  if (!nodes) return {Code::kMemory, 0, nullptr, 0, 0};
  char* text = reinterpret_cast<char*>(nodes + names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    nodes[i] = {text, i + 1 < names.size() ? &nodes[i + 1] : nullptr};
    text = static_cast<char*>(std::memcpy(text, names[i].c_str(), names[i].size() + 1)) +
           names[i].size() + 1;
  }
  pool->m_pTemplateList = nodes;
  pool->count = static_cast<int>(names.size());
  return {};
}

// Puts a text with its NUL at `out`, and moves that behind it.
char* put(std::string_view text, char** out) {
  char* begin = *out;
  *out += text.copy(begin, text.size());
  *(*out)++ = '\0';
  return begin;
}

// Makes one block: the nodes, linked in order, and behind them their texts.
JT_VERSION* block_of(const std::vector<Version>& versions) {
  std::size_t size = versions.size() * sizeof(JT_VERSION);
  for (const Version& version : versions) {
    size += version.path.size() + std::to_string(version.name.number).size() +
            version.name.who.size() + store::text_of(version.name.act).size() + 4;
  }
  auto* nodes = static_cast<JT_VERSION*>(std::malloc(size));
  if (!nodes) return nullptr;
  char* text = reinterpret_cast<char*>(nodes + versions.size());
  for (std::size_t i = 0; i < versions.size(); ++i) {
    const Version& version = versions[i];
    nodes[i] = {i + 1 < versions.size() ? &nodes[i + 1] : nullptr,
                put(version.path, &text),
                put(std::to_string(version.name.number), &text),
                version.name.time,
                put(version.name.who, &text),
                put(store::text_of(version.name.act), &text),
                version.size};
  }
  return nodes;
}

// The names that jt_walk() has come by, and how it tells them to its visitor.
class Walk {
 public:
  Walk(OpenTemplate& open, jt_visit visit, void* context)
      : bytes_(open.bytes()), visit_(visit), context_(context), at_(bytes_.data()) {}

  int run(const store::Entries& entries) {
    int result = 0;
    for (std::size_t i = 0; i < entries.size() && result == 0; ++i) {
      const Entry& entry = entries[i];
      names_[static_cast<std::size_t>(entry.kind)] = entry.text.decoded();
      bool is_value = entry.kind == Kind::kValue;
      bool has_values = i + 1 < entries.size() && entries[i + 1].kind == Kind::kValue;
      if (entry.kind == Kind::kAttribute) attribute_ = &entry;
      if (is_value || (entry.kind == Kind::kAttribute && !has_values)) {
        result = tell(entry, is_value ? names_[3].c_str() : nullptr);
      }
    }
    return result;
  }

 private:
  int tell(const Entry& entry, const char* value) {
    return visit_(context_, names_[0].c_str(), names_[1].c_str(), names_[2].c_str(),
                  attribute_->type.decoded().c_str(), attribute_->compulsory ? TRUE : FALSE,
                  line_of(entry), value);
  }

  // Entries stand in file order, so lines are counted on from the one told before.
  int line_of(const Entry& entry) {
    bool from_file = !entry.is_new() && entry.text.data >= bytes_.data() &&
                     entry.text.data <= bytes_.data() + bytes_.size();
    if (!from_file) return 0;
    std::string_view passed(at_, static_cast<std::size_t>(entry.text.data - at_));
    line_ += static_cast<int>(store::line_of(passed, entry.text.data)) - 1;
    at_ = entry.text.data;
    return line_;
  }

  std::string_view bytes_;
  jt_visit visit_;
  void* context_;
  const char* at_;
  int line_ = 1;
  std::string names_[4];
  const Entry* attribute_ = nullptr;
};

}  // namespace

void CKwtPool(TemplatePoolObject* pool) {
  if (pool) *pool = TemplatePoolObject{};
}

bool_t SetPath(TemplatePoolObject* pool, const char* directory) {
  if (!pool) return FALSE;
  std::free(pool->m_strPath);
  pool->m_strPath = directory ? ::strdup(directory) : nullptr;
  Status status;
  if (!pool->m_strPath) status.code = directory ? Code::kMemory : Code::kParameter;
  pool->m_erno = row_of(status.code).number;
  return status.ok() ? TRUE : FALSE;
}

bool_t Refresh(TemplatePoolObject* pool) {
  if (!pool) return FALSE;
  forget_list(pool);
  Status status = guarded([&] {
    if (!pool->m_strPath) return Status{Code::kParameter, 0, nullptr, 0, 0};
    std::vector<std::string> names;
    Status listed = store::list_templates(pool->m_strPath, &names);
    return listed.ok() ? fill_list(pool, names) : listed;
  });
  pool->m_erno = row_of(status.code).number;
  return status.ok() ? TRUE : FALSE;
}

TEMPLATELISTNODE_STRUCT* GetTemplateList(TemplatePoolObject* pool) {
  return pool ? pool->m_pTemplateList : nullptr;
}

void DestructorCKwtPool(TemplatePoolObject* pool) {
  if (!pool) return;
  forget_list(pool);
  std::free(pool->m_strPath);
  *pool = TemplatePoolObject{};
}

void CKwtTemplate(TemplateObject* tpl) {
  if (tpl) construct(tpl);
}

int Open(TemplateObject* tpl, const char* path, int /*mode*/) {
  if (!tpl) return 0;
  release_loaded(tpl);
  tpl->m_filehandle = -1;
  Status status = guarded([&] { return open_template(tpl, path); });
  set_outcome(tpl, path ? path : kNoFile, status);
  return status.ok() ? 1 : 0;
}

int Close(TemplateObject* tpl, int save) {
  OpenTemplate* open = opened(tpl);
  if (!open) return 0;
  Status status = guarded([&] { return save ? open->save() : Status(); });
  if (!status.ok()) remember_failure(open->path(), Act::kSave, status);
  set_outcome(tpl, open->path(), status);
  release_loaded(tpl);
  return status.ok() ? 1 : 0;
}

void DestructorCKwtTemplate(TemplateObject* tpl) {
  if (!tpl) return;
  release_loaded(tpl);
  std::free(tpl->m_hParser);
  construct(tpl);
}

char* GetFileName(TemplateObject* tpl) { return tpl ? tpl->m_filename : nullptr; }

KWTSTATUS GetLastTemplateError(TemplateObject* tpl) {
  bool told = tpl && (opened(tpl) || tpl->m_erno != KWT_SUCCESS);
  return told ? tpl->m_erno : row_of(Code::kNotOpen).number;
}

INVOCATION_STRUCT* ListInvocations(TemplateObject* tpl, const char* service) {
  OpenTemplate* open = opened(tpl);
  if (!open) return nullptr;
  free_invocations(tpl);
  std::size_t begin = open->document().find_service(view(service));
  if (begin == store::kNotFound) return nullptr;
  Status status = guarded([&] {
    return list_invocations(tpl, open->document().entries(), begin, open->document().end_of(begin));
  });
  if (!status.ok()) set_outcome(tpl, open->path(), status);
  return tpl->m_pInvocationList;
}

char* ReadAttributeStringWInvocUseFirstAsString(TemplateObject* tpl, const char* service,
                                                const char* invocation, const char* attribute,
                                                bool_t first) {
  OpenTemplate* open = opened(tpl);
  if (!open) return nullptr;
  const Text* text =
      open->document().read(view(service), view(invocation), view(attribute), first != FALSE);
  if (!text) return nullptr;
  char* value = store::hold_value(*text);
  if (!value) set_outcome(tpl, open->path(), {Code::kMemory, 0, nullptr, 0, 0});
  return value;
}

void jt_destroy_value_string(TemplateObject* /*tpl*/, char* value) { store::release_value(value); }

bool_t WriteAttributeFromStringUseFirst(TemplateObject* tpl, const char* service,
                                        const char* invocation, const char* attribute,
                                        const char* type, const char* value, bool_t first,
                                        bool_t compulsory) {
  std::string_view new_type = type && *type ? view(type) : std::string_view();
  return make_edit(
      tpl, {first ? Operation::kSet : Operation::kAdd, view(service), view(invocation),
            view(attribute), new_type, view(value), compulsory ? Mark::kSet : Mark::kClear});
}

bool_t WriteAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                  const char* attribute, const char* value) {
  return make_edit(tpl, {Operation::kSet,
                         view(service),
                         view(invocation),
                         view(attribute),
                         {},
                         view(value),
                         Mark::kKeep});
}

bool_t WriteAttributeEnumWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                const char* type, const char* attribute, int value) {
  std::string digits = std::to_string(value);  // short enough to need no allocation
  std::string_view new_type = type && *type ? view(type) : std::string_view();
  return make_edit(tpl, {Operation::kSet, view(service), view(invocation), view(attribute),
                         new_type, digits, Mark::kKeep});
}

bool_t RemoveAttributeStringWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                                   const char* attribute, const char* value) {
  return make_edit(tpl, {Operation::kRemoveValue,
                         view(service),
                         view(invocation),
                         view(attribute),
                         {},
                         view(value),
                         Mark::kKeep});
}

bool_t DeleteAttribute(TemplateObject* tpl, const char* service, const char* attribute) {
  return make_edit(tpl, {Operation::kRemoveAttributeEverywhere,
                         view(service),
                         {},
                         view(attribute),
                         {},
                         {},
                         Mark::kKeep});
}

bool_t DeleteAttributeWInvoc(TemplateObject* tpl, const char* service, const char* invocation,
                             const char* attribute) {
  return make_edit(tpl, {Operation::kRemoveAttribute,
                         view(service),
                         view(invocation),
                         view(attribute),
                         {},
                         {},
                         Mark::kKeep});
}

bool_t DeleteInvocation(TemplateObject* tpl, const char* service, const char* invocation) {
  return make_edit(
      tpl,
      {Operation::kRemoveInvocation, view(service), view(invocation), {}, {}, {}, Mark::kKeep});
}

bool_t DeleteService(TemplateObject* tpl, const char* service) {
  return make_edit(tpl, {Operation::kRemoveService, view(service), {}, {}, {}, {}, Mark::kKeep});
}

int CreateInvocationWSize(TemplateObject* tpl, const char* service, char* name, int size) {
  return create_invocation(tpl, service, name, size);
}

int CreateMetaDataInvocation(TemplateObject* tpl, char* name, int size) {
  return create_invocation(tpl, kMetaDataService, name, size);
}

bool_t DeleteMetaDataInvocation(TemplateObject* tpl, const char* invocation) {
  return make_edit(
      tpl,
      {Operation::kRemoveInvocation, kMetaDataService, view(invocation), {}, {}, {}, Mark::kKeep});
}

KWTSTATUS CopyCKwtTemplate(const char* from, const char* to) {
  Status status = guarded([&] {
    return from && to ? store::copy_template(from, to) : Status{Code::kParameter, 0, nullptr, 0, 0};
  });
  return finish_change(to, Act::kCopy, status);
}

int DeleteCKwtTemplateWFilename(const char* path) {
  Status status = guarded([&] {
    return path ? store::delete_template(path) : Status{Code::kParameter, 0, nullptr, 0, 0};
  });
  return finish_change(path, Act::kDelete, status) == KWT_SUCCESS ? 1 : 0;
}

char* StringReplace(const char* text, const char* what, const char* replacement) {
  if (!text) return nullptr;
  char* result = nullptr;
  static_cast<void>(guarded([&] {
    std::string_view rest = text;
    std::string_view wanted = view(what);
    std::string replaced;
    std::size_t at = wanted.empty() ? std::string_view::npos : rest.find(wanted);
    for (; at != std::string_view::npos; at = rest.find(wanted)) {
      replaced.append(rest.substr(0, at)).append(view(replacement));
      rest.remove_prefix(at + wanted.size());
    }
    result = ::strdup(replaced.append(rest).c_str());
    return Status();
  }));
  return result;
}

const char* jt_error(const TemplateObject* tpl) {
  if (!tpl) return "";
  if (tpl->m_hParser) return static_cast<const char*>(tpl->m_hParser);
  return tpl->m_erno == KWTERR_NOLMEM ? row_of(Code::kMemory).text : "";
}

char* jt_failures(void) {
  char* lines = nullptr;
  static_cast<void>(guarded([&] {
    lines = store::take_failures();
    return Status();
  }));
  return lines;
}

void jt_release_values(void) { store::release_all_values(); }

int jt_walk(TemplateObject* tpl, jt_visit visit, void* context) {
  OpenTemplate* open = opened(tpl);
  if (!open || !visit) return -1;
  int result = 0;
  Status status = guarded([&] {
    result = Walk(*open, visit, context).run(open->document().entries());
    return Status();
  });
  if (status.ok()) return result;
  set_outcome(tpl, open->path(), status);
  return -1;
}

void jt_history(const char* directory, int keep, const char* who) {
  store::set_history(directory, keep, who);
}

JT_VERSION* jt_versions(const char* path) {
  JT_VERSION* list = nullptr;
  static_cast<void>(guarded([&] {
    std::vector<Version> versions;
    Status status = path ? store::list_versions(path, &versions) : Status();
    if (status.ok() && !versions.empty()) list = block_of(versions);
    return status;
  }));
  return list;
}

void jt_free_versions(JT_VERSION* versions) { std::free(versions); }
