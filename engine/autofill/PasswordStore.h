// The log-ins that the user has allowed the program to save. Main thread.
//
// The only implementation keeps them in a file that only the user may read. They are not encrypted:
// anyone with access to the user's files, or to a copy of them, can read the passwords.
#pragma once

#include "engine/autofill/PrivateFile.h"

#include <string>
#include <vector>

struct SavedLogin {
  using String = Tessel::Platform::String;
  String place;  // an origin, "https://example.org"; with a space and the realm for HTTP's own
  String username;
  String password;

  bool operator==(const SavedLogin& other) const = default;
};

class PasswordStore {
 public:
  using String = Tessel::Platform::String;

  virtual ~PasswordStore() = default;
  // Those of a place, the latest saved first.
  virtual std::vector<SavedLogin> of(const String& place) = 0;
  // All of them, by place, without their passwords.
  virtual std::vector<SavedLogin> list() = 0;
  // Replaces what was saved for the same place and username. False when it cannot be saved.
  virtual bool save(const SavedLogin& login) = 0;
  virtual void forget(const String& place, const String& username) = 0;
  virtual void clear() = 0;
};

class FilePasswordStore final : public PasswordStore {
 public:
  static constexpr std::size_t mostLogins = 1000;  // beyond them the oldest is dropped
  static constexpr std::size_t longestText = 1024;

  explicit FilePasswordStore(std::string folder) : file_(std::move(folder), "logins.json") {}

  std::vector<SavedLogin> of(const String& place) override;
  std::vector<SavedLogin> list() override;
  bool save(const SavedLogin& login) override;
  void forget(const String& place, const String& username) override;
  void clear() override;

 private:
  // Passwords are not kept in memory for longer than they are needed: it is read at every use.
  PrivateFile file_;
};

// JSON for a chrome: place and username of each.
Tessel::Platform::String jsonOf(const std::vector<SavedLogin>& logins);
