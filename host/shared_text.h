// A text in memory that processes share.
// SPDX-License-Identifier: MIT
#ifndef HOST_SHARED_TEXT_H_
#define HOST_SHARED_TEXT_H_

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platen {

// One process writes it, others read it meanwhile, and none ever waits for another. A writer that is
// killed while it writes leaves the text before.
template <size_t size>
class SharedText {
 public:
  // Writes a text, cut to its first `size` bytes.
  void set(std::string_view text) {
    const uint32_t version = version_.load(std::memory_order_relaxed) + 1;
    Slot& slot = slots_[version % 2];
    std::atomic_thread_fence(std::memory_order_release);
    const size_t length = std::min(text.size(), size);
    for (size_t i = 0; i < length; ++i) slot.bytes[i].store(text[i], std::memory_order_relaxed);
    slot.length.store(length, std::memory_order_relaxed);
    version_.store(version, std::memory_order_release);
  }

  std::string get() const {
    std::string text;
    for (int i = 0; i < kTries && !read(&text); ++i) {
    }
    return text;
  }

 private:
  static constexpr int kTries = 10'000;  // as many writes would have to end, each during a read

  struct Slot {
    std::atomic<size_t> length{0};
    std::array<std::atomic<char>, size> bytes{};
  };

  // Returns whether no write has ended meanwhile: the next one would use the slot that is read.
  bool read(std::string* text) const {
    const uint32_t version = version_.load(std::memory_order_acquire);
    const Slot& slot = slots_[version % 2];
    text->resize(slot.length.load(std::memory_order_relaxed));
    for (size_t i = 0; i < text->size(); ++i) {
      (*text)[i] = slot.bytes[i].load(std::memory_order_relaxed);
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    return version == version_.load(std::memory_order_relaxed);
  }

  std::atomic<uint32_t> version_{0};  // of the slot to be read
  std::array<Slot, 2> slots_;
};

}  // namespace platen

#endif  // HOST_SHARED_TEXT_H_
