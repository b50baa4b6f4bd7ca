// The local: scheme: the files of one folder as pages. Main thread.
//
// local:///chrome/index.html is the file chrome/index.html below the root. Nothing outside the
// root can be read: every step of the path is opened by itself, relative to the one before, and
// symbolic links are not followed. local://app/ is another root, the folder of the chrome that the
// program was started with.
//
// pagehost:pagehost.js is the library of chromes, a script that is the same for everybody.
#pragma once

#include "platform/base/UniqueFd.h"

#include <string>
#include <string_view>

typedef struct _WebKitWebContext WebKitWebContext;

// What local: addresses are files of: absolute paths.
struct LocalRoots {
  std::string shared;        // local:///
  std::string app = {};      // local://app/; empty for none
  std::string library = {};  // the folder of the files of pagehost:; empty for none

  // The root of an address of the scheme.
  const std::string& of(std::string_view uri) const;
};

// The host of the app's addresses.
inline constexpr std::string_view appHost = "app";

// The path in an address with an authority, with its leading slash.
std::string_view pathOf(std::string_view uri);

// Serves the files below the roots, which must outlive the context, to local: pages of the context,
// and the library to all of its pages: modules of any origin import it.
void serveLocalScheme(WebKitWebContext* context, const LocalRoots& roots);

// A regular file below the root by the path of its address: percent-encoded, with a leading
// slash; one that ends with a slash means the folder's index.html. On failure the descriptor is
// -1 and errno tells: ENOENT, EACCES, EISDIR, ELOOP for a symbolic link, EINVAL for a path that
// is none.
Tessel::Platform::UniqueFd openBelow(const std::string& root, std::string_view encodedPath);

// The MIME type by the name's ending; "application/octet-stream" if unknown.
std::string mimeTypeOf(std::string_view name);
