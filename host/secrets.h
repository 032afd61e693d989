// Random texts, keyed hashes and passwords, by libsodium.
// SPDX-License-Identifier: MIT
//
// What is secret and owned here is wiped before its memory is given back. Functions throw
// std::runtime_error when the system has no random numbers or too little memory.
#ifndef HOST_SECRETS_H_
#define HOST_SECRETS_H_

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "device/database.h"

namespace platen {

// 256 secret bits, wiped at their end. Neither copied nor moved, so that one place holds them.
class SecretKey {
 public:
  static constexpr size_t kSize = 32;

  // A key for one purpose, derived from the server's secret. The database keeps that secret, which
  // is made at its first use: two keys of one purpose are equal, those of two purposes are
  // unrelated.
  SecretKey(Database& database, const char (&purpose)[9]);
  ~SecretKey();
  SecretKey(const SecretKey&) = delete;
  SecretKey& operator=(const SecretKey&) = delete;

  // The keyed hash of a text: 64 hexadecimal digits.
  std::string hash(std::string_view text) const;

 private:
  std::array<unsigned char, kSize> bytes_{};
};

// What one password check costs: libsodium's Argon2id limits.
struct PasswordCost {
  unsigned long long operations;
  size_t memory;  // bytes
};

// A tenth of a second and 64 MiB on usual machines.
PasswordCost interactive_cost();

// The text to store for a password.
std::string hash_password(std::string_view password, const PasswordCost& cost);

// True when `stored` was made from that password.
bool is_password(std::string_view password, const std::string& stored);

// True when `stored` was made at another cost and is to be made anew at the next right password.
bool is_outdated(const std::string& stored, const PasswordCost& cost);

// 256 random bits as 43 characters: letters, digits, "-" and "_".
std::string random_token();

// A password to be read and typed by people: 80 random bits as "abcd-efgh-ijkm-npqr".
std::string random_password();

// Compares in a time that depends on the lengths only.
bool is_same_secret(std::string_view a, std::string_view b);

// Encrypts a text so that only the same key opens it, and nobody else's text passes for it. The key
// is one that cannot be guessed, such as a random_token().
std::string seal(std::string_view text, std::string_view key);

// The text that was sealed; nothing when it was not sealed with this key.
std::optional<std::string> unseal(std::string_view sealed, std::string_view key);

// Overwrites a secret and leaves the text empty.
void wipe(std::string* secret);

}  // namespace platen

#endif  // HOST_SECRETS_H_
