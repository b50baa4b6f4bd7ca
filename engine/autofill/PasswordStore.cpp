// The log-ins that the user has let the program save. Main thread.
#include "engine/autofill/PasswordStore.h"

#include "engine/FieldLists.h"
#include "engine/RecordJson.h"

#include <algorithm>
#include <tuple>

using Tessel::Platform::String;

namespace {

struct Logins {
  std::vector<SavedLogin> logins;  // the latest saved first
};

// A log-in as reported to the chrome.
struct LoginName {
  String place;
  String username;
};

}  // namespace

template <>
struct fields::FieldsOf<SavedLogin> {
  static constexpr std::tuple list{member("place", &SavedLogin::place),
                                   member("username", &SavedLogin::username),
                                   member("password", &SavedLogin::password)};
};
template <>
struct fields::FieldsOf<Logins> {
  static constexpr std::tuple list{member("logins", &Logins::logins)};
};
template <>
struct fields::FieldsOf<LoginName> {
  static constexpr std::tuple list{member("place", &LoginName::place),
                                   member("username", &LoginName::username)};
};

namespace {

// A malformed file counts as an empty one.
std::vector<SavedLogin> loginsOf(const String& text) {
  Logins all;
  fields::readText<fields::Reading::Lenient>(text, all);
  return all.logins;
}

String textOf(std::vector<SavedLogin> logins) {
  return logins.empty() ? String() : fields::textOf(Logins{std::move(logins)});
}

}  // namespace

std::vector<SavedLogin> FilePasswordStore::of(const String& place) {
  std::vector<SavedLogin> found = loginsOf(file_.read());
  std::erase_if(found, [&](const SavedLogin& login) { return login.place != place; });
  return found;
}

std::vector<SavedLogin> FilePasswordStore::list() {
  std::vector<SavedLogin> all = loginsOf(file_.read());
  for (SavedLogin& login : all) login.password = String();
  std::sort(all.begin(), all.end(), [](const SavedLogin& a, const SavedLogin& b) {
    return std::tie(a.place, a.username) < std::tie(b.place, b.username);
  });
  return all;
}

bool FilePasswordStore::save(const SavedLogin& login) {
  const bool fits = !login.place.isEmpty() && !login.password.isEmpty() &&
                    std::max({login.place.length(), login.username.length(),
                              login.password.length()}) <= longestText;
  return fits && file_.change([&](const String& before) {
    std::vector<SavedLogin> all = loginsOf(before);
    std::erase_if(all, [&](const SavedLogin& one) {
      return one.place == login.place && one.username == login.username;
    });
    all.insert(all.begin(), login);
    if (all.size() > mostLogins) all.resize(mostLogins);
    return textOf(std::move(all));
  });
}

void FilePasswordStore::forget(const String& place, const String& username) {
  file_.change([&](const String& before) {
    std::vector<SavedLogin> all = loginsOf(before);
    std::erase_if(
        all, [&](const SavedLogin& one) { return one.place == place && one.username == username; });
    return textOf(std::move(all));
  });
}

void FilePasswordStore::clear() {
  file_.change([](const String&) { return String(); });
}

String jsonOf(const std::vector<SavedLogin>& logins) {
  std::vector<LoginName> names;
  names.reserve(logins.size());
  for (const SavedLogin& login : logins) names.push_back({login.place, login.username});
  return fields::textOf(names);
}
