// The local: scheme: the files of one folder as pages. Main thread.
//
// local:///chrome/index.html is the file chrome/index.html below the root. Nothing outside the
// root can be read: every step of the path is opened by itself, relative to the one before, and
// symbolic links are not followed.
#pragma once

#include "platform/base/UniqueFd.h"

#include <string>
#include <string_view>

typedef struct _WebKitWebContext WebKitWebContext;

// Serves the files below the root, an absolute path, to all pages of the context.
void serveLocalScheme(WebKitWebContext* context, const std::string& root);

// A regular file below the root by the path of its address: percent-encoded, with a leading
// slash; one that ends with a slash means the folder's index.html. On failure the descriptor is
// -1 and errno tells: ENOENT, EACCES, EISDIR, ELOOP for a symbolic link, EINVAL for a path that
// is none.
Tessel::Platform::UniqueFd openBelow(const std::string& root, std::string_view encodedPath);

// The MIME type by the name's ending; "application/octet-stream" if unknown.
std::string mimeTypeOf(std::string_view name);
