// The server interface of the PHP engine, and the fences around it.
// SPDX-License-Identifier: MIT
#include "php_runtime.h"

#include <main/SAPI.h>
#include <main/php.h>
#include <main/php_main.h>
#include <main/php_variables.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/log.h"

namespace platen {
namespace {

constexpr const char* kSource = "php_runtime.cpp";
constexpr size_t kLongestOutput = size_t{16} * 1024 * 1024;
constexpr int kFatal =
    E_ERROR | E_PARSE | E_CORE_ERROR | E_COMPILE_ERROR | E_USER_ERROR | E_RECOVERABLE_ERROR;

// Nothing can lie below a device file, so no path passes open_basedir.
char settings[] =
    "allow_url_fopen=0\n"
    "auto_globals_jit=1\n"
    "date.timezone=UTC\n"
    "default_charset=UTF-8\n"
    "display_errors=0\n"
    "display_startup_errors=0\n"
    "enable_post_data_reading=0\n"
    "error_reporting=32767\n"
    "file_uploads=0\n"
    "html_errors=0\n"
    "log_errors=0\n"
    "max_execution_time=2\n"
    "memory_limit=32M\n"
    "open_basedir=/dev/null/none\n"
    "output_buffering=0\n"
    "pcre.jit=0\n"
    "register_argc_argv=0\n"
    "request_order=G\n"
    "short_open_tag=0\n"
    "user_ini.filename=\n"
    "variables_order=G\n"
    "disable_classes=DirectoryIterator,Directory,FilesystemIterator,GlobIterator,"
    "RecursiveDirectoryIterator,SessionHandler,SplFileInfo,SplFileObject,SplTempFileObject,"
    "php_user_filter\n";

// The functions of other extensions are off as a whole.
constexpr std::string_view kExtensions[] = {"Core",   "date", "hash",  "json",     "pcre",
                                            "random", "SPL",  "ctype", "mbstring", "standard"};

// What a page needs for its text is left on; of these extensions the rest is off.
constexpr const char kDisabled[] =
    // files and directories
    "chdir,chgrp,chmod,chown,chroot,clearstatcache,closedir,copy,dir,disk_free_space,"
    "disk_total_space,diskfreespace,fclose,fdatasync,feof,fflush,fgetc,fgetcsv,fgets,file,"
    "file_exists,file_get_contents,file_put_contents,fileatime,filectime,filegroup,fileinode,"
    "filemtime,fileowner,fileperms,filesize,filetype,flock,fnmatch,fopen,fpassthru,fprintf,fputcsv,"
    "fputs,fread,fscanf,fseek,fstat,fsync,ftell,ftok,ftruncate,fwrite,getcwd,getimagesize,glob,"
    "hash_file,hash_hmac_file,hash_update_file,hash_update_stream,highlight_file,iptcembed,is_dir,"
    "is_executable,is_file,is_link,is_readable,is_uploaded_file,is_writable,is_writeable,lchgrp,"
    "lchown,link,linkinfo,lstat,md5_file,mkdir,move_uploaded_file,opendir,parse_ini_file,"
    "php_strip_whitespace,readdir,readfile,readlink,realpath,realpath_cache_get,"
    "realpath_cache_size,rename,rewind,rewinddir,rmdir,scandir,set_file_buffer,sha1_file,"
    "show_source,stat,symlink,sys_get_temp_dir,tempnam,tmpfile,touch,umask,unlink,vfprintf,"
    // streams and the network
    "checkdnsrr,dns_check_record,dns_get_mx,dns_get_record,fsockopen,get_headers,gethostbyaddr,"
    "gethostbyname,gethostbynamel,gethostname,getmxrr,getprotobyname,getprotobynumber,"
    "getservbyname,getservbyport,mail,net_get_interfaces,pfsockopen,socket_get_status,"
    "socket_set_blocking,socket_set_timeout,stream_bucket_append,stream_bucket_make_writeable,"
    "stream_bucket_new,stream_bucket_prepend,stream_context_create,stream_context_get_default,"
    "stream_context_get_options,stream_context_get_params,stream_context_set_default,"
    "stream_context_set_option,stream_context_set_params,stream_copy_to_stream,"
    "stream_filter_append,stream_filter_prepend,stream_filter_register,stream_filter_remove,"
    "stream_get_contents,stream_get_filters,stream_get_line,stream_get_meta_data,"
    "stream_get_transports,stream_get_wrappers,stream_is_local,stream_isatty,"
    "stream_register_wrapper,stream_resolve_include_path,stream_select,stream_set_blocking,"
    "stream_set_chunk_size,stream_set_read_buffer,stream_set_timeout,stream_set_write_buffer,"
    "stream_socket_accept,stream_socket_client,stream_socket_enable_crypto,"
    "stream_socket_get_name,stream_socket_pair,stream_socket_recvfrom,stream_socket_sendto,"
    "stream_socket_server,stream_socket_shutdown,stream_supports_lock,stream_wrapper_register,"
    "stream_wrapper_restore,stream_wrapper_unregister,"
    // programs, processes and the system
    "closelog,dl,error_log,escapeshellarg,escapeshellcmd,exec,get_current_user,getenv,getlastmod,"
    "getmygid,getmyinode,getmypid,getmyuid,getopt,getrusage,openlog,passthru,pclose,php_uname,"
    "phpcredits,phpinfo,popen,proc_close,proc_get_status,proc_nice,proc_open,proc_terminate,putenv,"
    "shell_exec,sleep,sys_getloadavg,syslog,system,time_nanosleep,time_sleep_until,usleep,"
    // the engine's own settings, the response's headers, and what would run after the page
    "get_cfg_var,header,header_register_callback,header_remove,headers_list,headers_sent,"
    "http_response_code,ignore_user_abort,ini_alter,ini_get,ini_get_all,ini_restore,ini_set,"
    "php_ini_loaded_file,php_ini_scanned_files,register_shutdown_function,register_tick_function,"
    "set_include_path,set_time_limit,setcookie,setlocale,setrawcookie,spl_autoload";

// One run, reached by the callbacks through the engine's context pointer.
struct Run {
  const std::string& name;
  PhpResult result;
  std::string_view unread;  // of the page's text
};

Run* current_run() { return static_cast<Run*>(SG(server_context)); }

void (*engine_error)(int type, zend_string* file, uint32_t line, zend_string* message) = nullptr;

std::string_view view_of(const zend_string* text) {
  return text == nullptr ? "" : std::string_view(ZSTR_VAL(text), ZSTR_LEN(text));
}

// The first fatal error is the cause; what follows it comes of it.
void note_error(bool fatal, std::string_view file, uint32_t line, std::string_view message) {
  const std::string text =
      std::string(file) + " line " + std::to_string(line) + ": " + std::string(message);
  Run* run = current_run();
  if (fatal && run != nullptr && run->result.fault.empty()) {
    run->result.fault = text;
  } else {
    Log_Entry(fatal ? LOG_LEVEL_ERROR : LOG_LEVEL_WARNING, kSource, __LINE__, "%s", text.c_str());
  }
}

// The engine's own handler may leave by a jump, which would skip destructors.
void on_error(int type, zend_string* file, const uint32_t line, zend_string* message) {
  note_error((type & kFatal) != 0, view_of(file), line, view_of(message));
  engine_error(type, file, line, message);
}

bool append_output(const char* text, size_t length) {
  Run* run = current_run();
  if (run == nullptr) return true;
  if (run->result.output.size() + length <= kLongestOutput) {
    run->result.output.append(text, length);
    return true;
  }
  if (run->result.fault.empty()) {
    run->result.fault = run->name + ": the page prints more than 16 MiB";
  }
  return false;
}

// Gives the page up as if nobody listened any more; does not return then.
size_t write_output(const char* text, size_t length) {
  if (!append_output(text, length)) php_handle_aborted_connection();
  return length;
}

int send_no_headers(sapi_headers_struct*) { return SAPI_HEADER_SENT_SUCCESSFULLY; }

char* read_no_cookies() { return nullptr; }

ssize_t read_page(void* handle, char* buffer, size_t length) {
  auto* unread = static_cast<std::string_view*>(handle);
  const size_t count = unread->copy(buffer, length);
  unread->remove_prefix(count);
  return static_cast<ssize_t>(count);
}

size_t page_size(void* handle) { return static_cast<std::string_view*>(handle)->size(); }

char interface_name[] = "platend";

sapi_module_struct make_interface() {
  sapi_module_struct interface {};
  interface.name = interface_name;
  interface.pretty_name = interface_name;
  interface.startup = [](sapi_module_struct* self) -> int {
    return php_module_startup(self, nullptr);
  };
  interface.shutdown = php_module_shutdown_wrapper;
  interface.ub_write = write_output;
  interface.sapi_error = php_error;
  interface.send_headers = send_no_headers;
  interface.read_cookies = read_no_cookies;
  interface.php_ini_ignore = 1;
  interface.php_ini_ignore_cwd = 1;
  return interface;
}

bool is_kept_extension(const zend_module_entry* extension) {
  return extension == nullptr ||
         std::ranges::find(kExtensions, std::string_view(extension->name)) != std::end(kExtensions);
}

void disable_functions() {
  std::string names = kDisabled;
  zend_string* name = nullptr;
  void* function = nullptr;
  ZEND_HASH_FOREACH_STR_KEY_PTR(CG(function_table), name, function) {
    if (!is_kept_extension(static_cast<const zend_function*>(function)->internal_function.module)) {
      names.append(",").append(view_of(name));
    }
  }
  ZEND_HASH_FOREACH_END();
  zend_disable_functions(names.c_str());
}

void execute(const std::string& name, std::string_view* text) {
  zend_file_handle page{};
  page.type = ZEND_HANDLE_STREAM;
  page.filename = zend_string_init(name.data(), name.size(), false);
  page.opened_path = zend_string_copy(page.filename);
  page.primary_script = true;
  page.handle.stream = {text, 0, read_page, page_size, nullptr};
  php_execute_script(&page);
  zend_destroy_file_handle(&page);
}

}  // namespace

// The handlers of the process's own signals stay, but for the one of the processor time.
const char* php_engine_version() { return PHP_VERSION; }

bool start_php() {
  static sapi_module_struct interface = make_interface();
  zend_signal_startup();
  sapi_startup(&interface);
  interface.ini_entries = settings;
  if (interface.startup(&interface) == FAILURE) return false;
  SIGG(reset) = false;
  engine_error = zend_error_cb;
  zend_error_cb = on_error;
  disable_functions();
  return true;
}

PhpResult run_php(const std::string& name, const std::string& text, std::string query) {
  Run run = {name, {}, text};
  SG(server_context) = &run;
  SG(options) |= SAPI_OPTION_NO_CHDIR;
  SG(request_info) = {};
  SG(request_info).request_method = "GET";
  SG(request_info).query_string = query.data();
  SG(request_info).no_headers = true;
  if (php_request_startup() == SUCCESS) {
    execute(name, &run.unread);
    php_request_shutdown(nullptr);
  } else {
    run.result.fault = name + ": the PHP engine cannot begin a request";
  }
  SG(server_context) = nullptr;
  if (run.result.fault.empty() && PG(connection_status) != PHP_CONNECTION_NORMAL) {
    run.result.fault = name + ": the page was given up";
  }
  if (!run.result.fault.empty()) run.result.output.clear();
  return std::move(run.result);
}

}  // namespace platen
