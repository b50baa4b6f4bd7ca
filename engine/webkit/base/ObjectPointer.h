// An owning reference to a GObject, released at the end of its scope. Any thread.
#pragma once

#include <glib-object.h>

#include <memory>

struct ObjectUnref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

// Takes over the reference that it is given.
template <typename T>
using ObjectPointer = std::unique_ptr<T, ObjectUnref>;
