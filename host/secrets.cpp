// Random texts, keyed hashes and passwords, by libsodium.
// SPDX-License-Identifier: MIT
#include "secrets.h"

#include <sodium.h>

#include <algorithm>
#include <stdexcept>

namespace platen {
namespace {

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS server_secret ("
    "only INTEGER PRIMARY KEY CHECK (only = 1), digits TEXT NOT NULL)";

// Without the letters and digits that are taken for one another: 32 of them, so 5 bits each.
constexpr char kReadable[] = "abcdefghijkmnpqrstuvwxyz23456789";
constexpr uint32_t kReadableCount = sizeof kReadable - 1;
constexpr int kGroups = 4;
constexpr int kGroupLength = 4;

void start_sodium() {
  if (sodium_init() < 0) throw std::runtime_error("the system gives no random numbers");
}

std::string to_hex(const unsigned char* bytes, size_t size) {
  std::string digits(2 * size + 1, '\0');
  sodium_bin2hex(digits.data(), digits.size(), bytes, size);
  digits.pop_back();
  return digits;
}

const unsigned char* bytes_of(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytes_of(std::string* text) {
  return reinterpret_cast<unsigned char*>(text->data());
}

// The key of a sealed text, wiped at its end.
struct BoxKey {
  explicit BoxKey(std::string_view key) {
    crypto_generichash(bytes.data(), bytes.size(), bytes_of(key), key.size(), nullptr, 0);
  }
  ~BoxKey() { sodium_memzero(bytes.data(), bytes.size()); }
  BoxKey(const BoxKey&) = delete;
  BoxKey& operator=(const BoxKey&) = delete;

  std::array<unsigned char, crypto_secretbox_KEYBYTES> bytes;
};

std::string random_hex_key() {
  std::array<unsigned char, SecretKey::kSize> key;
  randombytes_buf(key.data(), key.size());
  std::string digits = to_hex(key.data(), key.size());
  sodium_memzero(key.data(), key.size());
  return digits;
}

// The server's secret as hexadecimal digits; the first process that asks makes it.
std::string server_secret(Database& database) {
  database.make(kSchema);
  std::string fresh = random_hex_key();
  database.run("INSERT OR IGNORE INTO server_secret VALUES (1, ?1)", fresh);
  wipe(&fresh);
  Statement found = database.prepare("SELECT digits FROM server_secret");
  found.step();
  return found.text(0);
}

}  // namespace

SecretKey::SecretKey(Database& database, const char (&purpose)[9]) {
  static_assert(kSize == crypto_kdf_KEYBYTES && kSize == crypto_generichash_BYTES);
  static_assert(sizeof purpose == crypto_kdf_CONTEXTBYTES + 1);
  start_sodium();
  std::string digits = server_secret(database);
  std::array<unsigned char, kSize> master;
  size_t size = 0;
  const bool is_whole = sodium_hex2bin(master.data(), master.size(), digits.data(), digits.size(),
                                       nullptr, &size, nullptr) == 0 &&
                        size == kSize;
  wipe(&digits);
  if (is_whole) {
    crypto_kdf_derive_from_key(bytes_.data(), bytes_.size(), 1, purpose, master.data());
  }
  sodium_memzero(master.data(), master.size());
  if (!is_whole) {
    throw DatabaseError(database.file() +
                        ": the server's secret is damaged; put a saved copy in its place");
  }
}

SecretKey::~SecretKey() { sodium_memzero(bytes_.data(), bytes_.size()); }

std::string SecretKey::hash(std::string_view text) const {
  std::array<unsigned char, crypto_generichash_BYTES> digest;
  crypto_generichash(digest.data(), digest.size(), bytes_of(text), text.size(), bytes_.data(),
                     bytes_.size());
  return to_hex(digest.data(), digest.size());
}

PasswordCost interactive_cost() {
  return {crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE};
}

std::string hash_password(std::string_view password, const PasswordCost& cost) {
  start_sodium();
  std::array<char, crypto_pwhash_STRBYTES> stored;
  if (crypto_pwhash_str(stored.data(), password.data(), password.size(), cost.operations,
                        cost.memory) != 0) {
    throw std::runtime_error("there is too little memory to check a password; try again");
  }
  return stored.data();
}

bool is_password(std::string_view password, const std::string& stored) {
  start_sodium();
  return crypto_pwhash_str_verify(stored.c_str(), password.data(), password.size()) == 0;
}

bool is_outdated(const std::string& stored, const PasswordCost& cost) {
  return crypto_pwhash_str_needs_rehash(stored.c_str(), cost.operations, cost.memory) != 0;
}

std::string random_token() {
  start_sodium();
  std::array<unsigned char, SecretKey::kSize> bits;
  randombytes_buf(bits.data(), bits.size());
  constexpr int kVariant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::string token(sodium_base64_ENCODED_LEN(bits.size(), kVariant), '\0');
  sodium_bin2base64(token.data(), token.size(), bits.data(), bits.size(), kVariant);
  sodium_memzero(bits.data(), bits.size());
  token.pop_back();
  return token;
}

std::string random_password() {
  start_sodium();
  std::string password;
  for (int i = 0; i < kGroups * kGroupLength; ++i) {
    if (i != 0 && i % kGroupLength == 0) password += '-';
    password += kReadable[randombytes_uniform(kReadableCount)];
  }
  return password;
}

bool is_same_secret(std::string_view a, std::string_view b) {
  return a.size() == b.size() && sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::string seal(std::string_view text, std::string_view key) {
  start_sodium();
  const BoxKey box(key);
  std::string sealed(crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES + text.size(), '\0');
  unsigned char* nonce = bytes_of(&sealed);
  randombytes_buf(nonce, crypto_secretbox_NONCEBYTES);
  crypto_secretbox_easy(nonce + crypto_secretbox_NONCEBYTES, bytes_of(text), text.size(), nonce,
                        box.bytes.data());
  return sealed;
}

std::optional<std::string> unseal(std::string_view sealed, std::string_view key) {
  start_sodium();
  constexpr size_t kOverhead = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;
  if (sealed.size() < kOverhead) return std::nullopt;
  const BoxKey box(key);
  const unsigned char* nonce = bytes_of(sealed);
  std::string text(sealed.size() - kOverhead, '\0');
  if (crypto_secretbox_open_easy(bytes_of(&text), nonce + crypto_secretbox_NONCEBYTES,
                                 sealed.size() - crypto_secretbox_NONCEBYTES, nonce,
                                 box.bytes.data()) != 0) {
    return std::nullopt;
  }
  return text;
}

void wipe(std::string* secret) {
  sodium_memzero(secret->data(), secret->size());
  secret->clear();
}

}  // namespace platen
