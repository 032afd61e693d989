// What a command prints.
// SPDX-License-Identifier: MIT
#ifndef TESTS_HOST_CAPTURE_H_
#define TESTS_HOST_CAPTURE_H_

#include <cstdio>
#include <cstdlib>
#include <string>

namespace platen {

// What a command prints to one of its streams.
class Capture {
 public:
  Capture() : stream_(open_memstream(&text_, &size_)) {}
  ~Capture() {
    std::fclose(stream_);
    std::free(text_);
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  std::FILE* stream() { return stream_; }
  std::string text() {
    std::fflush(stream_);
    return {text_, size_};
  }

 private:
  char* text_ = nullptr;
  size_t size_ = 0;
  std::FILE* stream_;
};

}  // namespace platen

#endif  // TESTS_HOST_CAPTURE_H_
