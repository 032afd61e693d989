// A hash set of malloc strings, with the latest kept beside it, as most are released at once.
// SPDX-License-Identifier: MIT
#include "template_values.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace store {
namespace {

// Open addressing with linear probing; removals move later entries up, so no slot is wasted.
// Without a destructor: a thread's first value would need memory to register one, and the C library
// ends the process when there is none.
class HeldValues {
 public:
  constexpr HeldValues() = default;
  HeldValues(const HeldValues&) = delete;
  HeldValues& operator=(const HeldValues&) = delete;

  // Returns false, with nothing changed, when memory is out.
  bool add(char* value) {
    if (latest_ && !add_to_set(latest_)) return false;
    latest_ = value;
    return true;
  }

  // Returns false when the value is not held.
  bool remove(const char* value) {
    if (value != latest_) return remove_from_set(value);
    latest_ = nullptr;
    return value != nullptr;
  }

  void release_all() {
    for (std::size_t slot = 0; slot < slots_count(); ++slot) std::free(slots_[slot]);
    std::free(slots_);
    std::free(latest_);
    slots_ = nullptr;
    latest_ = nullptr;
    mask_ = count_ = 0;
  }

 private:
  static constexpr std::size_t kFirstSize = 64;

  [[nodiscard]] std::size_t slots_count() const { return slots_ ? mask_ + 1 : 0; }
  [[nodiscard]] std::size_t next(std::size_t slot) const { return (slot + 1) & mask_; }
  [[nodiscard]] std::size_t home(const char* value) const {
    return (reinterpret_cast<std::uintptr_t>(value) * 0x9E3779B97F4A7C15U >> 32) & mask_;
  }

  bool add_to_set(char* value) {
    if ((count_ + 1) * 2 > slots_count() && !grow()) return false;
    put(value);
    ++count_;
    return true;
  }

  bool remove_from_set(const char* value) {
    if (count_ == 0 || !value) return false;
    std::size_t slot = home(value);
    for (; slots_[slot] != value; slot = next(slot)) {
      if (!slots_[slot]) return false;
    }
    close_gap(slot);
    --count_;
    return true;
  }

  void put(char* value) {
    std::size_t slot = home(value);
    while (slots_[slot]) slot = next(slot);
    slots_[slot] = value;
  }

  void close_gap(std::size_t gap) {
    slots_[gap] = nullptr;
    for (std::size_t slot = next(gap); slots_[slot]; slot = next(slot)) {
      put(std::exchange(slots_[slot], nullptr));
    }
  }

  bool grow() {
    std::size_t old_count = slots_count();
    std::size_t new_count = old_count == 0 ? kFirstSize : old_count * 2;
    auto** fresh = static_cast<char**>(std::calloc(new_count, sizeof(char*)));
    if (!fresh) return false;
    char** old = std::exchange(slots_, fresh);
    mask_ = new_count - 1;
    for (std::size_t slot = 0; slot < old_count; ++slot) {
      if (old[slot]) put(old[slot]);
    }
    std::free(old);
    return true;
  }

  char* latest_ = nullptr;
  char** slots_ = nullptr;
  std::size_t mask_ = 0;
  std::size_t count_ = 0;
};

constinit thread_local HeldValues held_values;

}  // namespace

char* hold_value(const Text& text) {
  auto* value = static_cast<char*>(std::malloc(std::size_t{text.size} + 1));
  if (!value) return nullptr;
  *text.decode(value) = '\0';
  if (held_values.add(value)) return value;
  std::free(value);
  return nullptr;
}

void release_value(char* value) {
  if (held_values.remove(value)) std::free(value);
}

void release_all_values() { held_values.release_all(); }

}  // namespace store
