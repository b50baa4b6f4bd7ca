// The jar of this process. Main thread.
#include "engine/CookieJar.h"

namespace {

CookieJar* installed = nullptr;

}  // namespace

CookieJar* CookieJar::current() {
  return installed;
}

void CookieJar::install(CookieJar* jar) {
  installed = jar;
}
