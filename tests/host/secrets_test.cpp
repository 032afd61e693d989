// Tests of random texts, keyed hashes and passwords.
// SPDX-License-Identifier: MIT
#include "secrets.h"

#include <gtest/gtest.h>

#include <set>

#include "../device/temporary_directory.h"

namespace platen {
namespace {

constexpr PasswordCost kCheap{1, 8192};

std::string hash_of(Database& database) { return SecretKey(database, "purpose1").hash("text"); }

TEST(SecretKey, IsTheSameForAPurposeAndForNoOther) {
  TemporaryDirectory directory;
  Database database(directory.file("d"));
  const std::string hash = hash_of(database);
  EXPECT_EQ(hash.size(), 64U);
  Database reopened(directory.file("d"));
  EXPECT_EQ(hash_of(reopened), hash);
  EXPECT_NE(SecretKey(database, "purpose1").hash("texT"), hash);
  EXPECT_NE(SecretKey(database, "purpose2").hash("text"), hash);
  Database other(directory.file("other"));
  EXPECT_NE(hash_of(other), hash);
}

TEST(SecretKey, RefusesADamagedSecret) {
  for (const char* digits : {"", "00", "zz", "0123456789abcdef0123456789abcdef0123456789abcde"}) {
    TemporaryDirectory directory;
    Database database(directory.file("d"));
    hash_of(database);
    database.run("UPDATE server_secret SET digits = ?1", digits);
    try {
      hash_of(database);
      FAIL() << digits;
    } catch (const DatabaseError& error) {
      EXPECT_EQ(
          error.what(),
          directory.file("d") + ": the server's secret is damaged; put a saved copy in its place");
    }
  }
}

TEST(Password, IsRightForItsOwnHashOnly) {
  const std::string stored = hash_password("correct horse", kCheap);
  EXPECT_TRUE(stored.starts_with("$argon2id$"));
  EXPECT_TRUE(is_password("correct horse", stored));
  EXPECT_FALSE(is_password("correct horsE", stored));
  EXPECT_FALSE(is_password("", stored));
  EXPECT_FALSE(is_password("correct horse", "no hash"));
  EXPECT_NE(hash_password("correct horse", kCheap), stored);
}

TEST(Password, IsOutdatedAtAnotherCost) {
  const std::string stored = hash_password("correct horse", kCheap);
  EXPECT_FALSE(is_outdated(stored, kCheap));
  EXPECT_TRUE(is_outdated(stored, {2, 8192}));
  EXPECT_TRUE(is_outdated(stored, interactive_cost()));
}

TEST(RandomToken, Has43CharactersOfTheUrlAlphabetAndIsNeverTheSame) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string token = random_token();
    EXPECT_EQ(token.size(), 43U);
    EXPECT_EQ(
        token.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
        std::string::npos)
        << token;
    EXPECT_TRUE(seen.insert(token).second);
  }
}

TEST(RandomPassword, IsFourGroupsOfCharactersThatCannotBeMistaken) {
  std::set<char> used;
  for (int i = 0; i < 200; ++i) {
    const std::string password = random_password();
    ASSERT_EQ(password.size(), 19U);
    for (size_t at = 0; at < password.size(); ++at) {
      EXPECT_EQ(password[at] == '-', at % 5 == 4) << password;
      if (password[at] != '-') used.insert(password[at]);
    }
  }
  EXPECT_EQ(std::string(used.begin(), used.end()), "23456789abcdefghijkmnpqrstuvwxyz");
}

TEST(SameSecret, ComparesLengthAndBytes) {
  EXPECT_TRUE(is_same_secret("abc", "abc"));
  EXPECT_TRUE(is_same_secret("", ""));
  EXPECT_FALSE(is_same_secret("abc", "abd"));
  EXPECT_FALSE(is_same_secret("abc", "ab"));
}

TEST(Wipe, OverwritesTheBytes) {
  std::string secret = "a secret that is too long to stand in the object itself";
  const char* bytes = secret.data();
  wipe(&secret);
  EXPECT_EQ(secret, "");
  EXPECT_EQ(bytes[1], '\0');
}

TEST(Seal, IsOpenedByItsKeyOnly) {
  const std::string sealed = seal("a text", "key");
  EXPECT_EQ(unseal(sealed, "key"), "a text");
  EXPECT_EQ(unseal(sealed, "kez"), std::nullopt);
  EXPECT_EQ(sealed.find("a text"), std::string::npos);
  EXPECT_NE(seal("a text", "key"), sealed);
  EXPECT_EQ(unseal(seal("", "key"), "key"), "");
}

TEST(Seal, ShowsEveryChangeOfItsText) {
  const std::string sealed = seal("a text", "key");
  for (size_t i = 0; i < sealed.size(); ++i) {
    std::string changed = sealed;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_EQ(unseal(changed, "key"), std::nullopt) << i;
    EXPECT_EQ(unseal(sealed.substr(0, i), "key"), std::nullopt) << i;
  }
}

}  // namespace
}  // namespace platen
