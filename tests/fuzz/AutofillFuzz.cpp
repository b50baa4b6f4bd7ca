// The files of saved log-ins and of texts typed into forms.
#include "engine/autofill/FormHistory.h"
#include "engine/autofill/PasswordStore.h"
#include "tests/fuzz/Fuzz.h"

#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* const place = new std::filesystem::path(fuzz::folder());
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::ofstream(*place / "logins.json") << bytes;
  FilePasswordStore logins(*place);
  const auto before = logins.list();
  jsonOf(before);
  for (const SavedLogin& each : before) {
    fuzz::require(each.password.isEmpty() && !logins.of(each.place).empty());
  }
  fuzz::require(logins.save({"https://own.example", "me", "secret"}));
  const auto own = logins.of("https://own.example");
  fuzz::require(!own.empty() && own.front().password == "secret");
  fuzz::require(logins.list().size() <= FilePasswordStore::mostLogins);
  logins.forget("https://own.example", "me");

  std::ofstream(*place / "texts.json") << bytes;
  FormHistory texts(*place);
  fuzz::require(texts.offered("name", "").size() <= FormHistory::mostOffered);
  texts.remember({{"name", "something"}, {"other", bytes}});
  const auto offered = texts.offered("name", "some");
  fuzz::require(!offered.empty() && offered.front() == "something");
  return 0;
}
